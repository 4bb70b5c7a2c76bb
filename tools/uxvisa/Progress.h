// A bar on standard error that shows how far a long transfer is.
#pragma once

#include <cstdint>
#include <string>

#include "tools/uxvisa/Stopwatch.h"

namespace uxvisa::tool {

// "[#####               ]  25%  16.0 MiB of 64.0 MiB  120.3 MiB/s"
std::string ProgressLine(std::uint64_t done, std::uint64_t total, double seconds);

// Shown only for a large total, and only to a terminal.
class Progress {
public:
    static constexpr std::uint64_t LeastTotal = 1UL << 20;

    explicit Progress(std::uint64_t total);
    // Draws the final state and ends the line.
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    void Advance(std::uint64_t bytes);

private:
    void Draw();

    std::uint64_t m_total;
    bool m_isShown;
    std::uint64_t m_done = 0;
    std::size_t m_width = 0;
    Stopwatch m_sinceStart;
    Stopwatch m_sinceDrawn;
};

} // namespace uxvisa::tool
