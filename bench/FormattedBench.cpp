// The formatted-I/O engines, on a session that only copies, against one call of the C library.
#include <benchmark/benchmark.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

#include "api/main.h"
#include "bench/Comparison.h"
#include "core/BaseSession.h"
#include "uxvisa/visa.h"

namespace uxvisa::bench {

namespace {

constexpr ViSession Handle = 0x1000000001UL; // outside what the manager draws
// A single call is too short for the clock.
constexpr int Calls = 100;

// Takes writes in, gives one block of input out.
class MemorySession : public CBaseSession {
public:
    long GetAttribute(unsigned long, void* value) override {
        const unsigned int on = 1;
        std::memcpy(value, &on, sizeof on);
        return VI_SUCCESS;
    }
    long Write(unsigned char* buffer, unsigned long count, unsigned long* written) override {
        std::memcpy(m_sent, buffer, std::min(count, sizeof m_sent));
        *written = count;
        return VI_SUCCESS;
    }
    long Read(unsigned char* buffer, unsigned long, unsigned long* readCount) override {
        std::memcpy(buffer, input.data(), input.size());
        *readCount = input.size();
        return VI_SUCCESS_TERM_CHAR;
    }

    std::string input;

private:
    unsigned char m_sent[4096];
};

// The manager owns it from then on; its registry is its first own field.
MemorySession& Register() {
    auto* session = new MemorySession;
    session->SetID(Handle);
    char* fields = reinterpret_cast<char*>(ResManager) + sizeof(CBaseSession);
    reinterpret_cast<std::vector<ISession*>*>(fields)->push_back(session);
    return *session;
}

void PrintTenConversions(benchmark::State& state) {
    Register();
    const char format[] = "CONF %d,%s;LEV %.3lf;OFFS %le;CH %c;NUM %5d;T %lf;N '%s';A %d;F %.6lf\n";
    char text[4096];
    Comparison comparison;
    for (auto _ : state) {
        comparison.Measure(
            state,
            [&] {
                for (int i = 0; i < Calls; ++i) {
                    std::snprintf(text, sizeof text, format, i, "SINE", 1.25, 3.5e-6, 'A', 42,
                                  0.001, "probe", -7, 2.5e6);
                    benchmark::DoNotOptimize(text);
                }
            },
            [&] {
                for (int i = 0; i < Calls; ++i) {
                    viPrintf(Handle, format, i, "SINE", 1.25, 3.5e-6, 'A', 42, 0.001, "probe", -7,
                             2.5e6);
                }
            });
    }
    comparison.Report(state, 2.5);
    viClose(Handle);
}

std::string Numbers(int count) {
    std::string text;
    for (int i = 0; i < count; ++i) {
        char number[16];
        std::snprintf(number, sizeof number, "%.3f ", static_cast<double>(i % 1000) / 128.0);
        text += number;
    }
    text.back() = '\n';
    return text;
}

void StrtodLoop(const std::string& text, std::vector<double>& values) {
    const char* at = text.c_str();
    for (double& value : values) {
        char* end = nullptr;
        value = std::strtod(at, &end);
        at = end;
    }
}

void ScanTenThousand(benchmark::State& state) {
    MemorySession& session = Register();
    session.input = Numbers(10000);
    std::vector<double> values(10000);
    Comparison comparison;
    for (auto _ : state) {
        comparison.Measure(
            state, [&] { StrtodLoop(session.input, values); },
            [&] {
                if (viScanf(Handle, "%,10000lf", values.data()) != VI_SUCCESS) {
                    throw std::runtime_error("viScanf fails");
                }
            });
    }
    comparison.Report(state, 3.0);
    viClose(Handle);
}

// Bare is a thousand elements here: ten thousand cost at most twelve times as much.
void ScanIsLinear(benchmark::State& state) {
    MemorySession& session = Register();
    const std::string many = Numbers(10000);
    const std::string few = Numbers(1000);
    std::vector<double> values(10000);
    Comparison comparison;
    for (auto _ : state) {
        session.input = few;
        const auto scanMany = [&] { viScanf(Handle, "%,10000lf", values.data()); };
        const auto scanFew = [&] { viScanf(Handle, "%,1000lf", values.data()); };
        comparison.Measure(state, scanFew, [&] {
            session.input = many;
            scanMany();
        });
    }
    comparison.Report(state, 12.0);
    viClose(Handle);
}

} // namespace

BENCHMARK(PrintTenConversions)->Iterations(2000)->UseManualTime();
BENCHMARK(ScanTenThousand)->Iterations(500)->UseManualTime();
BENCHMARK(ScanIsLinear)->Iterations(500)->UseManualTime();

} // namespace uxvisa::bench
