#pragma once

#include "emulator/StreamClient.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>

// A UDP socket that sends anywhere, broadcasts too, and waits for replies as long as a
// StreamClient.
class UdpClient {
public:
    struct Datagram {
        std::string bytes;
        std::string sender; // "address:port"
        bool operator==(const Datagram&) const = default;
    };

    explicit UdpClient(const std::string& own_address = "127.0.0.1")
        : m_descriptor(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
        const int on = 1;
        ::setsockopt(m_descriptor, SOL_SOCKET, SO_BROADCAST, &on, sizeof on);
        const sockaddr_in address = Address(own_address, 0);
        if (::bind(m_descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) !=
            0) {
            throw std::system_error(errno, std::generic_category(), "bind");
        }
    }
    UdpClient(const UdpClient&) = delete;
    UdpClient& operator=(const UdpClient&) = delete;
    ~UdpClient() { ::close(m_descriptor); }

    void Send(std::string_view bytes, const std::string& receiver, std::uint16_t port) const {
        const sockaddr_in address = Address(receiver, port);
        if (::sendto(m_descriptor, bytes.data(), bytes.size(), 0,
                     reinterpret_cast<const sockaddr*>(&address), sizeof address) < 0) {
            throw std::system_error(errno, std::generic_category(), "sendto");
        }
    }

    bool HasInputWithin(std::chrono::milliseconds time) const {
        pollfd entry{m_descriptor, POLLIN, 0};
        return ::poll(&entry, 1, static_cast<int>(time.count())) == 1;
    }

    Datagram Receive() const {
        if (!HasInputWithin(StreamClient::Patience)) {
            throw std::runtime_error("nobody answers");
        }
        std::array<char, 65536> bytes{};
        sockaddr_in sender{};
        socklen_t length = sizeof sender;
        const ssize_t count = ::recvfrom(m_descriptor, bytes.data(), bytes.size(), 0,
                                         reinterpret_cast<sockaddr*>(&sender), &length);
        if (count < 0) {
            throw std::system_error(errno, std::generic_category(), "recvfrom");
        }
        std::array<char, INET_ADDRSTRLEN> text{};
        ::inet_ntop(AF_INET, &sender.sin_addr, text.data(), text.size());
        return {{bytes.data(), static_cast<std::size_t>(count)},
                std::string(text.data()) + ":" + std::to_string(ntohs(sender.sin_port))};
    }

private:
    static sockaddr_in Address(const std::string& text, std::uint16_t port) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        if (::inet_pton(AF_INET, text.c_str(), &address.sin_addr) != 1) {
            throw std::runtime_error("not an address: " + text);
        }
        return address;
    }

    int m_descriptor;
};
