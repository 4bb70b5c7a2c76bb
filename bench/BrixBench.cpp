// BRIX sessions over an inner session in memory, and a query over TCP, with the protocol library
// that users have.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/Comparison.h"
#include "bench/Peer.h"
#include "brix/SessionBRIX.h"
#include "uxvisa/visa.h"

namespace uxvisa::bench {

namespace {

namespace fs = std::filesystem;

constexpr int Calls = 1000;

void Require(bool condition) {
    if (!condition) {
        throw std::runtime_error("a measured call fails");
    }
}

// A working directory with what a BRIX session looks for there.
class WorkingDirectory {
public:
    WorkingDirectory() : m_before(fs::current_path()) {
        std::string name = (fs::temp_directory_path() / "uxvisa-bench-XXXXXX").string();
        Require(mkdtemp(name.data()) != nullptr);
        m_path = name;
        fs::create_symlink(UXVISA_PROTO_DESC, m_path / "libProtoDesc.so.1.0.0");
        fs::create_symlink(UXVISA_EXAMPLE_PROTOCOL, m_path / "Protocol.xml");
        fs::current_path(m_path);
    }
    WorkingDirectory(const WorkingDirectory&) = delete;
    WorkingDirectory& operator=(const WorkingDirectory&) = delete;
    ~WorkingDirectory() {
        fs::current_path(m_before);
        fs::remove_all(m_path);
    }

private:
    fs::path m_before;
    fs::path m_path;
};

// A transport that takes everything and gives one packet over and over, and the parent that opens
// it.
class PacketSession : public CBaseSession {
public:
    long Write(unsigned char*, unsigned long count, unsigned long* written) override {
        *written = count;
        return VI_SUCCESS;
    }
    long Read(unsigned char* buffer, unsigned long count, unsigned long* readCount) override {
        *readCount = std::min<unsigned long>(count, packet.size() - m_at);
        std::memcpy(buffer, packet.data() + m_at, *readCount);
        m_at = (m_at + *readCount) % packet.size();
        return VI_SUCCESS;
    }
    std::string packet;

private:
    std::size_t m_at = 0;
};

class Parent : public CBaseSession {
public:
    explicit Parent(ISession& inner) : m_inner(inner) {}
    long Open(char*, unsigned long, unsigned long, ISession** session) override {
        *session = &m_inner;
        return VI_SUCCESS;
    }
    long Close(unsigned long) override { return VI_SUCCESS; }

private:
    ISession& m_inner;
};

class Brix {
public:
    explicit Brix(std::string packet) : m_parent(m_inner), m_session(&m_parent) {
        m_inner.packet = std::move(packet);
        char resource[] = "TCPIP::memory::1::SOCKET::BRIX";
        Require(m_session.OpenConnection(resource, 0, 0) == VI_SUCCESS);
    }

    void Write(std::string line) {
        unsigned long count = 0;
        Require(m_session.Write(reinterpret_cast<unsigned char*>(line.data()), line.size(),
                                &count) == VI_SUCCESS);
    }
    ISession& Session() { return m_session; }
    unsigned long Read(unsigned char* buffer, unsigned long size) {
        unsigned long count = 0;
        Require(m_session.Read(buffer, size, &count) == VI_SUCCESS);
        return count;
    }

private:
    const WorkingDirectory m_directory;
    PacketSession m_inner;
    Parent m_parent;
    CSessionBRIX m_session;
};

std::string Packet(const std::string& body, char flag_a, char flag_b, char command = 3) {
    std::string packet("\xAA\x55", 2);
    packet += command;
    packet += std::string(3, '\0');
    packet += static_cast<char>(body.size() & 0xFFU);
    packet += static_cast<char>(body.size() >> 8U);
    packet += flag_a;
    packet += flag_b;
    return packet + std::string(6, '\0') + body;
}

std::string Freq(const std::string& values, char count) {
    return Packet(std::string("\x01\0", 2) + values, count, 0x42);
}

// Prints microseconds of one call.
template <typename Body>
void PerCall(benchmark::State& state, int calls, double limit, Body&& body) {
    std::vector<double> times;
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        for (int i = 0; i < calls; ++i) {
            body();
        }
        const double seconds =
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        times.push_back(seconds / calls);
        state.SetIterationTime(seconds);
    }
    std::nth_element(times.begin(), times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2),
                     times.end());
    state.counters["call_us"] = times[times.size() / 2] * 1e6;
    state.counters["limit"] = limit;
}

