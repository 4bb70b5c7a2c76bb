#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace emulator {

// The portmapper's reply to a call (RFC 1833, version 2), both without a record mark. The one
// program it knows is the VXI-11 core channel on the TCP port given. Empty for what is no call.
std::string AnswerPortmapper(std::string_view call, std::uint16_t core_port);

} // namespace emulator
