// Transfers over TCP against the same transfers on a bare blocking socket.
#include <benchmark/benchmark.h>

#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>
#include <stdexcept>
#include <vector>

#include "bench/Comparison.h"
#include "bench/Peer.h"
#include "uxvisa/visa.h"

namespace uxvisa::bench {

namespace {

constexpr std::size_t ReplySize = 64;
constexpr std::size_t MiB = 1 << 20;

void Require(bool condition) {
    if (!condition) {
        throw std::runtime_error("a measured call fails");
    }
}

ViUInt32 Length(const char* text) {
    return std::strlen(text);
}

// A bare socket and a session, each with a peer process of its own.
class Connections {
public:
    explicit Connections(bool pinned, Peer::Kind kind = Peer::Kind::Tcp) {
        PinToOneProcessor(pinned);
        m_peer = new Peer(kind);
        bare = m_peer->Connect();
        ViSession manager = 0;
        Require(viOpenDefaultRM(&manager) == VI_SUCCESS);
        Require(viOpen(manager, m_peer->Resource().c_str(), 0, 0, &session) == VI_SUCCESS);
    }
    ~Connections() {
        m_peer->Stop();
        viClose(session);
        close(bare);
        delete m_peer;
        PinToOneProcessor(false);
    }
    Connections(const Connections&) = delete;
    Connections& operator=(const Connections&) = delete;

    void Write(const char* text) const {
        Require(viWrite(session, reinterpret_cast<ViConstBuf>(text), Length(text), nullptr) ==
                VI_SUCCESS);
    }

    int bare = -1;
    ViSession session = 0;

private:
    Peer* m_peer = nullptr;
};

void BareQuery(int fd, char* reply) {
    const char request[] = "QUERY\n";
    Require(send(fd, request, 6, MSG_NOSIGNAL) == 6);
    std::size_t size = 0;
    do {
        const ssize_t chunk = recv(fd, reply + size, 4096 - size, 0);
        Require(chunk > 0);
        size += static_cast<std::size_t>(chunk);
    } while (std::memchr(reply, '\n', size) == nullptr);
}

// Unpinned, a query of some microseconds measures whether the scheduler wakes an idle core for it,
// which falls on either side by chance: such rows are reported and not judged.
double OnOneCore(const benchmark::State& state, double limit) {
    return state.range(0) != 0 ? limit : 0;
}

void LineQuery(benchmark::State& state, Peer::Kind kind, double limit) {
    const Connections connections(state.range(0) != 0, kind);
    viSetAttribute(connections.session, VI_ATTR_TERMCHAR_EN, VI_TRUE);
    char reply[4096];
    Comparison comparison;
    for (auto _ : state) {
        comparison.Measure(
            state, [&] { BareQuery(connections.bare, reply); },
            [&] {
                connections.Write("QUERY\n");
                ViUInt32 count = 0;
                Require(viRead(connections.session, reinterpret_cast<ViPByte>(reply), sizeof reply,
                               &count) == VI_SUCCESS_TERM_CHAR);
                Require(count == ReplySize);
            });
    }
    comparison.Report(state, OnOneCore(state, limit));
}

void QueryToLineFeed(benchmark::State& state) {
    LineQuery(state, Peer::Kind::Tcp, 1.3);
}

// Half a millisecond of it is the session's pause after each receive.
void LocalQuery(benchmark::State& state) {
    LineQuery(state, Peer::Kind::Local, 0);
}

void FormattedQuery(benchmark::State& state, bool lineMode, double limit) {
    const Connections connections(state.range(0) != 0);
    viSetAttribute(connections.session, VI_ATTR_TERMCHAR_EN, lineMode ? VI_TRUE : VI_FALSE);
    char reply[4096];
    Comparison comparison;
    for (auto _ : state) {
        comparison.Measure(
            state, [&] { BareQuery(connections.bare, reply); },
            [&] { Require(viQueryf(connections.session, "QUERY\n", "%T", reply) == VI_SUCCESS); });
    }
    comparison.Report(state, OnOneCore(state, limit));
}

void QueryByteByByte(benchmark::State& state) {
    FormattedQuery(state, false, 5.0);
}
void QueryFormatted(benchmark::State& state) {
    FormattedQuery(state, true, 0);
}

void ReadBlocks(benchmark::State& state, Peer::Kind kind, double limit) {
    const Connections connections(state.range(0) != 0, kind);
    std::vector<char> buffer(MiB);
    const char request[] = "B67108864\n";
    Comparison comparison;
    for (auto _ : state) {
        comparison.Measure(
            state,
            [&] {
                SendAll(connections.bare, request);
                for (int i = 0; i < 64; ++i) {
                    ReceiveAll(connections.bare, buffer.data(), buffer.size());
                }
            },
            [&] {
                connections.Write(request);
                for (int i = 0; i < 64; ++i) {
                    ViUInt32 count = 0;
                    Require(viRead(connections.session, reinterpret_cast<ViPByte>(buffer.data()),
                                   buffer.size(), &count) == VI_SUCCESS);
                }
            });
    }
    comparison.Report(state, limit);
}

void BlockRead(benchmark::State& state) {
    ReadBlocks(state, Peer::Kind::Tcp, 1 / 0.95);
}

// Slowed by the same pause, which comes after each piece of a block.
void LocalBlockRead(benchmark::State& state) {
    ReadBlocks(state, Peer::Kind::Local, 0);
}

void LineRead(benchmark::State& state) {
    const Connections connections(state.range(0) != 0);
    viSetAttribute(connections.session, VI_ATTR_TERMCHAR_EN, VI_TRUE);
    std::vector<char> buffer(2 * MiB);
    const char request[] = "L1048576\n";
    Comparison comparison;
    for (auto _ : state) {
        comparison.Measure(
            state,
            [&] {
                SendAll(connections.bare, request);
                std::size_t size = 0;
                for (bool found = false; !found;) {
                    const ssize_t chunk =
                        recv(connections.bare, buffer.data() + size, buffer.size() - size, 0);
                    Require(chunk > 0);
                    found = std::memchr(buffer.data() + size, '\n',
                                        static_cast<std::size_t>(chunk)) != nullptr;
                    size += static_cast<std::size_t>(chunk);
                }
            },
            [&] {
                connections.Write(request);
                ViUInt32 count = 0;
                Require(viRead(connections.session, reinterpret_cast<ViPByte>(buffer.data()),
                               buffer.size(), &count) == VI_SUCCESS_TERM_CHAR);
                Require(count == MiB);
            });
    }
    comparison.Report(state, 1 / 0.8);
}

double ProcessorMs() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const auto ms = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_usec) / 1e3;
    };
    return ms(usage.ru_utime) + ms(usage.ru_stime);
}

