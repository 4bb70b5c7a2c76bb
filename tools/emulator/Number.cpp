#include "tools/emulator/Number.h"

#include <array>
#include <charconv>
#include <cmath>
#include <system_error>

namespace emulator {

ErrorCode ParseNumber(std::string_view text, double& value) {
    const bool negative = text.starts_with('-');
    text.remove_prefix(negative || text.starts_with('+') ? 1 : 0);
    // from_chars would also take "inf" and "nan", and a second sign.
    if (text.empty() || std::string_view("0123456789.").find(text.front()) == text.npos) {
        return ErrorCode::DataTypeError;
    }
    double magnitude = 0.0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, magnitude);
    if (error == std::errc::invalid_argument || stop != end) {
        return ErrorCode::DataTypeError;
    }
    if (error != std::errc()) {
        return ErrorCode::DataOutOfRange;
    }
    value = negative ? -magnitude : magnitude;
    return ErrorCode::NoError;
}

std::string FormatNumber(double value, int decimals) {
    std::array<char, 64> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value,
                                   std::chars_format::scientific, decimals);
    std::string text(std::signbit(value) ? "" : "+");
    text.append(digits.data(), end.ptr);
    if (const std::size_t exponent = text.find('e'); exponent != std::string::npos) {
        text[exponent] = 'E';
    }
    return text;
}

} // namespace emulator
