#include "transports/BroadcastSocket.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <netdb.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <utility>

namespace uxvisa {

namespace {

constexpr int UdpProtocol = 17;
// Exactly this address is nobody's LAN; the others of the loopback network may be a test's.
constexpr char Loopback[] = "127.0.0.1";

std::string NumericAddress(const sockaddr* address) {
    char text[NI_MAXHOST] = "";
    if (address == nullptr || address->sa_family != AF_INET ||
        getnameinfo(address, sizeof(sockaddr_in), text, sizeof text, nullptr, 0, NI_NUMERICHOST) !=
            0) {
        return {};
    }
    return text;
}

sockaddr_in Endpoint(const std::string& address, int port) {
    sockaddr_in endpoint{};
    endpoint.sin_family = AF_INET;
    endpoint.sin_port = htons(static_cast<std::uint16_t>(port));
    inet_pton(AF_INET, address.c_str(), &endpoint.sin_addr);
    return endpoint;
}

} // namespace

std::vector<BroadcastInterface> BroadcastInterfaces() {
    ifaddrs* list = nullptr;
    if (getifaddrs(&list) != 0) {
        // As drastic as it looks, on purpose: a machine that cannot name its interfaces is not one
        // to measure with, and an empty search result would hide that.
        std::perror("getifaddrs");
        std::exit(1);
    }
    const std::unique_ptr<ifaddrs, void (*)(ifaddrs*)> owner(list, freeifaddrs);
    std::vector<BroadcastInterface> interfaces;
    for (const ifaddrs* entry = list; entry != nullptr; entry = entry->ifa_next) {
        std::string address = NumericAddress(entry->ifa_addr);
        if (!address.empty() && address != Loopback) {
            interfaces.push_back({std::move(address), NumericAddress(entry->ifa_broadaddr)});
        }
    }
    return interfaces;
}

std::optional<BroadcastSocket> BroadcastSocket::Open() {
    const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, UdpProtocol);
    if (fd < 0) {
        return std::nullopt;
    }
    return BroadcastSocket(fd);
}

BroadcastSocket::BroadcastSocket(BroadcastSocket&& other) noexcept
    : m_fd(std::exchange(other.m_fd, -1)) {}

BroadcastSocket::~BroadcastSocket() {
    if (m_fd >= 0) {
        close(m_fd);
    }
}

bool BroadcastSocket::Bind(const std::string& address, int port) const {
    const timeval timeout{2, 0};
    const int on = 1;
    const sockaddr_in endpoint = Endpoint(address, port);
    return setsockopt(m_fd, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout) == 0 &&
           bind(m_fd, reinterpret_cast<const sockaddr*>(&endpoint), sizeof endpoint) == 0 &&
           setsockopt(m_fd, SOL_SOCKET, SO_BROADCAST, &on, sizeof on) == 0;
}

bool BroadcastSocket::Send(const std::string& request, const std::string& address, int port) const {
    const sockaddr_in endpoint = Endpoint(address, port);
    return sendto(m_fd, request.data(), request.size(), MSG_NOSIGNAL,
                  reinterpret_cast<const sockaddr*>(&endpoint), sizeof endpoint) >= 0;
}

std::optional<BroadcastSocket::Datagram> BroadcastSocket::Receive(std::vector<char>& buffer) const {
    sockaddr_in sender{};
    socklen_t size = sizeof sender;
    const ssize_t length = recvfrom(m_fd, buffer.data(), buffer.size(), MSG_DONTWAIT,
                                    reinterpret_cast<sockaddr*>(&sender), &size);
    if (length < 0) {
        return std::nullopt;
    }
    return Datagram{static_cast<int>(length),
                    NumericAddress(reinterpret_cast<const sockaddr*>(&sender))};
}

void AwaitDatagram(const std::vector<BroadcastSocket>& sockets, int milliseconds) {
    std::vector<pollfd> waits;
    for (const BroadcastSocket& socket : sockets) {
        waits.push_back({socket.Descriptor(), POLLIN, 0});
    }
    poll(waits.data(), waits.size(), milliseconds);
}

} // namespace uxvisa
