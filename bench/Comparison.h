// One row of the table: the library's way against the bare way, measured turn by turn in the same
// loop, so that both see the same noise.
#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <vector>

namespace uxvisa::bench {

class Comparison {
public:
    // Times both ways once; `bare` and `library` are callables.
    template <typename Bare, typename Library>
    void Measure(benchmark::State& state, Bare&& bare, Library&& library) {
        m_bare.push_back(Seconds(bare));
        m_library.push_back(Seconds(library));
        state.SetIterationTime(m_library.back());
    }

    // `limit` is the largest ratio of the median times that is good enough.
    void Report(benchmark::State& state, double limit) {
        state.counters["bare_p50_us"] = Percentile(m_bare, 0.50) * 1e6;
        state.counters["library_p50_us"] = Percentile(m_library, 0.50) * 1e6;
        state.counters["ratio_p50"] = Percentile(m_library, 0.50) / Percentile(m_bare, 0.50);
        state.counters["ratio_p99"] = Percentile(m_library, 0.99) / Percentile(m_bare, 0.99);
        state.counters["limit"] = limit;
    }

private:
    template <typename Body>
    static double Seconds(Body&& body) {
        const auto start = std::chrono::steady_clock::now();
        body();
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    }

    static double Percentile(std::vector<double>& values, double part) {
        const auto at = static_cast<std::size_t>(part * static_cast<double>(values.size() - 1));
        std::nth_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(at),
                         values.end());
        return values[at];
    }

    std::vector<double> m_bare;
    std::vector<double> m_library;
};

} // namespace uxvisa::bench
