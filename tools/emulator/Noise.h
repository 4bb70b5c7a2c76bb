#pragma once

#include <cstdint>

namespace emulator {

// A value of [-1, 1) that depends on seed and index only, so that equal seeds give equal readings
// with every compiler and standard library.
inline double Noise(std::uint64_t seed, std::uint64_t index) {
    std::uint64_t bits = seed + (index + 1) * 0x9E3779B97F4A7C15U;
    bits = (bits ^ (bits >> 30U)) * 0xBF58476D1CE4E5B9U;
    bits = (bits ^ (bits >> 27U)) * 0x94D049BB133111EBU;
    bits ^= bits >> 31U;
    return static_cast<double>(bits >> 11U) * 0x1.0p-52 - 1.0;
}

} // namespace emulator
