#include "tools/uxvisa/StatusCode.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstdint>
#include <strings.h>

namespace uxvisa::tool {

namespace {

constexpr std::string_view NamePrefix = "VI_";
constexpr std::string_view HexPrefix = "0x";

bool StartsWith(std::string_view text, std::string_view prefix) {
    return text.size() > prefix.size() &&
           ::strncasecmp(text.data(), prefix.data(), prefix.size()) == 0;
}

bool IsNameCharacter(char character) {
    return character == '_' || std::isalnum(static_cast<unsigned char>(character)) != 0;
}

template <typename Number>
std::optional<Number> ParseWhole(std::string_view digits, int base) {
    Number number = 0;
    const char* end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, number, base);
    return error == std::errc() && stop == end ? std::optional(number) : std::nullopt;
}

ViStatus SignExtended(std::uint64_t bits) {
    return bits >> 32 == 0 ? static_cast<ViStatus>(static_cast<std::int32_t>(bits))
                           : static_cast<ViStatus>(bits);
}

} // namespace

bool LooksLikeStatusName(std::string_view text) {
    return StartsWith(text, NamePrefix) && std::ranges::all_of(text, IsNameCharacter);
}

std::optional<ViStatus> ParseStatusNumber(std::string_view text) {
    if (StartsWith(text, "-")) {
        return ParseWhole<ViStatus>(text, 10);
    }
    const bool isHex = StartsWith(text, HexPrefix);
    const auto bits = isHex ? ParseWhole<std::uint64_t>(text.substr(HexPrefix.size()), 16)
                            : ParseWhole<std::uint64_t>(text, 10);
    return bits ? std::optional(SignExtended(*bits)) : std::nullopt;
}

} // namespace uxvisa::tool
