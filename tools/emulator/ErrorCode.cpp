#include "tools/emulator/ErrorCode.h"

namespace emulator {

std::string_view ErrorText(ErrorCode code) {
    switch (code) {
    case ErrorCode::NoError:
        return "No error";
    case ErrorCode::InvalidCharacter:
        return "Invalid character";
    case ErrorCode::SyntaxError:
        return "Syntax error";
    case ErrorCode::DataTypeError:
        return "Data type error";
    case ErrorCode::ParameterNotAllowed:
        return "Parameter not allowed";
    case ErrorCode::MissingParameter:
        return "Missing parameter";
    case ErrorCode::HeaderSeparatorError:
        return "Header separator error";
    case ErrorCode::UndefinedHeader:
        return "Undefined header";
    case ErrorCode::InvalidStringData:
        return "Invalid string data";
    case ErrorCode::DataOutOfRange:
        return "Data out of range";
    case ErrorCode::IllegalParameterValue:
        return "Illegal parameter value";
    case ErrorCode::DataCorruptOrStale:
        return "Data corrupt or stale";
    case ErrorCode::QueueOverflow:
        return "Queue overflow";
    case ErrorCode::InputBufferOverrun:
        return "Input buffer overrun";
    case ErrorCode::QueryInterrupted:
        return "Query INTERRUPTED";
    case ErrorCode::QueryUnterminated:
        return "Query UNTERMINATED";
    }
    return "Unknown error";
}

std::uint8_t EventBit(ErrorCode code) {
    constexpr std::uint8_t QueryError = 1U << 2U;
    constexpr std::uint8_t DeviceError = 1U << 3U;
    constexpr std::uint8_t ExecutionError = 1U << 4U;
    constexpr std::uint8_t CommandError = 1U << 5U;
    switch (static_cast<int>(code) / -100) {
    case 1:
        return CommandError;
    case 2:
        return ExecutionError;
    case 3:
        return DeviceError;
    case 4:
        return QueryError;
    default:
        return 0;
    }
}

} // namespace emulator
