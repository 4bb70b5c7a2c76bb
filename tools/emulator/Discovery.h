#pragma once

#include "tools/emulator/Instrument.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace emulator {

constexpr std::uint16_t DiscoveryPort = 8889;

// What an instrument says to programs that look for some: where it takes raw TCP connections, its
// name, its model and its serial number. Empty for anything that is no request.
std::string AnswerDiscovery(std::string_view request, const std::string& host, std::uint16_t port,
                            const Identity& identity);

} // namespace emulator
