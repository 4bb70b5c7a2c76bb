#include "core/FormattedInput.h"

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <langinfo.h>

#include "core/FormatPieces.h"
#include "uxvisa/visatype.h"

namespace uxvisa {

namespace {

bool IsSpace(char c) {
    return std::isspace(static_cast<unsigned char>(c)) != 0;
}
bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

// The end of the buffer's text that the C scanner is shown. It measures all it is shown on every
// call, so showing it the whole buffer would make long arrays quadratic.
class ShownText {
public:
    ShownText(std::string& buffer, std::size_t end)
        : m_buffer(buffer), m_end(end), m_hidden(end < buffer.size() ? buffer[end] : '\0') {
        Set('\0');
    }
    ~ShownText() { Set(m_hidden); }
    ShownText(const ShownText&) = delete;
    ShownText& operator=(const ShownText&) = delete;

private:
    void Set(char c) {
        if (m_end < m_buffer.size()) {
            m_buffer[m_end] = c;
        }
    }

    std::string& m_buffer;
    std::size_t m_end;
    char m_hidden;
};

// Bytes that the C scanner stores for a number; 0 for letters that it does not know.
std::size_t StoredSize(char character, std::string_view letters) {
    const bool integer = character == 'd';
    if (letters.empty()) {
        return integer ? sizeof(int) : sizeof(float);
    }
    if (letters == "l") {
        return 8;
    }
    if (letters == "ll" || letters == "L") {
        // A long double is stored with its ten significant bytes only.
        return integer ? 8 : 10;
    }
    if (letters == "h") {
        return integer ? sizeof(short) : sizeof(float);
    }
    if (letters == "hh") {
        return integer ? sizeof(char) : sizeof(float);
    }
    return 0;
}

class InputEngine {
public:
    InputEngine(std::string& buffer, unsigned char& skipUntil, va_list& arguments)
        : m_buffer(buffer), m_skipUntil(skipUntil), m_arguments(arguments) {}
    // One removal for the whole call.
    ~InputEngine() { m_buffer.erase(0, m_cursor); }
    InputEngine(const InputEngine&) = delete;
    InputEngine& operator=(const InputEngine&) = delete;

    long Scan(const char* format) {
        FormatCutter cutter(format);
        for (FormatPiece piece; cutter.Next(piece);) {
            const long status = ScanPiece(piece);
            if (status != VI_SUCCESS) {
                return status;
            }
        }
        return VI_SUCCESS;
    }

private:
    long ScanPiece(const FormatPiece& piece) {
        if (!piece.conversion || piece.IsPercent()) {
            return Skip(std::string(piece.text) + "%n", LiteralEnd(piece));
        }
        if (piece.text.find('#') == std::string_view::npos) {
            return ScanConversion(piece.text);
        }
        return ScanConversion(
            WithNumbers(piece.text, '#', [this] { return va_arg(m_arguments, int); }));
    }

    long ScanConversion(std::string_view piece) {
        InputConversion conversion;
        const long status = AnalyseInput(piece, conversion);
        if (status != VI_SUCCESS) {
            return status;
        }
        switch (conversion.character) {
        case 'c':
        case 's':
        case ']':
            return ScanText(conversion);
        case 'd':
            return ScanNumbers(conversion, sizeof(int));
        case 'e':
        case 'f':
            // The stride does not follow the letters, on purpose: "%f" into one float works and
            // arrays are arrays of double.
            return ScanNumbers(conversion, sizeof(double));
        case 'T':
            return ScanLine(conversion);
        default:
            return VI_ERROR_NSUP_FMT;
        }
    }

    // Matches and drops; nothing is stored. At least one byte must be consumed.
    long Skip(const std::string& format, std::size_t end) {
        int consumed = 0;
        {
            const ShownText shown(m_buffer, end);
            std::sscanf(Text(), format.c_str(), &consumed);
        }
        return Advance(consumed) ? VI_SUCCESS : VI_ERROR_INV_FMT;
    }

    long ScanText(const InputConversion& conversion) {
        const std::size_t end = TextEnd(conversion);
        if (conversion.suppressed) {
            return Skip(conversion.scan, end);
        }
        void* target = va_arg(m_arguments, void*);
        int consumed = 0;
        int assigned = 0;
        {
            const ShownText shown(m_buffer, end);
            assigned = std::sscanf(Text(), conversion.scan.c_str(), target, &consumed);
        }
        if (assigned != 1) {
            return VI_ERROR_INV_FMT;
        }
        Advance(consumed);
        return VI_SUCCESS;
    }

    long ScanNumbers(const InputConversion& conversion, std::size_t stride) {
        // Taken from the list also when nothing is stored: programs pass it.
        char* element = va_arg(m_arguments, char*);
        if (conversion.suppressed) {
            return Skip(conversion.scan, NumberEnd());
        }
        const std::size_t size = StoredSize(conversion.character, conversion.letters);
        if (size == 0 || conversion.scanSet) {
            // Letters that the C scanner does not know, or a scan set without its end.
            return VI_ERROR_INV_FMT;
        }
        for (unsigned int i = 0; i < conversion.count; ++i, element += stride) {
            if (!ScanNumber(conversion, element, size)) {
                return VI_ERROR_INV_FMT;
            }
        }
        return VI_SUCCESS;
    }

