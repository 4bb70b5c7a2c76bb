#pragma once

#include "tools/emulator/Instrument.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace emulator {

// How a connection behaves in time. Zero switches a behaviour off.
struct Pacing {
    std::chrono::milliseconds delay{0};     // before a response
    std::chrono::milliseconds idle_drop{0}; // closes a connection that was silent for so long
    std::size_t chunk = 0;                  // bytes written at a time
    std::chrono::milliseconds chunk_interval{10};
    std::size_t close_after = 0; // closes a connection that had so many responses
};

struct Options {
    std::string bind = "127.0.0.1";
    std::uint16_t port = 8888;
    std::string usock;                       // the path of a local socket; empty for none
    std::optional<std::uint16_t> vxi11;      // the port of the core channel
    std::optional<std::uint16_t> portmapper; // only with a core channel
    std::string pty;                         // the link to a pseudo-terminal; empty for none
    bool discoverable = false;
    bool brix = false;    // speaks packets on the TCP port
    std::string protocol; // the file that names the parameters; only with brix
    bool quiet = false;
    Pacing pacing;
    InstrumentSettings instrument;
};

// Returns nothing when the program is to end at once, with exit_code: after --help and --version,
// which it has answered, and after a usage error, which it has reported.
std::optional<Options> ParseOptions(int argc, const char* const* argv, int& exit_code);

} // namespace emulator
