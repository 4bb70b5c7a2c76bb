#include "transports/EmulatorRecord.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iterator>
#include <string_view>

namespace uxvisa {

namespace {

constexpr char DiscoveryRequest[] = "UxVISA Discovery";
constexpr std::string_view SocketFilters[] = {"TCPIP", "TCPIP?*", "KX10", "KX20",
                                              "KX30",  "KX40",    "KX50"};

} // namespace

bool ReportsEmulator(const std::string& expression, int error) {
    const bool asked = expression.empty() ||
                       std::find(std::begin(SocketFilters), std::end(SocketFilters), expression) !=
                           std::end(SocketFilters);
    return asked && error == EALREADY;
}

int FillDiscoveryRequest(char* buffer, int size) {
    if (size >= static_cast<int>(sizeof DiscoveryRequest)) {
        std::memcpy(buffer, DiscoveryRequest, sizeof DiscoveryRequest);
    }
    return sizeof DiscoveryRequest - 1;
}

} // namespace uxvisa
