// Bytes made visible: "\n", "\x00" and the like for what a terminal would not show.
#pragma once

#include <string>
#include <string_view>

namespace uxvisa::tool {

// In double quotes.
std::string EscapedText(std::string_view data);
// "\x1B", whatever the byte.
std::string HexEscape(char byte);

} // namespace uxvisa::tool
