#include "brix/PacketText.h"

#include <charconv>

#include "core/CommonLib.h"

namespace uxvisa::brix {

namespace {

constexpr int SignificantDigits = 13;
// A sign, the digits with their point, and an exponent.
constexpr std::size_t LongestNumber = 32;

void AppendEscaped(std::string& line, unsigned char byte) {
    line += '\\';
    switch (byte) {
    case '\\':
        line += '\\';
        return;
    case '\n':
        line += 'n';
        return;
    case '\r':
        line += 'r';
        return;
    case '\0':
        line += '0';
        return;
    case '\t':
        line += 't';
        return;
    default:
        line += DecimalText(byte, 16);
    }
}

} // namespace

// Double quotes in the data stay as they are, on purpose: readers take the last one for the end.
void AppendQuoted(std::string& line, const unsigned char* data, std::size_t length) {
    line += '"';
    for (std::size_t i = 0; i < length; ++i) {
        if (data[i] >= ' ' && data[i] != '\\') {
            line += static_cast<char>(data[i]);
        } else {
            AppendEscaped(line, data[i]);
        }
    }
    line += '"';
}

void AppendNumber(std::string& line, double value) {
    char text[LongestNumber];
    const auto written = std::to_chars(text, text + sizeof text, value, std::chars_format::general,
                                       SignificantDigits);
    line.append(text, written.ptr);
}

// Decimal behind a hexadecimal prefix, on purpose: 33 is "0x33", and scripts compare these texts.
void AppendPadded(std::string& line, int value) {
    line += "0x";
    line += DecimalText(value, 16);
}

void AppendLabel(std::string& line, const char* name) {
    line += ' ';
    line += name;
    line += '=';
}

} // namespace uxvisa::brix

std::string bin_to_str(unsigned char* data, int length) {
    std::string text;
    uxvisa::brix::AppendQuoted(text, data, length > 0 ? static_cast<std::size_t>(length) : 0);
    return text;
}

std::string Arg(const char* name) {
    std::string label;
    uxvisa::brix::AppendLabel(label, name == nullptr ? "" : name);
    return label;
}
