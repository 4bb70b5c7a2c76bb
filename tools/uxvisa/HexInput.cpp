#include "tools/uxvisa/HexInput.h"

#include <algorithm>

#include "tools/uxvisa/EscapedText.h"
#include "tools/uxvisa/Failure.h"

namespace uxvisa::tool {

namespace {

constexpr char Separators[] = " \t\r\n,";
// Of a word that is no number, as much as a message needs.
constexpr std::size_t LongestShown = 40;

[[noreturn]] void Refuse(const std::string& what) {
    throw Failure(ExitUsage, "", what, "write bytes as AA55, AA 55 or 0xAA 0x55");
}

std::string Shown(std::string_view word) {
    return EscapedText(word.substr(0, LongestShown)) + (word.size() > LongestShown ? "..." : "");
}

int DigitValue(char digit) {
    constexpr std::string_view Digits = "0123456789abcdef";
    const auto lower = static_cast<char>(digit >= 'A' && digit <= 'F' ? digit + 0x20 : digit);
    const std::size_t found = Digits.find(lower);
    return found == std::string_view::npos ? -1 : static_cast<int>(found);
}

void AppendWord(std::string& bytes, std::string_view word) {
    std::string_view digits = word;
    if (digits.starts_with("0x") || digits.starts_with("0X")) {
        digits.remove_prefix(2);
    }
    const auto* wrong = std::ranges::find_if(digits, [](char c) { return DigitValue(c) < 0; });
    if (wrong != digits.end()) {
        Refuse(EscapedText({wrong, 1}) + " in " + Shown(word) + " is no hexadecimal digit");
    }
    if (digits.empty() || digits.size() % 2 != 0) {
        Refuse(Shown(word) + " has an odd number of digits, or none: two make a byte");
    }
    for (std::size_t i = 0; i < digits.size(); i += 2) {
        bytes += static_cast<char>(DigitValue(digits[i]) * 16 + DigitValue(digits[i + 1]));
    }
}

} // namespace

std::string ParseHex(std::string_view text) {
    std::string bytes;
    while (true) {
        text.remove_prefix(std::min(text.find_first_not_of(Separators), text.size()));
        if (text.empty()) {
            break;
        }
        const std::string_view word = text.substr(0, text.find_first_of(Separators));
        AppendWord(bytes, word);
        text.remove_prefix(word.size());
    }
    if (bytes.empty()) {
        Refuse("there are no bytes");
    }
    return bytes;
}

} // namespace uxvisa::tool
