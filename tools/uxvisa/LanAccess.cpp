#include "tools/uxvisa/LanAccess.h"

#include <cerrno>
#include <cstdint>
#include <memory>

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace uxvisa::tool {

namespace {

constexpr char Loopback[] = "127.0.0.1";
constexpr unsigned int NeededFlags = IFF_UP | IFF_RUNNING | IFF_BROADCAST;

std::string AddressText(const sockaddr* address) {
    char text[INET_ADDRSTRLEN] = "";
    const auto* ip = reinterpret_cast<const sockaddr_in*>(address);
    ::inet_ntop(AF_INET, &ip->sin_addr, text, sizeof text);
    return text;
}

bool TakesBroadcasts(const ifaddrs& entry) {
    return (entry.ifa_flags & NeededFlags) == NeededFlags && entry.ifa_addr != nullptr &&
           entry.ifa_addr->sa_family == AF_INET && AddressText(entry.ifa_addr) != Loopback;
}

bool IsTaken(const std::string& address, int port) {
    sockaddr_in endpoint{};
    endpoint.sin_family = AF_INET;
    endpoint.sin_port = htons(static_cast<std::uint16_t>(port));
    ::inet_pton(AF_INET, address.c_str(), &endpoint.sin_addr);
    const int probe = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (probe == -1) {
        return false;
    }
    const auto* name = reinterpret_cast<const sockaddr*>(&endpoint);
    const bool isTaken = ::bind(probe, name, sizeof endpoint) != 0 && errno == EADDRINUSE;
    ::close(probe);
    return isTaken;
}

} // namespace

std::vector<std::string> BroadcastAddresses() {
    ifaddrs* list = nullptr;
    if (::getifaddrs(&list) != 0) {
        return {};
    }
    const std::unique_ptr<ifaddrs, void (*)(ifaddrs*)> owner(list, ::freeifaddrs);
    std::vector<std::string> addresses;
    for (const ifaddrs* entry = list; entry != nullptr; entry = entry->ifa_next) {
        if (TakesBroadcasts(*entry)) {
            addresses.push_back(AddressText(entry->ifa_addr));
        }
    }
    return addresses;
}

std::vector<std::string> TakenSearchPorts(const std::vector<std::string>& addresses) {
    std::vector<std::string> ports;
    for (const std::string& address : addresses) {
        for (const int port : {SocketSearchPort, Vxi11SearchPort}) {
            if (IsTaken(address, port)) {
                ports.push_back(std::to_string(port) + " of " + address);
            }
        }
    }
    return ports;
}

} // namespace uxvisa::tool
