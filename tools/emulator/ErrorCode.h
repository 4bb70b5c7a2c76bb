#pragma once

#include <cstdint>
#include <string_view>

namespace emulator {

enum class ErrorCode : int {
    NoError = 0,
    InvalidCharacter = -101,
    SyntaxError = -102,
    DataTypeError = -104,
    ParameterNotAllowed = -108,
    MissingParameter = -109,
    HeaderSeparatorError = -111,
    UndefinedHeader = -113,
    InvalidStringData = -151,
    DataOutOfRange = -222,
    IllegalParameterValue = -224,
    DataCorruptOrStale = -230,
    QueueOverflow = -350,
    InputBufferOverrun = -363,
    QueryInterrupted = -410,
    QueryUnterminated = -420,
};

std::string_view ErrorText(ErrorCode code);

// The bit that an error of this class sets in the standard event status register.
std::uint8_t EventBit(ErrorCode code);

} // namespace emulator
