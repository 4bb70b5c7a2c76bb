#include "core/FormattedOutput.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <limits>
#include <string>

#include "core/FormatPieces.h"
#include "uxvisa/visatype.h"

namespace uxvisa {

namespace {

// What is rendered and not sent yet.
class OutputBuffer {
public:
    explicit OutputBuffer(ISession& session) : m_session(session) {}

    void Append(std::string_view text) {
        while (!text.empty()) {
            if (m_fill == Capacity) {
                Send();
            }
            const std::size_t part = std::min(text.size(), Capacity - m_fill);
            std::memcpy(m_bytes + m_fill, text.data(), part);
            m_fill += part;
            text.remove_prefix(part);
        }
    }

    // Renders in place; only what does not fit takes the way over a string of its own.
    template <typename Value>
    bool Render(const char* format, Value value) {
        const std::size_t room = Capacity - m_fill;
        const int length = std::snprintf(m_bytes + m_fill, room + 1, format, value);
        if (length < 0) {
            return false;
        }
        const auto size = static_cast<std::size_t>(length);
        if (size <= room) {
            m_fill += size;
            return true;
        }
        std::string text(size + 1, '\0');
        std::snprintf(text.data(), text.size(), format, value);
        Append({text.data(), size});
        return true;
    }

    void SendWhenFull() {
        if (m_fill > SendThreshold) {
            Send();
        }
    }

    // An empty buffer is sent too: an empty format is one empty write.
    long Send() {
        unsigned long written = 0;
        const long status =
            m_session.Write(reinterpret_cast<unsigned char*>(m_bytes), m_fill, &written);
        m_fill = 0;
        return status;
    }

private:
    static constexpr std::size_t Capacity = 65000;
    static constexpr std::size_t SendThreshold = 64000;

    ISession& m_session;
    std::size_t m_fill = 0;
    char m_bytes[Capacity + 1];
};

// What the processor's conversion gives for a value out of range or NaN, without the undefined
// behaviour of the language's.
template <typename Integer>
Integer Truncated(double value) {
    constexpr double limit = -static_cast<double>(std::numeric_limits<Integer>::min());
    if (value > -limit - 1 && value < limit) {
        return static_cast<Integer>(value);
    }
    return std::numeric_limits<Integer>::min();
}

char CharacterForInt(const OutputConversion& conversion) {
    const bool hexadecimal = conversion.radix == 16;
    if (conversion.fixedForm) {
        return hexadecimal ? 'A' : 'f';
    }
    if (conversion.floatingForm) {
        return 'e';
    }
    return hexadecimal ? 'X' : 'd';
}

char CharacterForDouble(const OutputConversion& conversion) {
    char character = conversion.character;
    if (conversion.integerForm) {
        character = 'd';
    } else if (conversion.floatingForm) {
        character = 'e';
    }
    if (conversion.radix == 16 && character == 'd') {
        return 'X';
    }
    if (conversion.radix == 16 && character == 'f') {
        return 'A';
    }
    return character;
}

bool IsInteger(char character) {
    return character == 'd' || character == 'X';
}

// A conversion made ready for the C formatter. The letters are reduced to the one that belongs to
// the type that is really handed over.
std::string FormatFor(const OutputConversion& conversion, const char* prefix, const char* letter,
                      char character) {
    std::string format = prefix;
    format += '%';
    format += conversion.flags;
    format += conversion.width;
    format += conversion.precision;
    format += letter;
    format += character;
    return format;
}

const char* IntegerLetter(const LengthLetters& letters) {
    if (letters.Long()) {
        return "l";
    }
    if (letters.h > 1) {
        return "hh";
    }
    return letters.h == 1 ? "h" : "";
}

class OutputEngine {
public:
    OutputEngine(ISession& session, va_list& arguments)
        : m_buffer(session), m_arguments(arguments) {}

    long Print(const char* format) {
        FormatCutter cutter(format);
        for (FormatPiece piece; cutter.Next(piece);) {
            const long status = PrintPiece(piece);
            if (status != VI_SUCCESS) {
                return status;
            }
            m_buffer.SendWhenFull();
        }
        return m_buffer.Send();
    }

private:
    long PrintPiece(const FormatPiece& piece) {
        if (!piece.conversion) {
            m_buffer.Append(piece.text);
            return VI_SUCCESS;
        }
        if (piece.IsPercent()) {
            m_buffer.Append("%");
            return VI_SUCCESS;
        }
        if (piece.text.find('*') == std::string_view::npos) {
            return PrintConversion(piece.text);
        }
        // Before the grammar is looked at, on purpose: the number may land where it means something
        // else ("%@*lf").
        return PrintConversion(
            WithNumbers(piece.text, '*', [this] { return va_arg(m_arguments, int); }));
    }

