// What ten thousand open sessions cost: memory each, and one lookup of the oldest and the newest.
#include <benchmark/benchmark.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "uxvisa/visa.h"

namespace uxvisa::bench {

namespace {

double ResidentBytes() {
    std::ifstream file("/proc/self/statm");
    double total = 0;
    double resident = 0;
    file >> total >> resident;
    return resident * static_cast<double>(sysconf(_SC_PAGESIZE));
}

void RaiseDescriptorLimit(rlim_t wanted) {
    rlimit limit{wanted, wanted};
    if (setrlimit(RLIMIT_NOFILE, &limit) != 0) {
        getrlimit(RLIMIT_NOFILE, &limit);
        limit.rlim_cur = limit.rlim_max;
        setrlimit(RLIMIT_NOFILE, &limit);
    }
}

// Accepts and closes at once: nothing is ever transferred, and only the sessions need descriptors.
class ClosingListener {
public:
    ClosingListener() : m_fd(socket(AF_INET, SOCK_STREAM, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        bind(m_fd, reinterpret_cast<sockaddr*>(&address), size);
        listen(m_fd, 1024);
        getsockname(m_fd, reinterpret_cast<sockaddr*>(&address), &size);
        m_resource = "TCPIP::127.0.0.1::" + std::to_string(ntohs(address.sin_port)) + "::SOCKET";
    }
    ~ClosingListener() { close(m_fd); }
    ClosingListener(const ClosingListener&) = delete;
    ClosingListener& operator=(const ClosingListener&) = delete;

    ViSession Open(ViSession manager) {
        ViSession vi = 0;
        if (viOpen(manager, m_resource.c_str(), 0, 0, &vi) != VI_SUCCESS) {
            throw std::runtime_error("not enough descriptors for the sessions");
        }
        close(accept(m_fd, nullptr, nullptr));
        return vi;
    }

private:
    int m_fd;
    std::string m_resource;
};

double LookupNs(ViSession vi) {
    ViUInt32 value = 0;
    constexpr int calls = 1000;
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < calls; ++i) {
        viGetAttribute(vi, VI_ATTR_TMO_VALUE, &value);
        benchmark::DoNotOptimize(value);
    }
    const std::chrono::duration<double, std::nano> spent = std::chrono::steady_clock::now() - start;
    return spent.count() / calls;
}

void TenThousandSessions(benchmark::State& state) {
    constexpr std::size_t count = 10000;
    RaiseDescriptorLimit(count + 1000);
    ViSession manager = 0;
    viOpenDefaultRM(&manager);
    for (auto _ : state) {
        ClosingListener listener;
        std::vector<ViSession> sessions;
        sessions.reserve(count);
        const double before = ResidentBytes();
        for (std::size_t i = 0; i < count; ++i) {
            sessions.push_back(listener.Open(manager));
        }
        state.counters["bytes_each"] = (ResidentBytes() - before) / count;
        state.counters["oldest_lookup_ns"] = LookupNs(sessions.front());
        state.counters["newest_lookup_ns"] = LookupNs(sessions.back());
        for (const ViSession vi : sessions) {
            viClose(vi);
        }
        state.SetIterationTime(1);
    }
}

} // namespace

BENCHMARK(TenThousandSessions)->Iterations(1)->UseManualTime();

} // namespace uxvisa::bench
