// Queries through a hook against the same queries without one; here the plain session is "bare".
#include <benchmark/benchmark.h>

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <optional>
#include <stdexcept>
#include <string>

#include "bench/Comparison.h"
#include "bench/Peer.h"
#include "uxvisa/hook.h"

namespace uxvisa::bench {

namespace {

void Require(bool condition) {
    if (!condition) {
        throw std::runtime_error("a measured call fails");
    }
}

void Open(ISession& session, std::string resource) {
    Require(session.OpenConnection(resource.data(), 0, 0) == VI_SUCCESS);
    Require(session.SetAttribute(VI_ATTR_TERMCHAR_EN, VI_TRUE) == VI_SUCCESS);
}

void Query(ISession& session) {
    unsigned char request[] = "QUERY\n";
    unsigned char reply[4096];
    unsigned long count = 0;
    Require(session.Write(request, sizeof request - 1, &count) == VI_SUCCESS);
    Require(session.Read(reply, sizeof reply, &count) == VI_SUCCESS_TERM_CHAR);
}

// A monitor in a process of its own, which ends with this one.
class MonitorProcess {
public:
    explicit MonitorProcess(const std::string& resource) : m_child(fork()) {
        if (m_child == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            Watch(resource + "::HOOK");
        }
    }
    ~MonitorProcess() {
        kill(m_child, SIGKILL);
        waitpid(m_child, nullptr, 0);
    }
    MonitorProcess(const MonitorProcess&) = delete;
    MonitorProcess& operator=(const MonitorProcess&) = delete;

private:
    [[noreturn]] static void Watch(std::string name) {
        CSessionDebug monitor;
        if (monitor.OpenConnection(name.data(), 0, 0) != VI_SUCCESS) {
            _exit(1);
        }
        unsigned char bytes[64];
        unsigned long count = 0;
        for (;;) {
            monitor.Read(bytes, sizeof bytes, &count);
        }
    }

    pid_t m_child;
};

void Hooked(benchmark::State& state, bool watched, double limit) {
    PinToOneProcessor(state.range(0) != 0);
    Peer peer(Peer::Kind::Tcp);
    {
        uxvisa::VisaSession plain;
        Open(plain, peer.Resource());
        CSessionHook hook(new uxvisa::VisaSession);
        Open(hook, peer.Resource());
        std::optional<MonitorProcess> monitor;
        if (watched) {
            monitor.emplace(peer.Resource());
            while (__atomic_load_n(hook.GetData() + 1, __ATOMIC_SEQ_CST) == 0) {
                usleep(1000);
            }
        }
        Comparison comparison;
        for (auto _ : state) {
            comparison.Measure(
                state, [&] { Query(plain); }, [&] { Query(hook); });
        }
        comparison.Report(state, state.range(0) != 0 ? limit : 0);
        peer.Stop();
    }
    PinToOneProcessor(false);
}

void HookedQuery(benchmark::State& state) {
    Hooked(state, false, 1.2);
}

// What the monitor needs to take two messages, each after the pause between its looks.
void WatchedQuery(benchmark::State& state) {
    Hooked(state, true, 0);
}

} // namespace

BENCHMARK(HookedQuery)->ArgName("pinned")->Arg(1)->Arg(0)->Iterations(20000)->UseManualTime();
BENCHMARK(WatchedQuery)->ArgName("pinned")->Arg(0)->Iterations(5000)->UseManualTime();

} // namespace uxvisa::bench
