// Prints each benchmark as a row: medians, ratios to the bare way, what it must reach.
#pragma once

#include <benchmark/benchmark.h>

namespace uxvisa::bench {

class TableReporter : public benchmark::BenchmarkReporter {
public:
    bool ReportContext(const Context&) override;
    void ReportRuns(const std::vector<Run>& runs) override;

    // True when every row that has a limit keeps it.
    bool AllReached() const { return m_allReached; }

private:
    void ReportRun(const Run& run);
    void ReportVerdict(double value, double limit);

    bool m_allReached = true;
};

} // namespace uxvisa::bench
