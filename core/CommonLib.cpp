#include "core/CommonLib.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <random>

namespace {

const char* OrEmpty(const char* text) {
    return text == nullptr ? "" : text;
}

bool IsTrimmed(char c) {
    return c == ' ' || c == '\r' || c == '\n';
}

constexpr std::size_t ShortFormat = 1000;

template <typename Value>
std::string Format(const char* fmt, Value a, Value b, Value c, Value d) {
    char text[ShortFormat];
    const int length = std::snprintf(text, sizeof text, OrEmpty(fmt), a, b, c, d);
    if (length < 0) {
        return {};
    }
    const auto size = static_cast<std::size_t>(length);
    if (size < sizeof text) {
        return {text, size};
    }
    std::string longText(size + 1, '\0');
    std::snprintf(longText.data(), longText.size(), fmt, a, b, c, d);
    longText.pop_back();
    return longText;
}

} // namespace

namespace uxvisa {

std::vector<std::string> Split(const char* text, const char* delimiter) {
    const std::string whole = OrEmpty(text);
    const std::string mark = OrEmpty(delimiter);
    std::vector<std::string> pieces;
    std::size_t start = 0;
    while (!mark.empty()) {
        const std::size_t found = whole.find(mark, start);
        if (found == std::string::npos) {
            break;
        }
        pieces.push_back(whole.substr(start, found - start));
        start = found + mark.size();
    }
    pieces.push_back(whole.substr(start));
    return pieces;
}

std::vector<std::string> SplitAddress(const std::string& address) {
    return Split(address.c_str(), "::");
}

std::string UpperCased(const char* text) {
    std::string result = OrEmpty(text);
    std::transform(result.begin(), result.end(), result.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return result;
}

std::string Trimmed(const char* text) {
    const char* first = OrEmpty(text);
    const char* last = first + std::strlen(first);
    while (first != last && IsTrimmed(*first)) {
        ++first;
    }
    while (last != first && IsTrimmed(last[-1])) {
        --last;
    }
    return {first, last};
}

// No hexadecimal digits come out of base 16: only the even length that callers rely on.
std::string DecimalText(int value, int base) {
    std::string text = std::to_string(value);
    if (base == 16 && text.size() % 2 != 0) {
        text.insert(0, 1, '0');
    }
    return text;
}

std::string Field(const char* text, int index, char separator) {
    const std::string whole = OrEmpty(text);
    std::size_t start = 0;
    for (int i = 0; i < index; ++i) {
        const std::size_t found = whole.find(separator, start);
        if (found == std::string::npos) {
            return {};
        }
        start = found + 1;
    }
    return whole.substr(start, whole.find(separator, start) - start);
}

unsigned long WallClockMs() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return static_cast<unsigned long>(static_cast<double>(now.tv_sec) * 1000.0 +
                                      static_cast<double>(now.tv_nsec) / 1000000.0);
}

// Seeded afresh on every call, so that identifiers are independent draws.
unsigned int RandomUpTo(unsigned int max) {
    if (max == 0) {
        return 0;
    }
    std::random_device device("default");
    std::mt19937 generator(device());
    return std::uniform_int_distribution<unsigned int>(1, max)(generator);
}

} // namespace uxvisa

namespace stdex {

std::vector<std::string> split(const char* text, const char* delimiter) {
    return uxvisa::Split(text, delimiter);
}

std::string trim(const char* text) {
    return uxvisa::Trimmed(text);
}

std::string toupper(const char* text) {
    return uxvisa::UpperCased(text);
}

std::string itos(int value, int base) {
    return uxvisa::DecimalText(value, base);
}

std::string format(const char* fmt, const char* a, const char* b, const char* c, const char* d) {
    return Format(fmt, a, b, c, d);
}

std::string format(const char* fmt, double a, double b, double c, double d) {
    return Format(fmt, a, b, c, d);
}

} // namespace stdex

std::vector<std::string> ParseAddress(std::string address, std::vector<std::string>* out) {
    std::vector<std::string> fields = uxvisa::SplitAddress(address);
    if (out != nullptr) {
        *out = fields;
    }
    return fields;
}

std::string get_parameter(const char* text, int index, char separator) {
    return uxvisa::Field(text, index, separator);
}

int get_parameter_count(const char* text, char separator) {
    const std::string whole = OrEmpty(text);
    return static_cast<int>(std::count(whole.begin(), whole.end(), separator)) + 1;
}

unsigned long GetTickCount() {
    return uxvisa::WallClockMs();
}

unsigned int random_uint32(unsigned int max) {
    return uxvisa::RandomUpTo(max);
}

std::string ws2s(const std::wstring&) {
    return {};
}
