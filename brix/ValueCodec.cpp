#include "brix/ValueCodec.h"

#include <algorithm>
#include <cstdint>
#include <limits>

namespace uxvisa::brix {

namespace {

constexpr unsigned int NumberSize = 8;

// The shift counts modulo 32, on purpose: 4 fraction bytes scale like none, and both ends of the
// line have it so.
double Scale(unsigned int frac) {
    return static_cast<double>(std::uint32_t{1} << ((8 * frac) % 32));
}

bool CountsSigned(EValueSign sign, unsigned int frac) {
    return sign == VS_SIGNED || (sign == VS_SIGNED_IF_FRACTION && frac != 0);
}

// Half away from zero by adding and cutting off, on purpose: of the numbers just below a half, one
// comes out a step higher than the C library's rounding has it. What has no integer of 64 bits is
// the most negative one.
std::int64_t Rounded(double value) {
    constexpr double Limit = 9223372036854775808.0;
    const double moved = value < 0 ? value - 0.5 : value + 0.5;
    return moved >= -Limit && moved < Limit ? static_cast<std::int64_t>(moved)
                                            : std::numeric_limits<std::int64_t>::min();
}

} // namespace

double ReadValue(const unsigned char* data, unsigned int offset, unsigned int index,
                 EValueSign sign, unsigned int size, unsigned int frac) {
    const unsigned char* start = data + (offset + index * size);
    const unsigned int last = std::max(size, 1U) - 1;
    std::uint64_t total = 0;
    for (unsigned int i = 0; i < std::min(last, NumberSize); ++i) {
        total |= std::uint64_t{start[i]} << (8 * i);
    }
    if (last < NumberSize) {
        const auto top = CountsSigned(sign, frac)
                             ? static_cast<std::int64_t>(static_cast<signed char>(start[last]))
                             : static_cast<std::int64_t>(start[last]);
        total += static_cast<std::uint64_t>(top) << (8 * last);
    }
    return static_cast<double>(static_cast<std::int64_t>(total)) / Scale(frac);
}

// A size of 0 answers the index and not an offset, on purpose: callers add nothing to it.
int WriteValue(unsigned char* data, unsigned int size, unsigned int frac, double value, int index) {
    if (size == 0) {
        return index;
    }
    const std::int64_t number = Rounded(value * Scale(frac));
    const unsigned int start = static_cast<unsigned int>(index) * size;
    for (unsigned int i = 0; i < size; ++i) {
        data[start + i] = static_cast<unsigned char>(number >> std::min(8 * i, 63U));
    }
    return static_cast<int>(start + size);
}

} // namespace uxvisa::brix

double ReadComplexValue2(const unsigned char* data, unsigned int offset, unsigned int index,
                         EValueSign sign, unsigned int size, unsigned int frac) {
    return uxvisa::brix::ReadValue(data, offset, index, sign, size, frac);
}

int WriteComplexValue(unsigned char* data, unsigned int size, unsigned int frac, double value,
                      int index) {
    return uxvisa::brix::WriteValue(data, size, frac, value, index);
}
