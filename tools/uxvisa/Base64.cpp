#include "tools/uxvisa/Base64.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace uxvisa::tool {

namespace {

constexpr char Alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::size_t GroupSize = 3;

void AppendGroup(std::string& text, std::string_view group) {
    std::uint32_t bits = 0;
    for (std::size_t i = 0; i < GroupSize; ++i) {
        const auto byte = i < group.size() ? static_cast<unsigned char>(group[i]) : 0U;
        bits = bits << 8 | byte;
    }
    for (std::size_t i = 0; i <= GroupSize; ++i) {
        const std::uint32_t sextet = bits >> (6 * (GroupSize - i)) & 0x3F;
        text += i <= group.size() ? Alphabet[sextet] : '=';
    }
}

} // namespace

std::string Base64(std::string_view data) {
    std::string text;
    text.reserve((data.size() + GroupSize - 1) / GroupSize * 4);
    for (std::size_t at = 0; at < data.size(); at += GroupSize) {
        AppendGroup(text, data.substr(at, GroupSize));
    }
    return text;
}

} // namespace uxvisa::tool
