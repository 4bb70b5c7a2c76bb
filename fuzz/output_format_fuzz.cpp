// Output formats: any format, with arguments of every kind it can ask for, ends with a status and
// in writes of at most 65000 bytes.
#include <cstdarg>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "core/BaseSession.h"
#include "core/FormatPieces.h"
#include "uxvisa/visatype.h"

namespace {

class Sink : public CBaseSession {
public:
    long Write(unsigned char* buffer, unsigned long count, unsigned long* written) override {
        if (count > 65000) {
            std::abort();
        }
        for (unsigned long i = 0; i < count; ++i) {
            m_sum = static_cast<unsigned char>(m_sum + buffer[i]);
        }
        *written = count;
        return VI_SUCCESS;
    }
    long PrintfWith(const char* format, ...) {
        va_list arguments;
        va_start(arguments, format);
        const long status = Printf(const_cast<char*>(format), arguments);
        va_end(arguments);
        return status;
    }

private:
    unsigned char m_sum = 0;
};

// Leaves out what a caller answers for: numbers so large that the output or the arrays would be,
// and the conversions that stop the process on purpose. Every argument below serves as an int, a
// double or a pointer to either, so one conversion of each kind at the most is let through.
bool IsHarmless(const std::string& format) {
    std::size_t digits = 0;
    for (const char c : format) {
        digits = c >= '0' && c <= '9' ? digits + 1 : 0;
        if (digits > 3) {
            return false;
        }
    }
    uxvisa::FormatCutter cutter(format.c_str());
    int conversions = 0;
    for (uxvisa::FormatPiece piece; cutter.Next(piece);) {
        if (!piece.conversion || piece.IsPercent()) {
            continue;
        }
        uxvisa::OutputConversion conversion;
        const bool valid = uxvisa::AnalyseOutput(piece.text, conversion) == VI_SUCCESS;
        const char character = conversion.character;
        if (valid && (character == 'e' || character == 'f') && !conversion.array &&
            !conversion.letters.Long()) {
            return false;
        }
        ++conversions;
        if (conversions > 1 || piece.text.find('*') != std::string_view::npos ||
            (valid && conversion.letters.Long() && (character == 's' || character == 'c'))) {
            return false;
        }
    }
    return true;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string format(reinterpret_cast<const char*>(data), size);
    format.resize(std::strlen(format.c_str()));
    if (!IsHarmless(format)) {
        return 0;
    }
    // Serves as text for 's', as ints and as doubles for arrays of up to 999 elements.
    static const std::string zeros(8192, '\0');
    Sink session;
    session.PrintfWith(format.c_str(), zeros.data(), 1.5);
    return 0;
}
