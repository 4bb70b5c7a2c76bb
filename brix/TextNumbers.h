// Reading the numbers in a line of BRIX text. Overflow wraps or loses digits and is no error.
#pragma once

#include <cstddef>
#include <string_view>

#include "Library/Export.h"

namespace uxvisa::brix {

template <typename Value>
struct ReadNumber {
    Value value;
    std::size_t consumed; // 0: there is no number at the start of the text
};

// An optional '-' and decimal digits, or, where allowed, "0x" and hexadecimal ones.
ReadNumber<int> ReadInteger(std::string_view text, bool allowHex);
// "-1.25e2", or "0x" and hexadecimal digits.
ReadNumber<double> ReadReal(std::string_view text);

// What pow(10, exponent) gives, to the last bit.
double PowerOfTen(long exponent);

} // namespace uxvisa::brix

// As above, of a text that ends with a NUL; `consumed` may be null.
UXVISA_API int str2int(const char* text, unsigned int* consumed, bool allowHex);
UXVISA_API double str2double(const char* text, unsigned int* consumed);
