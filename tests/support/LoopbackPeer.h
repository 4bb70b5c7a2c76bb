// The far end of a TCP connection, driven step by step from the test's own thread: a connect
// completes against the backlog, so no second thread is needed.
#pragma once

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <string>
#include <utility>

namespace uxvisa::test {

class PeerConnection {
public:
    explicit PeerConnection(int fd) : m_fd(fd) {}
    PeerConnection(PeerConnection&& other) noexcept : m_fd(std::exchange(other.m_fd, -1)) {}
    PeerConnection& operator=(PeerConnection&&) = delete;
    ~PeerConnection() { Close(); }

    void Send(const std::string& bytes) const {
        EXPECT_EQ(::send(m_fd, bytes.data(), bytes.size(), MSG_NOSIGNAL),
                  static_cast<ssize_t>(bytes.size()));
    }

    // Exactly `size` bytes, fewer when nothing more comes.
    std::string Receive(std::size_t size) const {
        std::string bytes(size, '\0');
        std::size_t received = 0;
        while (received < size && Readable()) {
            const ssize_t chunk = ::recv(m_fd, bytes.data() + received, size - received, 0);
            if (chunk <= 0) {
                break;
            }
            received += static_cast<std::size_t>(chunk);
        }
        bytes.resize(received);
        return bytes;
    }

    bool AtEnd() const {
        char byte = 0;
        return Readable() && ::recv(m_fd, &byte, 1, 0) <= 0;
    }

    void Close() {
        if (m_fd != -1) {
            ::close(std::exchange(m_fd, -1));
        }
    }

private:
    bool Readable() const {
        pollfd waited{m_fd, POLLIN, 0};
        return ::poll(&waited, 1, 10000) == 1;
    }

    int m_fd;
};

class LoopbackPeer {
public:
    LoopbackPeer() : m_fd(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        EXPECT_EQ(::bind(m_fd, reinterpret_cast<sockaddr*>(&address), size), 0);
        EXPECT_EQ(::listen(m_fd, 128), 0);
        EXPECT_EQ(::getsockname(m_fd, reinterpret_cast<sockaddr*>(&address), &size), 0);
        m_port = ntohs(address.sin_port);
    }
    LoopbackPeer(const LoopbackPeer&) = delete;
    LoopbackPeer& operator=(const LoopbackPeer&) = delete;
    ~LoopbackPeer() { ::close(m_fd); }

    std::string Resource() const {
        return "TCPIP::127.0.0.1::" + std::to_string(m_port) + "::SOCKET";
    }

    PeerConnection Accept() const { return PeerConnection(::accept(m_fd, nullptr, nullptr)); }

private:
    int m_fd;
    unsigned short m_port = 0;
};

} // namespace uxvisa::test