    long PrintConversion(std::string_view piece) {
        OutputConversion conversion;
        const long status = AnalyseOutput(piece, conversion);
        if (status != VI_SUCCESS) {
            return status;
        }
        switch (conversion.character) {
        case 'c':
        case 's':
            return PrintText(conversion) ? VI_SUCCESS : VI_ERROR_INV_FMT;
        case 'd':
            return PrintInts(conversion) ? VI_SUCCESS : VI_ERROR_INV_FMT;
        case 'e':
        case 'f':
            return PrintDoubles(conversion) ? VI_SUCCESS : VI_ERROR_INV_FMT;
        default:
            return VI_ERROR_NSUP_FMT;
        }
    }

    bool PrintText(const OutputConversion& conversion) {
        const char* letter = conversion.letters.l > 0 ? "l" : "";
        const std::string format = FormatFor(conversion, "", letter, conversion.character);
        void* argument = va_arg(m_arguments, void*);
        if (conversion.character == 's') {
            return m_buffer.Render(format.c_str(), argument);
        }
        return m_buffer.Render(format.c_str(),
                               static_cast<int>(reinterpret_cast<std::intptr_t>(argument)));
    }

    bool PrintInts(const OutputConversion& conversion) {
        const char character = CharacterForInt(conversion);
        const bool integer = IsInteger(character);
        const std::string format =
            FormatFor(conversion, "", integer ? IntegerLetter(conversion.letters) : "", character);
        const auto render = [&](int value) {
            return integer ? RenderInt(format, conversion.letters, value)
                           : m_buffer.Render(format.c_str(), static_cast<double>(value));
        };
        if (!conversion.array) {
            return render(va_arg(m_arguments, int));
        }
        return RenderArray<int>(conversion.count, render);
    }

    bool PrintDoubles(const OutputConversion& conversion) {
        const char character = CharacterForDouble(conversion);
        const char* prefix = conversion.radix == 16 ? "#H" : "";
        const bool integer = IsInteger(character);
        const std::string format = FormatFor(
            conversion, prefix, integer ? IntegerLetter(conversion.letters) : "", character);
        if (!conversion.array) {
            if (!conversion.letters.Long()) {
                // Whether a float or a double was passed cannot be known. A program that relies on
                // a guess would send wrong numbers to an instrument, so it is stopped instead.
                std::abort();
            }
            const double value = va_arg(m_arguments, double);
            return integer ? m_buffer.Render(format.c_str(), Truncated<long>(value))
                           : m_buffer.Render(format.c_str(), value);
        }
        return RenderArray<double>(conversion.count, [&](double value) {
            return integer ? RenderInt(format, conversion.letters, Truncated<int>(value))
                           : m_buffer.Render(format.c_str(), value);
        });
    }

    // An 'l' does not widen the argument: 32 bits are zero-extended, so that "%ld" of -5 is
    // 4294967291. Programs written for 32-bit longs read such numbers back.
    bool RenderInt(const std::string& format, const LengthLetters& letters, int value) {
        if (letters.Long()) {
            return m_buffer.Render(format.c_str(),
                                   static_cast<unsigned long>(static_cast<unsigned int>(value)));
        }
        return m_buffer.Render(format.c_str(), value);
    }

    template <typename Element, typename RenderElement>
    bool RenderArray(unsigned int count, RenderElement render) {
        const char* elements = va_arg(m_arguments, const char*);
        for (unsigned int i = 0; i < count; ++i) {
            Element element;
            std::memcpy(&element, elements + sizeof(Element) * i, sizeof element);
            if (!render(element)) {
                return false;
            }
        }
        return true;
    }

    OutputBuffer m_buffer;
    va_list& m_arguments;
};

} // namespace

long PrintFormatted(ISession& session, const char* format, va_list& arguments) {
    if (format == nullptr) {
        return VI_ERROR_INV_FMT;
    }
    return OutputEngine(session, arguments).Print(format);
}

} // namespace uxvisa
