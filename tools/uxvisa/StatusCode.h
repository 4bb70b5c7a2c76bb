// A status as a user writes it: a name, or a number in one of the forms that programs print.
#pragma once

#include <optional>
#include <string_view>

#include "uxvisa/visatype.h"

namespace uxvisa::tool {

// True for what is meant as a name, whether or not there is a status of that name.
bool LooksLikeStatusName(std::string_view text);

// Hexadecimal with 0x, or decimal with or without a sign; zero-extended numbers of 32 bits are
// sign-extended. Empty if the text is no such number or has more than 64 bits.
std::optional<ViStatus> ParseStatusNumber(std::string_view text);

} // namespace uxvisa::tool
