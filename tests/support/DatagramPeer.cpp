#include "support/DatagramPeer.h"

#include <stdexcept>
#include <utility>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

namespace uxvisa::test {

namespace {

constexpr std::size_t LargestDatagram = 65536;

int BoundSocket(int port) {
    const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    if (fd == -1 || bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
        throw std::runtime_error("the instrument's socket cannot be had");
    }
    return fd;
}

} // namespace

DatagramPeer::DatagramPeer(const NetworkNamespace& where, int port, Answer answer,
                           std::chrono::milliseconds delay)
    : m_answer(std::move(answer)), m_delay(delay), m_stop(eventfd(0, EFD_CLOEXEC)) {
    where.Do([&] { m_socket = Descriptor(BoundSocket(port)); });
    m_thread = std::thread([this] { Serve(); });
}

DatagramPeer::~DatagramPeer() {
    eventfd_write(m_stop.Get(), 1);
    m_thread.join();
}

std::vector<DatagramPeer::Request> DatagramPeer::Heard() {
    const std::lock_guard<std::mutex> guard(m_mutex);
    return m_heard;
}

void DatagramPeer::Serve() {
    pollfd waits[] = {{m_socket.Get(), POLLIN, 0}, {m_stop.Get(), POLLIN, 0}};
    while (poll(waits, 2, -1) >= 0 && waits[1].revents == 0) {
        Take();
    }
}

void DatagramPeer::Take() {
    std::string bytes(LargestDatagram, '\0');
    sockaddr_in sender{};
    socklen_t size = sizeof sender;
    auto* address = reinterpret_cast<sockaddr*>(&sender);
    const ssize_t length =
        recvfrom(m_socket.Get(), bytes.data(), bytes.size(), MSG_DONTWAIT, address, &size);
    if (length < 0) {
        return;
    }
    bytes.resize(static_cast<std::size_t>(length));
    const Request request{bytes, inet_ntoa(sender.sin_addr), ntohs(sender.sin_port)};
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        m_heard.push_back(request);
    }
    std::this_thread::sleep_for(m_delay);
    for (const std::string& answer : m_answer(request)) {
        sendto(m_socket.Get(), answer.data(), answer.size(), MSG_NOSIGNAL, address, size);
    }
}

} // namespace uxvisa::test
