#include "brix/TextNumbers.h"

#include <array>
#include <cmath>
#include <cstdint>

namespace uxvisa::brix {

namespace {

constexpr std::string_view HexPrefix = "0x";
// The powers that are neither 0 nor infinite.
constexpr long SmallestExponent = -323;
constexpr long LargestExponent = 308;

// -1 for what is no digit of the base.
int DigitValue(char c, int base) {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    const char lower = static_cast<char>(c | 0x20);
    return base == 16 && lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

bool StartsHexadecimal(std::string_view text) {
    return text.substr(0, HexPrefix.size()) == HexPrefix;
}

template <typename Value>
ReadNumber<Value> ReadDigits(std::string_view text, std::size_t position, int base) {
    Value value{};
    for (; position < text.size(); ++position) {
        const int digit = DigitValue(text[position], base);
        if (digit < 0) {
            break;
        }
        value = value * static_cast<Value>(base) + static_cast<Value>(digit);
    }
    return {value, position};
}

bool IsAt(std::string_view text, std::size_t position, char c) {
    return position < text.size() && text[position] == c;
}

// Digit by digit, each divided by its own power, which is not what the C library's conversion
// gives in the last bit, on purpose: instruments and recorded files agree with this sum.
void AddFraction(std::string_view text, ReadNumber<double>& number) {
    const std::size_t point = number.consumed;
    for (++number.consumed; number.consumed < text.size(); ++number.consumed) {
        const int digit = DigitValue(text[number.consumed], 10);
        if (digit < 0) {
            return;
        }
        number.value += digit / PowerOfTen(static_cast<long>(number.consumed - point));
    }
}

// An exponent without anything to read makes the whole no number; one that is a lone '-' counts as
// 0, and a '+' as nothing to read, on purpose: programs write numbers that fit.
void ApplyExponent(std::string_view text, ReadNumber<double>& number) {
    const auto exponent = ReadInteger(text.substr(number.consumed + 1), false);
    if (exponent.consumed == 0) {
        number = {0.0, 0};
        return;
    }
    number.value *= PowerOfTen(exponent.value);
    number.consumed += 1 + exponent.consumed;
}

ReadNumber<double> ReadDecimal(std::string_view text) {
    const bool negative = IsAt(text, 0, '-');
    ReadNumber<double> number = ReadDigits<double>(text, negative ? 1 : 0, 10);
    if (IsAt(text, number.consumed, '.')) {
        AddFraction(text, number);
    }
    if (number.consumed > 0 && IsAt(text, number.consumed, 'e')) {
        ApplyExponent(text, number);
    }
    if (negative && number.consumed > 0) {
        number.value = -number.value;
    }
    return number;
}

template <typename Value>
Value Told(const ReadNumber<Value>& number, unsigned int* consumed) {
    if (consumed != nullptr) {
        *consumed = static_cast<unsigned int>(number.consumed);
    }
    return number.value;
}

std::string_view OrEmpty(const char* text) {
    return text == nullptr ? std::string_view() : text;
}

} // namespace

// Taken from pow() itself and not written down, so that a table entry and a call are the same.
double PowerOfTen(long exponent) {
    static const auto powers = [] {
        std::array<double, LargestExponent - SmallestExponent + 1> table{};
        for (long i = SmallestExponent; i <= LargestExponent; ++i) {
            table[static_cast<std::size_t>(i - SmallestExponent)] =
                std::pow(10.0, static_cast<double>(i));
        }
        return table;
    }();
    if (exponent < SmallestExponent || exponent > LargestExponent) {
        return std::pow(10.0, static_cast<double>(exponent));
    }
    return powers[static_cast<std::size_t>(exponent - SmallestExponent)];
}

ReadNumber<int> ReadInteger(std::string_view text, bool allowHex) {
    const bool hexadecimal = allowHex && StartsHexadecimal(text);
    const bool negative = !hexadecimal && IsAt(text, 0, '-');
    const std::size_t start = hexadecimal ? HexPrefix.size() : (negative ? 1 : 0);
    const auto digits = ReadDigits<std::uint32_t>(text, start, hexadecimal ? 16 : 10);
    const std::uint32_t value = negative ? 0U - digits.value : digits.value;
    return {static_cast<int>(value), digits.consumed};
}

ReadNumber<double> ReadReal(std::string_view text) {
    return StartsHexadecimal(text) ? ReadDigits<double>(text, HexPrefix.size(), 16)
                                   : ReadDecimal(text);
}

} // namespace uxvisa::brix

int str2int(const char* text, unsigned int* consumed, bool allowHex) {
    namespace brix = uxvisa::brix;
    return brix::Told(brix::ReadInteger(brix::OrEmpty(text), allowHex), consumed);
}

double str2double(const char* text, unsigned int* consumed) {
    namespace brix = uxvisa::brix;
    return brix::Told(brix::ReadReal(brix::OrEmpty(text)), consumed);
}
