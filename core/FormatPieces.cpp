#include "core/FormatPieces.h"

#include <cstring>
#include <limits>

#include "uxvisa/visatype.h"

namespace uxvisa {

namespace {

constexpr std::string_view ConversionEnd = "cdfesT]%";

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}
bool IsFlag(char c) {
    return c == '+' || c == '-' || c == ' ';
}
bool IsLengthLetter(char c) {
    return c == 'l' || c == 'L' || c == 'h';
}

// Walks over a piece from left to right. The conversion character, the last one, is never walked
// over by a run: a run ends before it at the latest.
class PieceWalker {
public:
    explicit PieceWalker(std::string_view piece) : m_piece(piece), m_position(1) {}

    bool AtConversion() const { return m_position + 1 >= m_piece.size(); }
    char Current() const { return m_piece[m_position]; }
    bool Accept(char c) {
        if (AtConversion() || Current() != c) {
            return false;
        }
        ++m_position;
        return true;
    }
    char Take() { return m_piece[m_position++]; }

    template <typename Predicate>
    std::string_view Run(Predicate belongs) {
        const std::size_t start = m_position;
        while (!AtConversion() && belongs(Current())) {
            ++m_position;
        }
        return m_piece.substr(start, m_position - start);
    }

    std::string_view Since(std::size_t start) const {
        return m_piece.substr(start, m_position - start);
    }
    std::string_view Rest() const { return m_piece.substr(m_position); }
    std::size_t Position() const { return m_position; }

private:
    std::string_view m_piece;
    std::size_t m_position;
};

// Saturates: a number too large for its type is still "too large" and never becomes zero.
unsigned int NumberOf(std::string_view digits) {
    unsigned int value = 0;
    for (const char c : digits) {
        const auto digit = static_cast<unsigned int>(c - '0');
        if (value > (std::numeric_limits<unsigned int>::max() - digit) / 10) {
            return std::numeric_limits<unsigned int>::max();
        }
        value = value * 10 + digit;
    }
    return value;
}

bool ApplyModifier(char modifier, OutputConversion& conversion) {
    switch (modifier) {
    case '1':
        conversion.integerForm = true;
        return true;
    case '2':
        conversion.fixedForm = true;
        return true;
    case '3':
        conversion.floatingForm = true;
        return true;
    case 'H':
        conversion.radix = 16;
        return true;
    case 'Q':
        conversion.radix = 8;
        return true;
    case 'B':
        conversion.radix = 2;
        return true;
    default:
        return false;
    }
}

bool WalkModifiers(PieceWalker& walker, OutputConversion& conversion) {
    while (walker.Accept('@')) {
        if (walker.AtConversion() || !ApplyModifier(walker.Take(), conversion)) {
            return false;
        }
    }
    return true;
}

bool WalkPrecision(PieceWalker& walker, OutputConversion& conversion) {
    const std::size_t start = walker.Position();
    if (!walker.Accept('.')) {
        return true;
    }
    const std::string_view digits = walker.Run(IsDigit);
    conversion.precision = walker.Since(start);
    return NumberOf(digits) != 0;
}

// False for a count of zero.
bool WalkArray(PieceWalker& walker, bool& array, unsigned int& count) {
    if (!walker.Accept(',')) {
        return true;
    }
    array = true;
    count = NumberOf(walker.Run(IsDigit));
    return count != 0;
}

LengthLetters CountLetters(std::string_view run) {
    LengthLetters letters;
    for (const char c : run) {
        ++(c == 'h' ? letters.h : c == 'L' ? letters.L : letters.l);
    }
    return letters;
}

} // namespace

bool FormatCutter::Next(FormatPiece& piece) {
    if (*m_rest == '\0') {
        return false;
    }
    const char* start = m_rest;
    if (*start != '%') {
        m_rest = start + std::strcspn(start, "%");
        piece = {{start, m_rest}, false};
        return true;
    }
    const char* end = start + 1 + std::strcspn(start + 1, ConversionEnd.data());
    piece = {{start, end + 1}, true};
    m_rest = *end == '\0' ? end : end + 1;
    return true;
}

long AnalyseOutput(std::string_view piece, OutputConversion& conversion) {
    PieceWalker walker(piece);
    conversion = {};
    conversion.character = piece.back();
    conversion.flags = walker.Run(IsFlag);
    if (!WalkModifiers(walker, conversion)) {
        return VI_ERROR_INV_FMT;
    }
    conversion.width = walker.Run(IsDigit);
    if (!WalkPrecision(walker, conversion) ||
        !WalkArray(walker, conversion.array, conversion.count)) {
        return VI_ERROR_INV_FMT;
    }
    conversion.letters = CountLetters(walker.Run(IsLengthLetter));
    return walker.AtConversion() ? VI_SUCCESS : VI_ERROR_INV_FMT;
}

long AnalyseInput(std::string_view piece, InputConversion& conversion) {
    PieceWalker walker(piece);
    conversion = {};
    conversion.character = piece.back();
    conversion.suppressed = walker.Accept('*');
    const std::string_view width = walker.Run(IsDigit);
    conversion.hasWidth = !width.empty();
    conversion.width = NumberOf(width);
    conversion.scan = walker.Since(0);
    bool array = false;
    if (!WalkArray(walker, array, conversion.count)) {
        return VI_ERROR_INV_FMT;
    }
    conversion.scan += walker.Rest();
    conversion.scan += "%n";
    conversion.letters = walker.Run(IsLengthLetter);
    conversion.scanSet = !walker.AtConversion() && walker.Current() == '[';
    return walker.AtConversion() || conversion.scanSet ? VI_SUCCESS : VI_ERROR_INV_FMT;
}

} // namespace uxvisa
