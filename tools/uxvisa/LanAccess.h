// What of this machine stands in the way of a search on the LAN.
#pragma once

#include <string>
#include <vector>

namespace uxvisa::tool {

// The UDP ports at which the answers to a search arrive.
inline constexpr int SocketSearchPort = 8890;
inline constexpr int Vxi11SearchPort = 9757;

// The IPv4 addresses of the interfaces that are up and take broadcasts, the loopback one excepted.
std::vector<std::string> BroadcastAddresses();

// "8890 of 192.0.2.7" for each port that another program holds at one of the addresses.
std::vector<std::string> TakenSearchPorts(const std::vector<std::string>& addresses);

} // namespace uxvisa::tool
