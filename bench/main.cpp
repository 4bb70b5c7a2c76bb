#include <benchmark/benchmark.h>

#include "bench/TableReporter.h"

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    uxvisa::bench::TableReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    return reporter.AllReached() ? 0 : 1;
}
