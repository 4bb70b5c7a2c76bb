// The header of a BRIX packet as a record, and the checks of a packet against what is expected.
#pragma once

#include <cstddef>
#include <cstdint>

#include "Library/Export.h"

namespace uxvisa::brix {

// What the checks answer: codes of the protocol, 16 bits wide, as signed numbers.
constexpr int HeadAcceptable = 0;
constexpr int MoreValuesThanAsked = 2; // a warning
constexpr int ValuesDoNotMatch = static_cast<std::int16_t>(0x8003);
constexpr int BodyTooShort = static_cast<std::int16_t>(0x8005);
constexpr int LengthRefused = static_cast<std::int16_t>(0x800D);
constexpr int SignatureRefused = static_cast<std::int16_t>(0x800E);

} // namespace uxvisa::brix

// The fields and their order are binary interface.
class UXVISA_API CHead {
public:
    // Leaves Command, Dummy and ID unset, on purpose: whoever builds a packet decides on them.
    CHead();
    CHead(const CHead& other) = default;
    // Copies all but Dummy, on purpose: it belongs to one packet and is not carried into the next.
    CHead& operator=(const CHead& other);

    int NumParam();
    int LenParam();
    int FracParam();
    void SetFlags(short num, short len, short frac);

    // Of a packet of `packetLength` bytes, as far as the header tells.
    int Check(unsigned short packetLength);
    // Against the wanted number, size and fraction of values; a negative one is not compared.
    int Check(short num, short len, short frac, bool checkBody);

    std::uint16_t Signature;
    std::uint16_t Command;
    std::int16_t Status;
    std::uint16_t BodyLen;
    std::uint16_t Flags; // NumParam: bits 0 to 7, FracParam: 8 to 11, LenParam: 12 to 15
    std::uint16_t Dummy;
    std::int64_t ID;
};

static_assert(sizeof(CHead) == 24, "other programs rely on this layout");
static_assert(offsetof(CHead, ID) == 16, "other programs rely on this layout");
