// A VXI-11 query over the LAN driver library against the same calls sent on a bare socket.
#include <benchmark/benchmark.h>

#include <unistd.h>

#include <stdexcept>
#include <string>

#include "api/DynamicVisa.h"
#include "bench/Comparison.h"
#include "bench/Peer.h"
#include "transports/RpcRecord.h"
#include "transports/SessionVXI11.h"

namespace uxvisa::bench {

namespace {

using rpc::CoreHeader;
using rpc::CoreProcedure;
using rpc::Mark;
using rpc::Word;

constexpr char Request[] = "QUERY\n";
constexpr std::size_t RequestSize = 6;
constexpr std::size_t ReplySize = 64;

void Require(bool condition) {
    if (!condition) {
        throw std::runtime_error("a measured call fails");
    }
}

std::string Record(const std::string& body) {
    return Mark(body.size()) + body;
}

std::string WriteCall() {
    return Record(CoreHeader(1, CoreProcedure::DeviceWrite) + Word(0) + Word(0) + Word(3000) +
                  Word(8) + Word(RequestSize) + Request + std::string(2, '\0'));
}

std::string ReadCall() {
    return Record(CoreHeader(2, CoreProcedure::DeviceRead) + Word(0) + Word(4096) + Word(0) +
                  Word(3000) + Word(0) + Word(0));
}

// The bare loop: each call in one piece, each reply in one piece.
void BareQuery(int fd) {
    static const std::string write = WriteCall();
    static const std::string read = ReadCall();
    char reply[256];
    SendAll(fd, write);
    ReceiveAll(fd, reply, rpc::MarkSize + 32);
    SendAll(fd, read);
    ReceiveAll(fd, reply, rpc::MarkSize + 48 + ReplySize);
}

void LibraryQuery(CSessionVXI11& session) {
    unsigned char reply[4096];
    unsigned long count = 0;
    std::string request = Request;
    Require(session.Write(reinterpret_cast<unsigned char*>(request.data()), RequestSize, &count) ==
            VI_SUCCESS);
    Require(session.Read(reply, sizeof reply, &count) == VI_SUCCESS_TERM_CHAR);
    Require(count == ReplySize);
}

void Vxi11Query(benchmark::State& state) {
    PinToOneProcessor(state.range(0) != 0);
    Peer peer(Peer::Kind::Vxi11);
    const int bare = peer.Connect();
    Require(Visa.Initialize(UXVISA_LAN_DRIVER) >= 0);
    {
        CSessionVXI11 session;
        std::string resource = "TCPIP::127.0.0.1::INSTR";
        Require(session.OpenConnectionEx(resource.data(), 0, 1000, peer.Port()) == VI_SUCCESS);
        Comparison comparison;
        for (auto _ : state) {
            comparison.Measure(
                state, [&] { BareQuery(bare); }, [&] { LibraryQuery(session); });
        }
        comparison.Report(state, 0);
    }
    Visa.Uninitialize();
    close(bare);
    PinToOneProcessor(false);
}

} // namespace

BENCHMARK(Vxi11Query)->ArgName("pinned")->Arg(1)->Arg(0)->Iterations(5000)->UseManualTime();

} // namespace uxvisa::bench
