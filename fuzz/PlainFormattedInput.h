// Formatted input in its plain form: one sscanf per piece over the whole buffer, one removal after
// each. What the library's engine must be equal to.
#pragma once

#include <cstdio>
#include <cstring>
#include <string>

#include "core/FormatPieces.h"
#include "uxvisa/visatype.h"

namespace uxvisa::test {

// Stores everything into `targets`, slot by slot, where the engine takes an argument.
class PlainFormattedInput {
public:
    PlainFormattedInput(std::string& buffer, unsigned char& skipUntil, char* const* targets)
        : m_buffer(buffer), m_skipUntil(skipUntil), m_targets(targets) {}

    long Scan(const char* format) {
        FormatCutter cutter(format);
        for (FormatPiece piece; cutter.Next(piece);) {
            const long status = piece.conversion && !piece.IsPercent()
                                    ? Convert(piece.text)
                                    : Skip(std::string(piece.text) + "%n");
            if (status != VI_SUCCESS) {
                return status;
            }
        }
        return VI_SUCCESS;
    }

private:
    long Convert(std::string_view piece) {
        InputConversion conversion;
        const long status = AnalyseInput(piece, conversion);
        if (status != VI_SUCCESS) {
            return status;
        }
        switch (conversion.character) {
        case 'c':
        case 's':
        case ']':
            return conversion.suppressed ? Skip(conversion.scan) : Store(conversion, 1, 0);
        case 'd':
            return Numbers(conversion, 4);
        case 'e':
        case 'f':
            return Numbers(conversion, 8);
        case 'T':
            return Line(conversion);
        default:
            return VI_ERROR_NSUP_FMT;
        }
    }

    long Numbers(const InputConversion& conversion, std::size_t stride) {
        if (conversion.suppressed) {
            ++m_targets;
            return Skip(conversion.scan);
        }
        return Store(conversion, conversion.count, stride);
    }

    long Store(const InputConversion& conversion, unsigned int count, std::size_t stride) {
        char* target = *m_targets++;
        for (unsigned int i = 0; i < count; ++i, target += stride) {
            int consumed = 0;
            if (std::sscanf(m_buffer.c_str(), conversion.scan.c_str(), target, &consumed) != 1) {
                return VI_ERROR_INV_FMT;
            }
            m_buffer.erase(0, static_cast<std::size_t>(consumed));
        }
        return VI_SUCCESS;
    }

    long Skip(const std::string& format) {
        int consumed = 0;
        std::sscanf(m_buffer.c_str(), format.c_str(), &consumed);
        m_buffer.erase(0, static_cast<std::size_t>(consumed));
        return consumed == 0 ? VI_ERROR_INV_FMT : VI_SUCCESS;
    }

    long Line(const InputConversion& conversion) {
        const std::size_t feed = m_buffer.find('\n');
        const std::size_t end = feed == std::string::npos ? m_buffer.size() : feed + 1;
        std::string line = m_buffer.substr(0, end);
        if (conversion.hasWidth && conversion.width < line.size()) {
            line.resize(conversion.width);
        }
        m_buffer.erase(0, end);
        if (feed == std::string::npos && !line.empty()) {
            m_skipUntil = '\n';
        }
        if (line.empty() || conversion.suppressed) {
            return VI_ERROR_INV_FMT;
        }
        std::memcpy(*m_targets++, line.c_str(), line.size() + 1);
        return VI_SUCCESS;
    }

    std::string& m_buffer;
    unsigned char& m_skipUntil;
    char* const* m_targets;
};

} // namespace uxvisa::test
