#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace emulator {

// Turns a byte stream, however it is split, into BRIX packets: a header of 16 bytes that tells how
// many follow it.
class PacketAssembler {
public:
    enum class Outcome {
        NeedMore, // the input is used up
        Record,   // a whole packet
        Overrun,  // never: the longest packet is short enough
    };

    // Consumes input up to the end of the next packet, which stays valid until the next call.
    Outcome Take(std::string_view& input, std::string_view& packet);

private:
    bool TakeUpTo(std::size_t size, std::string_view& input);

    std::string m_packet;
    bool m_delivered = false;
};

} // namespace emulator
