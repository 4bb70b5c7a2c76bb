#include "bench/TableReporter.h"

#include <cstdio>

namespace uxvisa::bench {

namespace {

double CounterOf(const benchmark::BenchmarkReporter::Run& run, const char* name) {
    const auto found = run.counters.find(name);
    return found == run.counters.end() ? 0 : found->second.value;
}

} // namespace

bool TableReporter::ReportContext(const Context&) {
    std::printf("%-28s %12s %12s %10s %10s %8s\n", "row", "bare p50 us", "ours p50 us", "ratio p50",
                "ratio p99", "limit");
    return true;
}

void TableReporter::ReportRuns(const std::vector<Run>& runs) {
    for (const Run& run : runs) {
        ReportRun(run);
        std::fflush(stdout);
    }
}

void TableReporter::ReportRun(const Run& run) {
    std::string name = run.run_name.function_name;
    name = name.substr(name.rfind(':') + 1);
    if (!run.run_name.args.empty()) {
        name += run.run_name.args == "pinned:1" ? ", one core" : ", unpinned";
    }
    std::printf("%-28s ", name.c_str());
    if (run.error_occurred) {
        m_allReached = false;
        std::printf("FAILED: %s\n", run.error_message.c_str());
    } else if (run.counters.contains("ratio_p50")) {
        std::printf("%12.2f %12.2f %10.2f %10.2f ", CounterOf(run, "bare_p50_us"),
                    CounterOf(run, "library_p50_us"), CounterOf(run, "ratio_p50"),
                    CounterOf(run, "ratio_p99"));
        ReportVerdict(CounterOf(run, "ratio_p50"), CounterOf(run, "limit"));
    } else if (run.counters.contains("processor_ms")) {
        std::printf("%.2f ms of processor time in 1 s, limit ", CounterOf(run, "processor_ms"));
        ReportVerdict(CounterOf(run, "processor_ms"), CounterOf(run, "limit"));
    } else if (run.counters.contains("call_us")) {
        std::printf("%.3f us a call, limit ", CounterOf(run, "call_us"));
        ReportVerdict(CounterOf(run, "call_us"), CounterOf(run, "limit"));
    } else {
        for (const auto& [counter, value] : run.counters) {
            std::printf("%s %.0f  ", counter.c_str(), value.value);
        }
        std::printf("\n");
    }
}

void TableReporter::ReportVerdict(double value, double limit) {
    if (limit == 0) {
        std::printf("%8s\n", "-");
        return;
    }
    const bool reached = value <= limit;
    m_allReached = m_allReached && reached;
    std::printf("%8.2f %s\n", limit, reached ? "ok" : "MISSED");
}

} // namespace uxvisa::bench
