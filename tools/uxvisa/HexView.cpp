#include "tools/uxvisa/HexView.h"

#include <algorithm>
#include <cstdlib>

#include <unistd.h>

namespace uxvisa::tool {

namespace {

constexpr std::size_t BytesPerLine = 16;
constexpr std::size_t OffsetDigits = 8;

char Digit(std::size_t value) {
    return "0123456789ABCDEF"[value & 0x0F];
}

std::string Hex(char byte) {
    const auto bits = static_cast<unsigned char>(byte);
    return {Digit(bits >> 4U), Digit(bits)};
}

std::string OffsetText(std::size_t offset) {
    std::string text(OffsetDigits, '0');
    for (std::size_t i = OffsetDigits; i > 0; --i, offset >>= 4U) {
        text[i - 1] = Digit(offset);
    }
    return text;
}

char Printable(char byte) {
    return byte >= ' ' && byte <= '~' ? byte : '.';
}

// The colour of every byte.
std::vector<std::string_view> Spread(std::size_t size, const std::vector<HexRun>& runs) {
    std::vector<std::string_view> colours;
    for (const HexRun& run : runs) {
        colours.insert(colours.end(), run.length, run.colour);
    }
    colours.resize(size);
    return colours;
}

std::string Coloured(const std::string& text, std::string_view colour) {
    return colour.empty() ? text : std::string(colour) + text + std::string(ColourEnd);
}

bool IsSet(const char* variable) {
    const char* value = std::getenv(variable);
    return value != nullptr && *value != '\0';
}

} // namespace

std::string HexBytes(std::string_view data, std::string_view between) {
    std::string text;
    for (const char byte : data) {
        text += (text.empty() ? "" : std::string(between)) + Hex(byte);
    }
    return text;
}

std::vector<std::string> HexLines(std::string_view data, const std::vector<HexRun>& runs) {
    const auto colours = Spread(data.size(), runs);
    std::vector<std::string> lines;
    for (std::size_t start = 0; start < data.size(); start += BytesPerLine) {
        const std::size_t end = std::min(start + BytesPerLine, data.size());
        std::string bytes;
        std::string text;
        for (std::size_t i = start; i < end; ++i) {
            bytes += Coloured(Hex(data[i]), colours[i]) + ' ';
            text += Coloured(std::string(1, Printable(data[i])), colours[i]);
        }
        bytes.append(3 * (start + BytesPerLine - end), ' ');
        lines.push_back(OffsetText(start) + "  " + bytes + ' ' + text);
    }
    return lines;
}

bool OutputTakesColours() {
    const char* terminal = std::getenv("TERM");
    const bool isDumb = terminal == nullptr || std::string_view(terminal) == "dumb";
    return ::isatty(STDOUT_FILENO) == 1 && !IsSet("NO_COLOR") && !isDumb;
}

} // namespace uxvisa::tool
