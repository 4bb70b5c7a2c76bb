#include "support/RpcPeer.h"

#include <stdexcept>
#include <utility>

#include <netinet/in.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>

#include "transports/RpcRecord.h"

namespace uxvisa::test {

namespace {

int Listening(int port) {
    const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const int on = 1;
    setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    if (bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        listen(fd, 64) != 0) {
        throw std::runtime_error("the server's socket cannot be had");
    }
    return fd;
}

} // namespace

RpcPeer::RpcPeer(int port, Answer answer)
    : m_answer(std::move(answer)), m_listener(Listening(port)), m_stop(eventfd(0, EFD_CLOEXEC)),
      m_thread([this] { Serve(); }) {}

RpcPeer::~RpcPeer() {
    eventfd_write(m_stop.Get(), 1);
    m_thread.join();
}

int RpcPeer::Port() const {
    sockaddr_in address{};
    socklen_t size = sizeof address;
    getsockname(m_listener.Get(), reinterpret_cast<sockaddr*>(&address), &size);
    return ntohs(address.sin_port);
}

bool RpcPeer::Await(int fd) {
    pollfd waits[] = {{fd, POLLIN, 0}, {m_stop.Get(), POLLIN, 0}};
    return poll(waits, 2, -1) > 0 && waits[1].revents == 0;
}

void RpcPeer::Serve() {
    while (Await(m_listener.Get())) {
        const Descriptor connection(accept4(m_listener.Get(), nullptr, nullptr, SOCK_CLOEXEC));
        ServeConnection(connection.Get());
    }
}

void RpcPeer::ServeConnection(int fd) {
    std::string mark(rpc::MarkSize, '\0');
    while (Receive(fd, mark)) {
        std::string body(rpc::MarkedLength(reinterpret_cast<const unsigned char*>(mark.data())),
                         '\0');
        if (!Receive(fd, body)) {
            return;
        }
        const std::string answer = body.empty() ? body : m_answer(body);
        send(fd, answer.data(), answer.size(), MSG_NOSIGNAL);
    }
}

bool RpcPeer::Receive(int fd, std::string& bytes) {
    for (std::size_t done = 0; done < bytes.size();) {
        const ssize_t size =
            Await(fd) ? recv(fd, bytes.data() + done, bytes.size() - done, MSG_DONTWAIT) : 0;
        if (size <= 0) {
            return false;
        }
        done += static_cast<std::size_t>(size);
    }
    return true;
}

std::uint32_t ProcedureOf(const std::string& body) {
    return body.size() < 24 ? 0
                            : rpc::WordAt(reinterpret_cast<const unsigned char*>(body.data()) + 20);
}

} // namespace uxvisa::test
