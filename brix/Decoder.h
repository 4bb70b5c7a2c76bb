// A packet becomes a line of text. Needs no session.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "brix/Protocol.h"

namespace uxvisa::brix {

// The mode that shows the bodies of packets without a parameter.
constexpr int HexadecimalBodies = 1;

struct DecodeOptions {
    bool full = false; // every header field, and not only what is unexpected
    int mode = 0;
    std::int16_t expectedStatus = 0;
};

// Reads `length` bytes and never more; what a packet lacks of its header or of the body that its
// header announces counts as zero, and what follows that body is not looked at.
std::string DecodePacket(const unsigned char* packet, std::size_t length,
                         const DecodeOptions& options, const ProtocolNames& names);

// The name of a status without the explanation behind its "=".
std::string ErrorText(int code, const ProtocolNames& names);

} // namespace uxvisa::brix
