// Where the fields of a BRIX packet lie: a 16-byte header, little-endian, and the body behind it.
#pragma once

#include <cstddef>
#include <cstdint>

namespace uxvisa::brix {

constexpr std::size_t HeaderSize = 16;
constexpr std::size_t LargestBody = 65535;
constexpr std::size_t LargestPacket = HeaderSize + LargestBody;

constexpr std::size_t SignatureOffset = 0;
constexpr std::size_t CommandOffset = 2;
constexpr std::size_t StatusOffset = 4;
constexpr std::size_t BodyLenOffset = 6;
constexpr std::size_t FlagsOffset = 8; // FlagA, then FlagB
constexpr std::size_t DummyOffset = 10;
// The identifier of a packet lies over the first eight bytes of the body, and so counts only for
// packets whose body leaves them alone. The protocol has it so.
constexpr std::size_t IdOffset = 16;
constexpr std::size_t IdSize = 8;
// In parameter packets.
constexpr std::size_t ParameterOffset = HeaderSize;
constexpr std::size_t ParameterSize = 2;
constexpr std::size_t ValuesOffset = ParameterOffset + ParameterSize;

constexpr std::uint16_t Signature = 0x55AA;
constexpr std::int16_t UnansweredStatus = -32768;

enum Command : std::uint16_t {
    SetParameter = 3,
    QueryParameter = 4,
    ReadBlock = 6,
    ActOnParameter = 7,
};

constexpr bool IsParameterCommand(unsigned int command) {
    return command == SetParameter || command == QueryParameter || command == ActOnParameter;
}

template <typename Word>
Word LoadWord(const unsigned char* from) {
    std::uint64_t bits = 0;
    for (std::size_t i = 0; i < sizeof(Word); ++i) {
        bits |= std::uint64_t{from[i]} << (8 * i);
    }
    return static_cast<Word>(bits);
}

template <typename Word>
void StoreWord(unsigned char* to, Word word) {
    const auto bits = static_cast<std::uint64_t>(word);
    for (std::size_t i = 0; i < sizeof(Word); ++i) {
        to[i] = static_cast<unsigned char>(bits >> (8 * i));
    }
}

inline std::size_t PacketSize(const unsigned char* header) {
    return HeaderSize + LoadWord<std::uint16_t>(header + BodyLenOffset);
}

} // namespace uxvisa::brix
