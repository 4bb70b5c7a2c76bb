#pragma once

#include "tools/emulator/ErrorCode.h"

#include <string>
#include <string_view>

namespace emulator {

// Returns NoError, DataTypeError when the text is no decimal number, or DataOutOfRange when no
// double can hold it.
ErrorCode ParseNumber(std::string_view text, double& value);

// Scientific form with a sign, such as +1.25000000E+00.
std::string FormatNumber(double value, int decimals = 8);

} // namespace emulator
