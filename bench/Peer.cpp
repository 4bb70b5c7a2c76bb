#include "bench/Peer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sched.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <stdexcept>

#include "bench/Vxi11Server.h"

namespace uxvisa::bench {

namespace {

int Required(int result) {
    if (result < 0) {
        throw std::runtime_error("the benchmark's peer fails");
    }
    return result;
}

void NoDelay(int fd) {
    const int on = 1;
    setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

sockaddr_un PathAddress(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    return address;
}

std::string Line(std::size_t size) {
    return std::string(size - 1, 'x') + "\n";
}

void Answer(int fd, const std::string& request) {
    static const std::string reply = Line(64);
    static const std::string piece(1 << 20, 'x');
    std::size_t left = request.size() > 1 ? std::strtoul(request.c_str() + 1, nullptr, 10) : 0;
    if (request[0] == 'L') {
        SendAll(fd, Line(left));
    } else if (request[0] == 'B') {
        for (; left > 0; left -= std::min(left, piece.size())) {
            SendAll(fd, piece.substr(0, std::min(left, piece.size())));
        }
    } else if (request[0] != 'S') {
        SendAll(fd, reply);
    }
}

void ServeLines(int fd) {
    std::string request;
    char bytes[4096];
    for (;;) {
        const ssize_t received = recv(fd, bytes, sizeof bytes, 0);
        if (received <= 0) {
            return;
        }
        request.append(bytes, static_cast<std::size_t>(received));
        if (request.back() == '\n') {
            Answer(fd, request);
            request.clear();
        }
    }
}

// "FREQ = 1.5" for whatever is asked.
void ServePackets(int fd) {
    static const std::string reply("\xAA\x55\x03\0\0\0\x06\0\x01\x42\0\0\0\0\0\0\x01\0\0\x80\x01\0",
                                   22);
    char request[18];
    while (recv(fd, request, sizeof request, MSG_WAITALL) == sizeof request) {
        SendAll(fd, reply);
    }
}

void ServeOne(int fd, Peer::Kind kind) {
    switch (kind) {
    case Peer::Kind::Vxi11:
        ServeVxi11(fd);
        break;
    case Peer::Kind::Brix:
        ServePackets(fd);
        break;
    default:
        ServeLines(fd);
    }
}

[[noreturn]] void ServeAll(int listener, Peer::Kind kind) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    signal(SIGCHLD, SIG_IGN);
    for (;;) {
        const int fd = accept(listener, nullptr, nullptr);
        if (fork() == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            close(listener);
            NoDelay(fd);
            ServeOne(fd, kind);
            _exit(0);
        }
        close(fd);
    }
}

} // namespace

int Peer::ListenOnTcp() {
    const int listener = Required(socket(AF_INET, SOCK_STREAM, 0));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    Required(bind(listener, reinterpret_cast<sockaddr*>(&address), size));
    Required(getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size));
    m_port = ntohs(address.sin_port);
    return listener;
}

int Peer::ListenOnPath() {
    char folder[] = "/tmp/uxvisa-bench-XXXXXX";
    if (mkdtemp(folder) == nullptr) {
        throw std::runtime_error("no folder for the benchmark's socket");
    }
    m_path = std::string(folder) + "/socket";
    const int listener = Required(socket(AF_UNIX, SOCK_STREAM, 0));
    const sockaddr_un address = PathAddress(m_path);
    Required(bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address));
    return listener;
}

Peer::Peer(Kind kind) {
    const int listener = kind == Kind::Local ? ListenOnPath() : ListenOnTcp();
    Required(listen(listener, 64));
    m_child = Required(fork());
    if (m_child == 0) {
        setpgid(0, 0);
        ServeAll(listener, kind);
    }
    setpgid(m_child, m_child);
    close(listener);
}

Peer::~Peer() {
    Stop();
    if (!m_path.empty()) {
        unlink(m_path.c_str());
        rmdir(m_path.substr(0, m_path.rfind('/')).c_str());
    }
}

void Peer::Stop() {
    if (m_child != -1) {
        kill(-m_child, SIGKILL);
        waitpid(m_child, nullptr, 0);
        m_child = -1;
    }
}

std::string Peer::Resource() const {
    return m_path.empty() ? "TCPIP::127.0.0.1::" + std::to_string(m_port) + "::SOCKET"
                          : "USOCK::" + m_path + "::SOCKET";
}

int Peer::Connect() const {
    if (!m_path.empty()) {
        const int local = Required(socket(AF_UNIX, SOCK_STREAM, 0));
        const sockaddr_un path = PathAddress(m_path);
        Required(connect(local, reinterpret_cast<const sockaddr*>(&path), sizeof path));
        return local;
    }
    const int fd = Required(socket(AF_INET, SOCK_STREAM, 0));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(m_port);
    Required(connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address));
    NoDelay(fd);
    return fd;
}

void PinToOneProcessor(bool pinned) {
    cpu_set_t set;
    CPU_ZERO(&set);
    const auto last = pinned ? 1 : sysconf(_SC_NPROCESSORS_CONF);
    for (int i = 0; i < last; ++i) {
        CPU_SET(i, &set);
    }
    sched_setaffinity(0, sizeof set, &set);
}

void SendAll(int fd, const std::string& bytes) {
    std::size_t sent = 0;
    while (sent < bytes.size()) {
        const ssize_t chunk = send(fd, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        if (chunk <= 0) {
            return;
        }
        sent += static_cast<std::size_t>(chunk);
    }
}

void ReceiveAll(int fd, char* buffer, std::size_t size) {
    std::size_t received = 0;
    while (received < size) {
        const ssize_t chunk = recv(fd, buffer + received, size - received, 0);
        if (chunk <= 0) {
            throw std::runtime_error("the benchmark's peer is gone");
        }
        received += static_cast<std::size_t>(chunk);
    }
}

} // namespace uxvisa::bench
