// Cutting and analysing the formats of formatted I/O; shared by both engines. Pure: no argument is
// taken from a list here and nothing is written to the caller.
#pragma once

#include <string>
#include <string_view>

namespace uxvisa {

// One piece of a format: literal text, or a conversion from its '%' to its conversion character.
// An unterminated conversion ends with the format's NUL, which then is its conversion character.
struct FormatPiece {
    std::string_view text;
    bool conversion = false;

    bool IsPercent() const { return text == "%%"; }
    char ConversionCharacter() const { return text.back(); }
};

class FormatCutter {
public:
    explicit FormatCutter(const char* format) : m_rest(format) {}
    bool Next(FormatPiece& piece);

private:
    const char* m_rest;
};

// Replaces every `mark` of the piece, left to right, by the decimal text that `next` yields.
template <typename NextNumber>
std::string WithNumbers(std::string_view piece, char mark, NextNumber&& next) {
    std::string result;
    for (const char c : piece) {
        if (c == mark) {
            result += std::to_string(next());
        } else {
            result += c;
        }
    }
    return result;
}

// The length letters of a conversion, in any number and order.
struct LengthLetters {
    unsigned int l = 0;
    unsigned int L = 0;
    unsigned int h = 0;

    bool Long() const { return l + L > 0; }
};

// A conversion of formatted output, taken apart.
struct OutputConversion {
    std::string_view flags;
    std::string_view width;
    std::string_view precision; // with its '.'
    LengthLetters letters;
    bool integerForm = false;  // @1
    bool fixedForm = false;    // @2
    bool floatingForm = false; // @3
    int radix = 10;
    bool array = false;
    unsigned int count = 1;
    char character = '\0';
};

// VI_SUCCESS, or VI_ERROR_INV_FMT. Whether the conversion character is served is the engine's
// question. The result refers to the bytes of `piece`.
long AnalyseOutput(std::string_view piece, OutputConversion& conversion);

// A conversion of formatted input, taken apart.
struct InputConversion {
    std::string scan; // for the C scanner: without the array count, "%n" behind it
    bool suppressed = false;
    bool hasWidth = false;
    unsigned int width = 0;
    unsigned int count = 1;
    std::string_view letters;
    bool scanSet = false;
    char character = '\0';
};

// VI_SUCCESS, or VI_ERROR_INV_FMT, as above.
long AnalyseInput(std::string_view piece, InputConversion& conversion);

} // namespace uxvisa
