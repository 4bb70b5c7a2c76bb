// Packets and bodies in tests are written in hexadecimal.
#pragma once

#include <cctype>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace uxvisa::test {

// Blanks between the digits are for the reader of the test.
inline std::vector<unsigned char> Bytes(std::string_view hexadecimal) {
    std::string digits;
    for (const char c : hexadecimal) {
        if (c != ' ') {
            digits += c;
        }
    }
    std::vector<unsigned char> bytes;
    for (std::size_t i = 0; i + 1 < digits.size(); i += 2) {
        bytes.push_back(static_cast<unsigned char>(std::stoi(digits.substr(i, 2), nullptr, 16)));
    }
    return bytes;
}

inline std::string BytesText(std::string_view hexadecimal) {
    const std::vector<unsigned char> bytes = Bytes(hexadecimal);
    return {bytes.begin(), bytes.end()};
}

inline std::string Hex(const unsigned char* bytes, std::size_t count) {
    constexpr char Digits[] = "0123456789ABCDEF";
    std::string text;
    for (std::size_t i = 0; i < count; ++i) {
        text += Digits[bytes[i] >> 4];
        text += Digits[bytes[i] & 15];
    }
    return text;
}

inline std::string Hex(std::string_view bytes) {
    return Hex(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
}

// `hexadecimal` without its blanks, to compare with what Hex() gives.
inline std::string Digits(std::string_view hexadecimal) {
    return Hex(BytesText(hexadecimal));
}

} // namespace uxvisa::test
