#include "tools/uxvisa/BlockHeader.h"

#include <algorithm>
#include <optional>

namespace uxvisa::tool {

namespace {

constexpr std::size_t PrefixSize = 2;

std::optional<unsigned> Digit(char character) {
    return character >= '0' && character <= '9'
               ? std::optional(static_cast<unsigned>(character - '0'))
               : std::nullopt;
}

BlockHeader Malformed() {
    return {BlockHeader::Kind::Malformed, 0, 0};
}

BlockHeader Incomplete(std::size_t missing) {
    return {BlockHeader::Kind::Incomplete, missing, 0};
}

BlockHeader ParseLength(const char* digits, std::size_t present, std::size_t wanted) {
    std::uint64_t length = 0;
    for (std::size_t i = 0; i < std::min(present, wanted); ++i) {
        const auto digit = Digit(digits[i]);
        if (!digit) {
            return Malformed();
        }
        length = length * 10 + *digit;
    }
    return present < wanted ? Incomplete(wanted - present)
                            : BlockHeader{BlockHeader::Kind::Definite, 0, length};
}

} // namespace

BlockHeader ParseBlockHeader(const char* data, std::size_t size) {
    if (size > 0 && data[0] != '#') {
        return Malformed();
    }
    if (size < PrefixSize) {
        return Incomplete(PrefixSize - size);
    }
    const auto digits = Digit(data[1]);
    if (!digits) {
        return Malformed();
    }
    if (*digits == 0) {
        return {BlockHeader::Kind::Indefinite, 0, 0};
    }
    return ParseLength(data + PrefixSize, size - PrefixSize, *digits);
}

} // namespace uxvisa::tool
