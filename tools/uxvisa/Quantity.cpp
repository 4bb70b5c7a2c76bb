#include "tools/uxvisa/Quantity.h"

#include <array>
#include <cstdio>

namespace uxvisa::tool {

namespace {

std::string Formatted(const char* format, double value) {
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), format, value);
    return text.data();
}

} // namespace

std::string ByteAmount(double bytes) {
    constexpr std::array Formats = {"%.0f B", "%.1f KiB", "%.1f MiB", "%.1f GiB"};
    // Above it one decimal would round up to 1024.0 of the smaller unit.
    constexpr double Step = 1024;
    constexpr double LargestShown = 1023.95;
    std::size_t unit = 0;
    while (bytes >= LargestShown && unit + 1 < Formats.size()) {
        bytes /= Step;
        ++unit;
    }
    return Formatted(Formats[unit], bytes);
}

std::string ByteRate(std::uint64_t bytes, double seconds) {
    return seconds > 0 ? ByteAmount(static_cast<double>(bytes) / seconds) + "/s" : "-";
}

std::string Duration(double seconds) {
    return seconds < 10 ? Formatted("%.3f ms", seconds * 1000) : Formatted("%.3f s", seconds);
}

} // namespace uxvisa::tool