void IdleRead(benchmark::State& state) {
    const Connections connections(false);
    viSetAttribute(connections.session, VI_ATTR_TMO_VALUE, 1000);
    char buffer[16];
    double spent = 0;
    for (auto _ : state) {
        const double before = ProcessorMs();
        Require(viRead(connections.session, reinterpret_cast<ViPByte>(buffer), sizeof buffer,
                       nullptr) == VI_ERROR_TMO);
        spent = std::max(spent, ProcessorMs() - before);
        state.SetIterationTime(1);
    }
    state.counters["processor_ms"] = spent;
    state.counters["limit"] = 10;
}

} // namespace

BENCHMARK(QueryToLineFeed)->ArgName("pinned")->Arg(1)->Arg(0)->Iterations(20000)->UseManualTime();
BENCHMARK(QueryFormatted)->ArgName("pinned")->Arg(1)->Arg(0)->Iterations(10000)->UseManualTime();
BENCHMARK(QueryByteByByte)->ArgName("pinned")->Arg(1)->Arg(0)->Iterations(10000)->UseManualTime();
BENCHMARK(BlockRead)->ArgName("pinned")->Arg(1)->Arg(0)->Iterations(40)->UseManualTime();
BENCHMARK(LineRead)->ArgName("pinned")->Arg(1)->Arg(0)->Iterations(1000)->UseManualTime();
BENCHMARK(LocalQuery)->ArgName("pinned")->Arg(1)->Arg(0)->Iterations(2000)->UseManualTime();
BENCHMARK(LocalBlockRead)->ArgName("pinned")->Arg(1)->Arg(0)->Iterations(10)->UseManualTime();
BENCHMARK(IdleRead)->Iterations(3)->UseManualTime();

} // namespace uxvisa::bench
