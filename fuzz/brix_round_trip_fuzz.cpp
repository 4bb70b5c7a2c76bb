// Values, encoded into a packet and decoded from it: the same numbers come back, as far as their
// size holds them.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "brix/Decoder.h"
#include "brix/Encoder.h"
#include "tests/support/SmallProtocol.h"
#include "uxvisa/visatype.h"

namespace {

namespace brix = uxvisa::brix;

void Require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

std::string Printed(double value) {
    char text[64];
    std::snprintf(text, sizeof text, " %.13g", value);
    return text;
}

// With all its digits: an integer of up to 53 bits over a power of two has at most that many
// behind the point.
std::string Exact(double value) {
    char text[512];
    std::snprintf(text, sizeof text, " %.24f", value);
    return text;
}

// Sign-extended from `bytes` bytes of the input.
std::int64_t Number(const std::uint8_t* data, unsigned int bytes) {
    std::uint64_t bits = 0;
    for (unsigned int i = 0; i < bytes; ++i) {
        bits |= std::uint64_t{data[i]} << (8 * i);
    }
    return static_cast<std::int64_t>(bits << (64 - 8 * bytes)) >> (64 - 8 * bytes);
}

} // namespace

// The first byte is FlagB, size and fraction; values of six bytes follow.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr unsigned int Longest = 6;
    if (size == 0) {
        return 0;
    }
    const unsigned int valueSize = static_cast<unsigned int>(std::max(data[0] >> 4, 1));
    const unsigned int frac = data[0] & 15;
    const unsigned int used = std::min(valueSize, Longest);
    std::string line = "TEXT (b=" + std::to_string(valueSize * 16 + frac) + ")=";
    std::string expected = "TEXT =";
    std::size_t count = 0;
    for (std::size_t at = 1; at + Longest <= size && count < 255; at += Longest, ++count) {
        const double value = std::ldexp(static_cast<double>(Number(data + at, used)),
                                        -static_cast<int>(8 * (frac % 4)));
        line += Exact(value);
        expected += Printed(value);
    }

    const brix::ProtocolFunctions functions = uxvisa::test::SmallProtocol();
    const brix::ProtocolNames names(functions, 1);
    std::vector<unsigned char> packet;
    Require(brix::EncodeLine(line, '\n', names, packet) == VI_SUCCESS);
    std::string decoded = brix::DecodePacket(packet.data(), packet.size(), {}, names);
    // The header's part of the line depends on the size; and an odd body ends in a byte of its own.
    const std::size_t begin = decoded.find(" (");
    if (begin != std::string::npos) {
        decoded.erase(begin, decoded.find(" )") + 2 - begin);
    }
    // The encoder sets a status that replies do not have.
    if (count * valueSize % 2 != 0) {
        expected += " \"\\0\"";
    }
    Require(decoded == expected);
    return 0;
}
