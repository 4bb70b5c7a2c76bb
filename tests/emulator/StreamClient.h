#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

// A client with blocking calls over any stream descriptor, which it owns. A peer that keeps it
// waiting for Patience makes the call throw, so that a hang fails its test.
class StreamClient {
public:
    static constexpr std::chrono::milliseconds Patience{30000};

    explicit StreamClient(int descriptor) : m_descriptor(descriptor) {}
    StreamClient(StreamClient&& other) noexcept
        : m_descriptor(std::exchange(other.m_descriptor, -1)),
          m_received(std::move(other.m_received)) {}
    StreamClient(const StreamClient&) = delete;
    StreamClient& operator=(const StreamClient&) = delete;
    StreamClient& operator=(StreamClient&& other) noexcept {
        std::swap(m_descriptor, other.m_descriptor);
        m_received.swap(other.m_received);
        return *this;
    }
    ~StreamClient() { Close(); }

    static StreamClient Connect(std::uint16_t port, const char* host = "127.0.0.1") {
        StreamClient client(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        ::inet_pton(AF_INET, host, &address.sin_addr);
        if (::connect(client.m_descriptor, reinterpret_cast<const sockaddr*>(&address),
                      sizeof address) != 0) {
            throw std::system_error(errno, std::generic_category(), "connect");
        }
        return client;
    }

    static StreamClient ConnectTo(const std::string& path) {
        StreamClient client(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path.copy(address.sun_path, sizeof address.sun_path);
        if (::connect(client.m_descriptor, reinterpret_cast<const sockaddr*>(&address),
                      sizeof address) != 0) {
            throw std::system_error(errno, std::generic_category(), "connect");
        }
        return client;
    }

    void Send(std::string_view bytes) {
        while (!bytes.empty()) {
            Await(POLLOUT);
            ssize_t count =
                ::send(m_descriptor, bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
            if (count < 0 && errno == ENOTSOCK) {
                count = ::write(m_descriptor, bytes.data(), bytes.size());
            }
            if (count < 0) {
                throw std::system_error(errno, std::generic_category(), "send");
            }
            bytes.remove_prefix(static_cast<std::size_t>(count));
        }
    }

    // Without the line feed.
    std::string ReadLine() {
        std::size_t end = 0;
        while ((end = m_received.find('\n')) == std::string::npos) {
            if (ReceiveSome() == 0) {
                throw std::runtime_error("end of stream instead of a line");
            }
        }
        std::string line = m_received.substr(0, end);
        m_received.erase(0, end + 1);
        return line;
    }

    std::string Query(std::string_view message) {
        // In one packet: the line feed would wait for the acknowledgement of the text.
        Send(std::string(message) + "\n");
        return ReadLine();
    }

    std::string ReadExactly(std::size_t count) {
        while (m_received.size() < count) {
            if (ReceiveSome() == 0) {
                throw std::runtime_error("end of stream instead of bytes");
            }
        }
        std::string bytes = m_received.substr(0, count);
        m_received.erase(0, count);
        return bytes;
    }

    std::string ReadToEnd() {
        while (ReceiveSome() != 0) {
        }
        return std::exchange(m_received, {});
    }

    // What one receive call gives; zero at the end of the stream.
    std::size_t ReceiveSome() {
        std::array<char, 65536> bytes; // NOLINT(cppcoreguidelines-pro-type-member-init)
        Await(POLLIN);
        const ssize_t count = ::read(m_descriptor, bytes.data(), bytes.size());
        if (count < 0) {
            throw std::system_error(errno, std::generic_category(), "read");
        }
        m_received.append(bytes.data(), static_cast<std::size_t>(count));
        return static_cast<std::size_t>(count);
    }

    bool HasInputWithin(std::chrono::milliseconds time) {
        return !m_received.empty() || Poll(POLLIN, time);
    }

    void FinishSending() { ::shutdown(m_descriptor, SHUT_WR); }

    void Close() {
        if (m_descriptor >= 0) {
            ::close(std::exchange(m_descriptor, -1));
        }
    }

private:
    bool Poll(short events, std::chrono::milliseconds time) {
        pollfd entry{m_descriptor, events, 0};
        return ::poll(&entry, 1, static_cast<int>(time.count())) == 1;
    }

    void Await(short events) {
        if (!Poll(events, Patience)) {
            throw std::runtime_error("the peer keeps silent");
        }
    }

    int m_descriptor;
    std::string m_received;
};
