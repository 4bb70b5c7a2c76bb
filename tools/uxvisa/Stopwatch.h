// Time since a moment, by a clock that is never set.
#pragma once

#include <chrono>

namespace uxvisa::tool {

class Stopwatch {
public:
    void Restart() { m_start = Clock::now(); }
    std::chrono::duration<double> Elapsed() const { return Clock::now() - m_start; }
    double Seconds() const { return Elapsed().count(); }

private:
    using Clock = std::chrono::steady_clock;
    Clock::time_point m_start = Clock::now();
};

} // namespace uxvisa::tool