    bool ScanNumber(const InputConversion& conversion, char* element, std::size_t size) {
        if (conversion.character != 'd' && conversion.letters == "l" && !conversion.hasWidth &&
            ScanPlainDouble(element)) {
            return true;
        }
        alignas(long double) unsigned char value[sizeof(long double)];
        int consumed = 0;
        int assigned = 0;
        {
            const ShownText shown(m_buffer, NumberEnd());
            assigned = std::sscanf(Text(), conversion.scan.c_str(), value, &consumed);
        }
        if (assigned != 1) {
            return false;
        }
        std::memcpy(element, value, size);
        Advance(consumed);
        return true;
    }

    // The shortcut for the usual case, digits with a '.' and an exponent, on which strtod and the C
    // scanner agree; everything else is left to the scanner.
    bool ScanPlainDouble(char* element) {
        const char* start = Text();
        while (IsSpace(*start)) {
            ++start;
        }
        const char* end = PlainNumberEnd(start);
        if (end == nullptr) {
            return false;
        }
        char* parsed = nullptr;
        const double value = std::strtod(start, &parsed);
        if (parsed != end) {
            return false;
        }
        std::memcpy(element, &value, sizeof value);
        m_cursor += static_cast<std::size_t>(end - Text());
        return true;
    }

    // The end of digits[.digits][e[sign]digits], or null when `text` is anything else or may go on
    // in a way that only one of the two would follow.
    static const char* PlainNumberEnd(const char* text) {
        if (*text == '+' || *text == '-') {
            ++text;
        }
        if (!IsDigit(*text)) {
            return nullptr;
        }
        text = DigitsEnd(text);
        if (*text == '.') {
            text = DigitsEnd(text + 1);
        }
        if (*text == 'e' || *text == 'E') {
            ++text;
            text += *text == '+' || *text == '-' ? 1 : 0;
            if (!IsDigit(*text)) {
                return nullptr;
            }
            text = DigitsEnd(text);
        }
        return *text == '\0' || *text == ',' || *text == ';' || IsSpace(*text) ? text : nullptr;
    }

    static const char* DigitsEnd(const char* text) {
        while (IsDigit(*text)) {
            ++text;
        }
        return text;
    }

    long ScanLine(const InputConversion& conversion) {
        const std::string line = TakeLine(conversion);
        // A suppressed line fails after it was taken, on purpose: programs skip a line this way and
        // expect the status.
        if (line.empty() || conversion.suppressed) {
            return VI_ERROR_INV_FMT;
        }
        char* target = va_arg(m_arguments, char*);
        std::memcpy(target, line.c_str(), line.size() + 1);
        return VI_SUCCESS;
    }

    std::string TakeLine(const InputConversion& conversion) {
        const std::size_t feed = m_buffer.find('\n', m_cursor);
        const bool whole = feed != std::string::npos;
        const std::size_t end = whole ? feed + 1 : m_buffer.size();
        std::size_t length = end - m_cursor;
        if (conversion.hasWidth && conversion.width < length) {
            length = conversion.width;
        }
        std::string line = m_buffer.substr(m_cursor, length);
        m_cursor = end;
        if (!whole && !line.empty()) {
            m_skipUntil = '\n';
        }
        return line;
    }

    const char* Text() const { return m_buffer.c_str() + m_cursor; }

    bool Advance(int consumed) {
        m_cursor += static_cast<std::size_t>(consumed);
        return consumed != 0;
    }

    std::size_t AfterSpace(std::size_t position) const {
        while (position < m_buffer.size() && IsSpace(m_buffer[position])) {
            ++position;
        }
        return position;
    }

    std::size_t AfterWord(std::size_t position) const {
        while (position < m_buffer.size() && !IsSpace(m_buffer[position])) {
            ++position;
        }
        return position;
    }

    // One byte past what the literal can match at the most.
    std::size_t LiteralEnd(const FormatPiece& piece) const {
        std::size_t end = AfterSpace(m_cursor);
        for (const char c : piece.text) {
            end = IsSpace(c) ? AfterSpace(end) : end + 1;
        }
        return end + 1;
    }

    std::size_t TextEnd(const InputConversion& conversion) const {
        if (conversion.character == 's' && !conversion.scanSet) {
            return AfterWord(AfterSpace(m_cursor));
        }
        return m_buffer.size();
    }

    // Past the number at the cursor. Which characters continue a number is the locale's business,
    // so a ',' ends it only where the decimal point is a '.'.
    std::size_t NumberEnd() const {
        const bool pointed = std::strcmp(nl_langinfo(RADIXCHAR), ".") == 0;
        std::size_t end = AfterSpace(m_cursor);
        while (end < m_buffer.size() && !IsSpace(m_buffer[end]) &&
               !(pointed && m_buffer[end] == ',')) {
            ++end;
        }
        return end;
    }

    std::string& m_buffer;
    unsigned char& m_skipUntil;
    va_list& m_arguments;
    std::size_t m_cursor = 0;
};

} // namespace

long ScanFormatted(std::string& buffer, unsigned char& skipUntil, const char* format,
                   va_list& arguments) {
    return InputEngine(buffer, skipUntil, arguments).Scan(format);
}

} // namespace uxvisa
