// Input formats with input: the engine against its plain form. Equal status, equal bytes stored,
// equal bytes left.
#include <cstdarg>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "core/FormattedInput.h"
#include "fuzz/PlainFormattedInput.h"

namespace {

constexpr std::size_t Slots = 8;
constexpr std::size_t SlotSize = 16384;

long Scan(std::string& buffer, unsigned char& skipUntil, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const long status = uxvisa::ScanFormatted(buffer, skipUntil, format, arguments);
    va_end(arguments);
    return status;
}

void Require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

// Leaves out what a caller answers for: more arguments than are passed, widths and arrays larger
// than the targets, and '#', which takes an int where the plain form below has pointers.
bool IsHarmless(const std::string& format) {
    std::size_t digits = 0;
    std::size_t conversions = 0;
    for (const char c : format) {
        digits = c >= '0' && c <= '9' ? digits + 1 : 0;
        conversions += c == '%' ? 1 : 0;
        if (digits > 3 || c == '#') {
            return false;
        }
    }
    return conversions <= Slots;
}

struct Targets {
    Targets() : bytes(Slots * SlotSize, '\x5A') {
        for (std::size_t i = 0; i < Slots; ++i) {
            slots[i] = bytes.data() + i * SlotSize;
        }
    }
    std::string bytes;
    char* slots[Slots];
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string all(reinterpret_cast<const char*>(data), std::min<std::size_t>(size, 2048));
    const std::size_t cut = all.find('\0');
    const std::string format = all.substr(0, cut);
    const std::string input = cut == std::string::npos ? "" : all.substr(cut + 1);
    if (!IsHarmless(format)) {
        return 0;
    }
    Targets plain;
    std::string plainLeft = input;
    unsigned char plainSkip = 0;
    const long expected =
        uxvisa::test::PlainFormattedInput(plainLeft, plainSkip, plain.slots).Scan(format.c_str());

    Targets engine;
    std::string left = input;
    unsigned char skip = 0;
    char* const* to = engine.slots;
    const long status =
        Scan(left, skip, format.c_str(), to[0], to[1], to[2], to[3], to[4], to[5], to[6], to[7]);
    Require(status == expected);
    Require(left == plainLeft);
    Require(skip == plainSkip);
    Require(engine.bytes == plain.bytes);
    return 0;
}
