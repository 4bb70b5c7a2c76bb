#include "tools/emulator/RpcConnection.h"

#include "emulator/RpcRecords.h"
#include "emulator/StreamClient.h"

#include <gtest/gtest.h>

#include <sys/socket.h>

#include <array>
#include <chrono>
#include <memory>
#include <string>
#include <system_error>
#include <thread>

using emulator::RpcConnection;
using emulator::RpcReply;
using rpc_records::Marked;
using rpc_records::Word;
using rpc_records::Zeros;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

namespace {

// One connection at the far end of a socket pair, run by a thread of its own. A record is answered
// with itself in brackets; "wait" after 150 ms, "bad" not at all.
class Peer {
public:
    explicit Peer(milliseconds idle_drop = milliseconds(0), const emulator::Pieces& pieces = {}) {
        std::array<int, 2> ends{};
        if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
            throw std::system_error(errno, std::generic_category(), "socketpair");
        }
        m_client = std::make_unique<StreamClient>(ends[0]);
        const asio::generic::stream_protocol protocol(AF_UNIX, 0);
        std::make_shared<RpcConnection>(RpcConnection::Socket(m_context, protocol, ends[1]),
                                        &Answer, idle_drop, pieces)
            ->Start();
        m_thread = std::thread([this] { m_context.run(); });
    }

    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;

    ~Peer() {
        m_context.stop();
        m_thread.join();
    }

    StreamClient& Client() { return *m_client; }

private:
    static RpcReply Answer(std::string_view record) {
        if (record == "bad") {
            return {};
        }
        return {"[" + std::string(record) + "]", milliseconds(record == "wait" ? 150 : 0)};
    }

    asio::io_context m_context;
    std::unique_ptr<StreamClient> m_client;
    std::thread m_thread;
};

} // namespace

TEST(RpcConnection, AnswersRecordsInOrder) {
    Peer peer;
    peer.Client().Send(Marked("one") + Marked("two") + Zeros(24) + Marked("three"));
    EXPECT_EQ(peer.Client().ReadExactly(17), "[one][two][three]");
}

TEST(RpcConnection, AcceptsBytesOneAtATime) {
    Peer peer;
    for (const char byte : Marked("one") + Marked("two")) {
        peer.Client().Send(std::string(1, byte));
    }
    EXPECT_EQ(peer.Client().ReadExactly(10), "[one][two]");
}

TEST(RpcConnection, AnswersTheLongestRecord) {
    Peer peer;
    const std::string longest(emulator::RecordAssembler::MaxLength, 'x');
    peer.Client().Send(Word(0x80000000U | emulator::RecordAssembler::MaxLength) + longest);
    EXPECT_EQ(peer.Client().ReadExactly(longest.size() + 2), "[" + longest + "]");
}

TEST(RpcConnection, AHeldBackReplyHoldsBackTheNext) {
    Peer peer;
    const auto start = steady_clock::now();
    peer.Client().Send(Marked("wait") + Marked("on"));
    EXPECT_EQ(peer.Client().ReadExactly(10), "[wait][on]");
    EXPECT_GE(steady_clock::now() - start, milliseconds(150));
}

TEST(RpcConnection, WritesInPieces) {
    Peer peer(milliseconds(0), {2, milliseconds(50)});
    const auto start = steady_clock::now();
    peer.Client().Send(Marked("one") + Marked("two"));
    EXPECT_EQ(peer.Client().ReadExactly(10), "[one][two]");
    EXPECT_GE(steady_clock::now() - start, milliseconds(200)) << "two pauses in each";
}

TEST(RpcConnection, EndsOnWhatCannotBeAnswered) {
    Peer peer;
    peer.Client().Send(Marked("one") + Marked("bad") + Marked("two"));
    EXPECT_EQ(peer.Client().ReadToEnd(), "[one]");
}

TEST(RpcConnection, EndsOnARecordThatIsTooLong) {
    Peer peer;
    peer.Client().Send(Word(0xFFFFFFFF));
    EXPECT_EQ(peer.Client().ReadToEnd(), "");
}

TEST(RpcConnection, EndsWithItsClient) {
    Peer peer;
    peer.Client().Send(Marked("one") + Marked("half").substr(0, 6));
    peer.Client().FinishSending();
    EXPECT_EQ(peer.Client().ReadToEnd(), "[one]");
}

TEST(RpcConnection, SilentClientIsDropped) {
    Peer peer(milliseconds(300));
    const auto start = steady_clock::now();
    peer.Client().Send(Marked("wait"));
    EXPECT_EQ(peer.Client().ReadToEnd(), "[wait]");
    EXPECT_GE(steady_clock::now() - start, milliseconds(450))
        << "waiting for a reply is not silence";
}
