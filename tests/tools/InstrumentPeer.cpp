#include "tools/InstrumentPeer.h"

#include <array>
#include <cerrno>
#include <system_error>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

// Far more than any test takes: only a peer that is stuck ends this way.
constexpr timeval StuckAfter{20, 0};

int Check(int result, const char* what) {
    if (result == -1) {
        throw std::system_error(errno, std::generic_category(), what);
    }
    return result;
}

int BoundSocket(std::uint16_t& port) {
    const int listener = Check(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0), "socket");
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto* generic = reinterpret_cast<sockaddr*>(&address);
    Check(::bind(listener, generic, size), "bind");
    Check(::getsockname(listener, generic, &size), "getsockname");
    port = ntohs(address.sin_port);
    return listener;
}

std::string ResourceOf(std::uint16_t port) {
    return "TCPIP::127.0.0.1::" + std::to_string(port) + "::SOCKET";
}

} // namespace

std::string PeerConnection::ReadLine() {
    std::string line;
    char byte = 0;
    while (!line.ends_with('\n') && ::recv(m_descriptor, &byte, 1, 0) == 1) {
        line += byte;
    }
    return line;
}

std::string PeerConnection::ReadBytes(std::size_t count) {
    std::string bytes;
    char byte = 0;
    while (bytes.size() < count && ::recv(m_descriptor, &byte, 1, 0) == 1) {
        bytes += byte;
    }
    return bytes;
}

std::string PeerConnection::ReadToEnd() {
    std::string all;
    std::array<char, 4096> piece{};
    for (ssize_t size = 1; size > 0;) {
        size = ::recv(m_descriptor, piece.data(), piece.size(), 0);
        all.append(piece.data(), size > 0 ? static_cast<std::size_t>(size) : 0);
    }
    return all;
}

// A tool that ends before it has read all is part of some tests.
void PeerConnection::Send(std::string_view data) const {
    while (!data.empty()) {
        const ssize_t sent = ::send(m_descriptor, data.data(), data.size(), MSG_NOSIGNAL);
        if (sent <= 0) {
            return;
        }
        data.remove_prefix(static_cast<std::size_t>(sent));
    }
}

void PeerConnection::Reset() const {
    const linger atOnce{1, 0};
    ::setsockopt(m_descriptor, SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
    sockaddr nobody{};
    nobody.sa_family = AF_UNSPEC;
    (void)::connect(m_descriptor, &nobody, sizeof nobody);
}

void PeerConnection::HangUp() const {
    ::shutdown(m_descriptor, SHUT_WR);
}

InstrumentPeer::InstrumentPeer(Script script) : m_listener(BoundSocket(m_port)) {
    ::setsockopt(m_listener, SOL_SOCKET, SO_RCVTIMEO, &StuckAfter, sizeof StuckAfter);
    Check(::listen(m_listener, 1), "listen");
    m_thread = std::thread([this, script = std::move(script)] { Serve(script); });
}

InstrumentPeer::~InstrumentPeer() {
    if (m_thread.joinable()) {
        // Wakes an accept that nobody will come for.
        ::shutdown(m_listener, SHUT_RDWR);
        m_thread.join();
    }
    ::close(m_listener);
}

void InstrumentPeer::Serve(const Script& script) {
    const int accepted = ::accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
    if (accepted == -1) {
        return;
    }
    ::setsockopt(accepted, SOL_SOCKET, SO_RCVTIMEO, &StuckAfter, sizeof StuckAfter);
    ::setsockopt(accepted, SOL_SOCKET, SO_SNDTIMEO, &StuckAfter, sizeof StuckAfter);
    PeerConnection connection(accepted);
    script(connection);
    m_rest = connection.ReadToEnd();
    ::close(accepted);
}

std::string InstrumentPeer::Resource() const {
    return ResourceOf(m_port);
}

const std::string& InstrumentPeer::Rest() {
    m_thread.join();
    return m_rest;
}

InstrumentPeer::Script Answering(const std::string& answer) {
    return [answer](PeerConnection& connection) {
        connection.ReadLine();
        connection.Send(answer);
    };
}

std::string BlockHeaderText(std::size_t size) {
    const std::string digits = std::to_string(size);
    std::string header = "#";
    header += std::to_string(digits.size());
    return header + digits;
}

// Bound for the life of the test and never listened at, so nobody else can take the port.
std::string RefusedResource() {
    std::uint16_t port = 0;
    BoundSocket(port);
    return ResourceOf(port);
}
