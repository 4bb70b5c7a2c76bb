#include "tools/uxvisa/EscapedText.h"

namespace uxvisa::tool {

namespace {

std::string Escaped(char character) {
    switch (character) {
    case '\n':
        return "\\n";
    case '\r':
        return "\\r";
    case '\t':
        return "\\t";
    case '"':
    case '\\':
        return std::string("\\") + character;
    default:
        return character >= ' ' && character <= '~' ? std::string(1, character)
                                                    : HexEscape(character);
    }
}

} // namespace

std::string HexEscape(char byte) {
    constexpr char digits[] = "0123456789ABCDEF";
    const auto bits = static_cast<unsigned char>(byte);
    return std::string("\\x") + digits[bits >> 4] + digits[bits & 0x0F];
}

std::string EscapedText(std::string_view data) {
    std::string text = "\"";
    for (const char character : data) {
        text += Escaped(character);
    }
    return text + '"';
}

} // namespace uxvisa::tool
