// Amounts and speeds of data, and lengths of time, for people.
#pragma once

#include <cstdint>
#include <string>

namespace uxvisa::tool {

// "512 B", "1.5 KiB", "64.0 MiB".
std::string ByteAmount(double bytes);
// "1.5 KiB/s"; "-" when no time has passed.
std::string ByteRate(std::uint64_t bytes, double seconds);
// "12.345 ms", from ten seconds on "12.345 s".
std::string Duration(double seconds);

} // namespace uxvisa::tool
