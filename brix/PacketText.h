// The small pieces that a decoded packet's line is made of. None depends on the process's locale.
#pragma once

#include <cstddef>
#include <string>

#include "Library/Export.h"

namespace uxvisa::brix {

// In double quotes, control characters escaped.
void AppendQuoted(std::string& line, const unsigned char* data, std::size_t length);
// With 13 significant digits, as "%.13g" writes it in the C locale.
void AppendNumber(std::string& line, double value);
// "0x" and the number's decimal digits, an even count of them.
void AppendPadded(std::string& line, int value);
// " NAME=", what every named field begins with.
void AppendLabel(std::string& line, const char* name);

} // namespace uxvisa::brix

UXVISA_API std::string bin_to_str(unsigned char* data, int length);
UXVISA_API std::string Arg(const char* name);
