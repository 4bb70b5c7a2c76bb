// Bytes that a user gives as hexadecimal digits.
#pragma once

#include <string>
#include <string_view>

namespace uxvisa::tool {

// "AA5503", "AA 55 03", "0xAA, 0x55", over lines too. Throws a Failure that says what is wrong.
std::string ParseHex(std::string_view text);

} // namespace uxvisa::tool
