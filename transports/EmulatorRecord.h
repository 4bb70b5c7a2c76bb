// What the socket sessions' searches have in common: the request they broadcast and the record of a
// local emulator.
#pragma once

#include <string>

namespace uxvisa {

inline constexpr char EmulatorRecord[] =
    "TCPIP::localhost::8888::SOCKET\nOrvane\nEmulator\n\n\n127.0.0.1";

// True when a search for `expression` reports the emulator: an expression that asks for sockets,
// and `error`, the caller's errno on entry, being EALREADY. No function here sets that; a program
// that wants the emulator listed sets it before it searches.
bool ReportsEmulator(const std::string& expression, int error);

// Writes the broadcast request with its NUL and returns its length without.
int FillDiscoveryRequest(char* buffer, int size);

} // namespace uxvisa
