#include "brix/Head.h"

#include "brix/Packet.h"

namespace brix = uxvisa::brix;

namespace {

// The record with its ID, not the 16 bytes on the wire, on purpose: instruments pad what they send
// so that this holds, and a packet that is not padded is refused.
constexpr int CheckedHeaderSize = 24;

// The identifier of the parameter and the values, rounded up to an even count.
short SmallestBody(int count, int size) {
    return static_cast<short>((count * size + 3) & ~1);
}

} // namespace

CHead::CHead() : Signature(brix::Signature), Status(0), BodyLen(0), Flags(0) {}

CHead& CHead::operator=(const CHead& other) {
    Signature = other.Signature;
    Command = other.Command;
    Status = other.Status;
    BodyLen = other.BodyLen;
    Flags = other.Flags;
    ID = other.ID;
    return *this;
}

int CHead::NumParam() {
    return Flags & 0xFF;
}

int CHead::LenParam() {
    return Flags >> 12;
}

int CHead::FracParam() {
    return (Flags >> 8) & 15;
}

void CHead::SetFlags(short num, short len, short frac) {
    Flags = static_cast<std::uint16_t>((len << 12) | ((frac << 8) & 0xF00) | (num & 0xFF));
}

int CHead::Check(unsigned short packetLength) {
    if (Signature != brix::Signature) {
        return brix::SignatureRefused;
    }
    if (BodyLen % 2 != 0 || BodyLen + CheckedHeaderSize > packetLength) {
        return brix::LengthRefused;
    }
    if (Command == brix::SetParameter && BodyLen <= 2) {
        return brix::BodyTooShort;
    }
    if (Command == brix::QueryParameter && BodyLen <= 1) {
        return brix::BodyTooShort;
    }
    return brix::HeadAcceptable;
}

int CHead::Check(short num, short len, short frac, bool checkBody) {
    if (len >= 0 && len != LenParam()) {
        return brix::ValuesDoNotMatch;
    }
    if (frac >= 0 && frac != FracParam()) {
        return brix::ValuesDoNotMatch;
    }
    if (checkBody && BodyLen < SmallestBody(NumParam(), LenParam())) {
        return brix::BodyTooShort;
    }
    if (num < 0) {
        return brix::HeadAcceptable;
    }
    if (num > NumParam()) {
        return brix::ValuesDoNotMatch;
    }
    return num < NumParam() ? brix::MoreValuesThanAsked : brix::HeadAcceptable;
}
