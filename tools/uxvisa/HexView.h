// Bytes as hexadecimal digits.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace uxvisa::tool {

// "2A 49 44", or another text between the bytes.
std::string HexBytes(std::string_view data, std::string_view between = " ");

// What makes a run of bytes stand out; empty for nothing.
struct HexRun {
    std::size_t length;
    std::string_view colour;
};

inline constexpr std::string_view ColourEnd = "\x1B[0m";

// "00000000  2A 49 44 4E 3F 0A ... *IDN?.", 16 bytes a line. The runs follow each other from the
// first byte on; what they do not cover has no colour.
std::vector<std::string> HexLines(std::string_view data, const std::vector<HexRun>& runs = {});

// Whether colours are of use on standard output: it is a terminal that knows them, and the user has
// not said NO_COLOR.
bool OutputTakesColours();

} // namespace uxvisa::tool