void BrixEncodeLine(benchmark::State& state) {
    Brix brix(Freq(std::string("\0\x80\x01\0", 4), 1));
    PerCall(state, Calls, 1, [&] { brix.Write("FREQ=1.5\n"); });
}

void BrixDecodeReply(benchmark::State& state) {
    Brix brix(Freq(std::string("\0\x80\x01\0", 4), 1));
    unsigned char line[64];
    PerCall(state, Calls, 1, [&] { Require(brix.Read(line, sizeof line) == 11); });
}

void BrixDecode255Values(benchmark::State& state) {
    std::string values;
    for (int i = 0; i < 255; ++i) {
        values += std::string("\x34\x12", 2) + static_cast<char>(i) + '\x01';
    }
    Brix brix(Freq(values, static_cast<char>(255)));
    std::vector<unsigned char> line(10000);
    PerCall(state, 100, 25, [&] { Require(brix.Read(line.data(), line.size()) > 255); });
}

// Gives a text, by a cursor and nothing else.
class CursorSession : public CBaseSession {
public:
    long Read(unsigned char* buffer, unsigned long count, unsigned long* readCount) override {
        *readCount = std::min<unsigned long>(count, text.size() - m_at);
        std::memcpy(buffer, text.data() + m_at, *readCount);
        m_at = (m_at + *readCount) % text.size();
        return VI_SUCCESS;
    }
    std::string text;

private:
    std::size_t m_at = 0;
};

void ReadByteByByte(ISession& session, unsigned long length) {
    for (unsigned long i = 0; i < length; ++i) {
        unsigned char byte = 0;
        unsigned long count = 0;
        Require(session.Read(&byte, 1, &count) == VI_SUCCESS && count == 1);
    }
}

// A line of about 100000 characters, decoded once and taken byte by byte.
void BrixReadByteByByte(benchmark::State& state) {
    std::string values;
    for (int i = 0; i < 6500; ++i) {
        values += std::string("\x34\x12", 2) + static_cast<char>(i) + '\x01';
    }
    Brix brix(Freq(values, 0));
    std::vector<unsigned char> line(300000);
    CursorSession cursor;
    const unsigned long length = brix.Read(line.data(), line.size());
    cursor.text.assign(length, 'x');
    state.counters["length"] = static_cast<double>(length);
    Comparison comparison;
    for (auto _ : state) {
        comparison.Measure(
            state, [&] { ReadByteByByte(cursor, length); },
            [&] { ReadByteByByte(brix.Session(), length); });
    }
    comparison.Report(state, 2);
}

ViSession Open(const std::string& resource) {
    ViSession manager = 0;
    ViSession session = 0;
    Require(viOpenDefaultRM(&manager) == VI_SUCCESS);
    Require(viOpen(manager, resource.c_str(), 0, 0, &session) == VI_SUCCESS);
    return session;
}

void Exchange(ViSession session, const std::string& request, std::size_t room,
              std::size_t expected) {
    unsigned char reply[64];
    ViUInt32 count = 0;
    Require(viWrite(session, reinterpret_cast<ViConstBuf>(request.data()), request.size(),
                    &count) == VI_SUCCESS);
    Require(viRead(session, reply, room, &count) == VI_SUCCESS && count == expected);
}

// The same bytes over the same kind of connection, once as they are and once as lines.
void BrixQuery(benchmark::State& state) {
    PinToOneProcessor(state.range(0) != 0);
    const WorkingDirectory directory;
    Peer peer(Peer::Kind::Brix);
    const ViSession plain = Open(peer.Resource());
    const ViSession brix = Open(peer.Resource() + "::BRIX");
    const std::string query = Packet(std::string("\x01\0", 2), 0, 0x42, 4);
    const std::string line = "FREQ?\n";
    Comparison comparison;
    for (auto _ : state) {
        comparison.Measure(
            state, [&] { Exchange(plain, query, 22, 22); }, [&] { Exchange(brix, line, 64, 11); });
    }
    viClose(plain);
    viClose(brix);
    comparison.Report(state, state.range(0) != 0 ? 1.5 : 0);
    PinToOneProcessor(false);
}

} // namespace

BENCHMARK(BrixEncodeLine)->Iterations(200)->UseManualTime();
BENCHMARK(BrixDecodeReply)->Iterations(200)->UseManualTime();
BENCHMARK(BrixDecode255Values)->Iterations(100)->UseManualTime();
BENCHMARK(BrixReadByteByByte)->Iterations(50)->UseManualTime();
BENCHMARK(BrixQuery)->ArgName("pinned")->Arg(1)->Arg(0)->Iterations(10000)->UseManualTime();

} // namespace uxvisa::bench
