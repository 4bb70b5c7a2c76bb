// Matching against a plain recursive one. The first line is the expression, the rest a record.
#include "transports/SearchExpression.h"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

namespace {

// Steps are counted, since a recursive match can take for ever.
bool Matches(std::string_view pattern, std::string_view text, int& steps) {
    if (--steps < 0) {
        return false;
    }
    if (pattern.starts_with("?*")) {
        pattern.remove_prefix(2);
        for (std::size_t i = 0; i <= text.size(); ++i) {
            if (Matches(pattern, text.substr(i), steps)) {
                return true;
            }
        }
        return false;
    }
    if (pattern.empty() || text.empty()) {
        return pattern.empty() && text.empty();
    }
    return pattern[0] == text[0] && Matches(pattern.substr(1), text.substr(1), steps);
}

std::string UpperCased(std::string_view text) {
    std::string upper;
    for (const char c : text.substr(0, text.find('\0'))) {
        upper += static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    }
    return upper;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    const std::string_view expression = input.substr(0, input.find('\n'));
    const std::string_view record = input.substr(std::min(size, expression.size() + 1));
    const std::string upper = UpperCased(record);
    const std::string_view resource = std::string_view(upper).substr(0, upper.find('\n'));
    int steps = 100000;
    const bool expected =
        upper.find(expression) != std::string::npos ||
        (expression.find("?*") != std::string_view::npos && Matches(expression, resource, steps));
    if (steps >= 0 && uxvisa::MatchesExpression(expression, record) != expected) {
        std::abort();
    }
    if (!uxvisa::SameInstrument(record, record) ||
        uxvisa::SameInstrument(expression, record) != uxvisa::SameInstrument(record, expression)) {
        std::abort();
    }
    return 0;
}
