#include "tools/emulator/Connection.h"

#include "emulator/StreamClient.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <future>
#include <memory>
#include <random>
#include <string>
#include <system_error>
#include <thread>
#include <type_traits>

using emulator::Connection;
using emulator::Instrument;
using emulator::Pacing;
using std::chrono::milliseconds;
using std::chrono::steady_clock;
using testing::StartsWith;

namespace {

// One connection at the far end of a socket pair, run by a thread of its own.
template <class Stream>
class Peer {
public:
    explicit Peer(const Pacing& pacing, int socket_type = SOCK_STREAM) {
        std::array<int, 2> ends{};
        if (::socketpair(AF_UNIX, socket_type | SOCK_CLOEXEC, 0, ends.data()) != 0) {
            throw std::system_error(errno, std::generic_category(), "socketpair");
        }
        m_client = std::make_unique<StreamClient>(ends[0]);
        std::make_shared<Connection<Stream>>(Adopt(ends[1]), m_instrument, pacing)->Start();
        m_thread = std::thread([this] { m_context.run(); });
    }

    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;

    ~Peer() {
        m_context.stop();
        m_thread.join();
    }

    StreamClient& Client() { return *m_client; }

    // From when this returns, the thread of the connection sees nothing for so long.
    void Stall(milliseconds time) {
        const auto started = std::make_shared<std::promise<void>>();
        asio::post(m_context, [started, time] {
            started->set_value();
            std::this_thread::sleep_for(time);
        });
        started->get_future().wait();
    }

    // The context runs out of work when the connection has ended by itself.
    bool EndsByItself() {
        const auto deadline = steady_clock::now() + StreamClient::Patience;
        while (!m_context.stopped() && steady_clock::now() < deadline) {
            std::this_thread::sleep_for(milliseconds(1));
        }
        return m_context.stopped();
    }

private:
    Stream Adopt(int descriptor);

    Instrument m_instrument;
    asio::io_context m_context;
    std::unique_ptr<StreamClient> m_client;
    std::thread m_thread;
};

using Socket = asio::local::stream_protocol::socket;
using Descriptor = asio::posix::stream_descriptor;

template <>
Socket Peer<Socket>::Adopt(int descriptor) {
    return Socket(m_context, asio::local::stream_protocol(), descriptor);
}

template <>
Descriptor Peer<Descriptor>::Adopt(int descriptor) {
    return Descriptor(m_context, descriptor);
}

struct SocketPeer : Peer<Socket> {
    explicit SocketPeer(const Pacing& pacing = {}) : Peer(pacing) {}
};

// Each write of the connection arrives as one receive of the client.
struct RecordPeer : Peer<Descriptor> {
    explicit RecordPeer(const Pacing& pacing = {}) : Peer(pacing, SOCK_SEQPACKET) {}
};

template <class Stream>
class ConnectionOver : public testing::Test {};

struct StreamNames {
    template <class Stream>
    static std::string GetName(int) {
        return std::is_same_v<Stream, Socket> ? "Socket" : "Descriptor";
    }
};

using Streams = testing::Types<Socket, Descriptor>;
TYPED_TEST_SUITE(ConnectionOver, Streams, StreamNames);

} // namespace

TYPED_TEST(ConnectionOver, AnswersQueries) {
    Peer<TypeParam> peer({});
    EXPECT_THAT(peer.Client().Query("*IDN?"), StartsWith("Orvane,Emulator,0,"));
    EXPECT_EQ(peer.Client().Query("*OPC?;*TST?"), "1;0");
}

TYPED_TEST(ConnectionOver, EndsWithItsClient) {
    Peer<TypeParam> peer({});
    peer.Client().Query("*IDN?");
    peer.Client().Close();
    EXPECT_TRUE(peer.EndsByItself());
}

TYPED_TEST(ConnectionOver, DeliversResponsesAfterTheClientFinishedSending) {
    Peer<TypeParam> peer({});
    peer.Client().Send("CURV:LENG 1000000\nCURV?\n*OPC?\n");
    peer.Client().FinishSending();
    const std::string all = peer.Client().ReadToEnd();
    EXPECT_EQ(all.size(), 9U + 1000000U + 1U + 2U);
    EXPECT_THAT(all, StartsWith("#71000000"));
    EXPECT_EQ(all.substr(all.size() - 3), "\n1\n");
    EXPECT_TRUE(peer.EndsByItself());
}

TEST(Connection, AcceptsBytesOneAtATime) {
    SocketPeer peer;
    for (const char byte : std::string("*OPC?\r\n\r\n\n*TST?\nSYST:ERR?\n")) {
        peer.Client().Send(std::string(1, byte));
    }
    EXPECT_EQ(peer.Client().ReadLine(), "1");
    EXPECT_EQ(peer.Client().ReadLine(), "0");
    EXPECT_EQ(peer.Client().ReadLine(), "0,\"No error\"");
}

TEST(Connection, BothLineEndsWork) {
    SocketPeer peer;
    peer.Client().Send("*OPC?\r\n*TST?\n");
    EXPECT_EQ(peer.Client().ReadLine(), "1");
    EXPECT_EQ(peer.Client().ReadLine(), "0");
}

TEST(Connection, EmptyLinesAreIgnored) {
    SocketPeer peer;
    peer.Client().Send("\n\r\n   \n;\n");
    EXPECT_EQ(peer.Client().Query("SYST:ERR:COUN?"), "0");
}

TEST(Connection, ManyMessagesInOnePacketAreAnsweredInOrder) {
    SocketPeer peer;
    std::string messages;
    for (int i = 1; i <= 500; ++i) {
        messages += "TRAC:POIN " + std::to_string(i) + ";POIN?\n";
    }
    peer.Client().Send(messages);
    for (int i = 1; i <= 500; ++i) {
        ASSERT_EQ(peer.Client().ReadLine(), std::to_string(i));
    }
}

TEST(Connection, HalfALineAtTheEndIsNotRun) {
    SocketPeer peer;
    peer.Client().Send("*OPC?\n*IDN?");
    peer.Client().FinishSending();
    EXPECT_EQ(peer.Client().ReadToEnd(), "1\n");
}

TEST(Connection, GarbageIsAnsweredWithErrorsOnly) {
    SocketPeer peer;
    std::mt19937 random(7);
    std::string garbage(200000, '\0');
    for (char& byte : garbage) {
        byte = static_cast<char>(static_cast<unsigned char>(random() & 0xFFU));
    }
    peer.Client().Send(garbage);
    peer.Client().Send("\n*CLS\n");
    EXPECT_EQ(peer.Client().Query("*OPC?;:SYST:ERR?"), "1;0,\"No error\"");
}

TEST(Connection, OverlongLineIsSkippedWithAnError) {
    SocketPeer peer;
    peer.Client().Send("*ESE 4;" + std::string(3U << 20U, 'x'));
    peer.Client().Send(";*ESE 8\n");
    EXPECT_EQ(peer.Client().Query("SYST:ERR?"), "-363,\"Input buffer overrun\"");
    EXPECT_EQ(peer.Client().Query("SYST:ERR?;*ESE?;*ESR?"), "0,\"No error\";0;8");
}

TEST(Connection, LongestLineIsRun) {
    SocketPeer peer;
    const std::string end = ";*OPC?";
    std::string line((std::size_t{1} << 20U) - end.size(), ' ');
    EXPECT_EQ(peer.Client().Query(line + end), "1");
    EXPECT_EQ(peer.Client().Query("SYST:ERR:COUN?"), "0");
}

TEST(Connection, LargeCurveArrivesComplete) {
    SocketPeer peer;
    constexpr std::size_t Length = std::size_t{64} << 20U;
    peer.Client().Send("CURV:LENG 67108864;:CURV?\n");
    ASSERT_EQ(peer.Client().ReadExactly(10), "#867108864");
    for (std::size_t at = 0; at < Length; at += 1U << 20U) {
        const std::string bytes = peer.Client().ReadExactly(1U << 20U);
        for (std::size_t i = 0; i < bytes.size(); ++i) {
            ASSERT_EQ(static_cast<unsigned char>(bytes[i]), i & 0xFFU) << at + i;
        }
    }
    EXPECT_EQ(peer.Client().ReadLine(), "");
}

TEST(Connection, DelayComesBeforeEveryResponse) {
    SocketPeer peer({.delay = milliseconds(150)});
    const auto start = steady_clock::now();
    peer.Client().Send("*CLS\n*OPC?\n*TST?\n");
    EXPECT_EQ(peer.Client().ReadLine(), "1");
    EXPECT_GE(steady_clock::now() - start, milliseconds(150));
    EXPECT_EQ(peer.Client().ReadLine(), "0");
    EXPECT_GE(steady_clock::now() - start, milliseconds(300));
}

TEST(Connection, DelayedResponseIsDroppedWithItsClient) {
    SocketPeer peer({.delay = milliseconds(50)});
    peer.Client().Send("*OPC?\n*OPC?\n*OPC?\n");
    peer.Client().Close();
    EXPECT_TRUE(peer.EndsByItself());
}

TEST(Connection, ResponseGoesOutInOneWrite) {
    RecordPeer peer;
    const std::string response = "1;1999.0;0,\"No error\"\n";
    peer.Client().Send("*OPC?;SYST:VERS?;ERR?\n*TST?\n");
    EXPECT_EQ(peer.Client().ReceiveSome(), response.size());
    EXPECT_EQ(peer.Client().ReceiveSome(), 2U);
    EXPECT_EQ(peer.Client().ReadExactly(response.size() + 2), response + "0\n");
}

TEST(Connection, ResponsesGoOutInChunks) {
    RecordPeer peer({.chunk = 3, .chunk_interval = milliseconds(40)});
    const auto start = steady_clock::now();
    peer.Client().Send("SYST:VERS?;*OPC?\n");
    EXPECT_EQ(peer.Client().ReceiveSome(), 3U);
    EXPECT_EQ(peer.Client().ReceiveSome(), 3U);
    EXPECT_EQ(peer.Client().ReceiveSome(), 3U);
    EXPECT_GE(steady_clock::now() - start, milliseconds(80));
    EXPECT_EQ(peer.Client().ReadLine(), "1999.0;1");
    EXPECT_EQ(peer.Client().Query("*TST?"), "0");
}

TEST(Connection, ChunksWithoutIntervalGiveTheSameBytes) {
    SocketPeer peer({.chunk = 1, .chunk_interval = milliseconds(0)});
    peer.Client().Send("CURV:LENG 5000;:CURV?;*OPC?\n");
    const std::string response = peer.Client().ReadExactly(6 + 5000 + 3);
    EXPECT_EQ(response.substr(0, 6), "#45000");
    for (std::size_t i = 0; i < 5000; ++i) {
        ASSERT_EQ(static_cast<unsigned char>(response[6 + i]), i & 0xFFU) << i;
    }
    EXPECT_EQ(response.substr(5006), ";1\n");
}

TEST(Connection, DelayAndChunksAddUp) {
    SocketPeer peer({.delay = milliseconds(60), .chunk = 4, .chunk_interval = milliseconds(60)});
    const auto start = steady_clock::now();
    EXPECT_EQ(peer.Client().Query("SYST:VERS?"), "1999.0");
    EXPECT_GE(steady_clock::now() - start, milliseconds(120));
}

TEST(Connection, ClosesAfterSoManyResponses) {
    SocketPeer peer({.close_after = 2});
    peer.Client().Send("*CLS\n*OPC?;*TST?\n*CLS\n*TST?\n*OPC?\n");
    EXPECT_EQ(peer.Client().ReadToEnd(), "1;0\n0\n");
    EXPECT_TRUE(peer.EndsByItself());
}

TEST(Connection, AResponseInChunksCountsOnce) {
    SocketPeer peer({.chunk = 2, .chunk_interval = milliseconds(0), .close_after = 1});
    EXPECT_EQ(peer.Client().Query("SYST:VERS?"), "1999.0");
    EXPECT_EQ(peer.Client().ReadToEnd(), "");
}

TEST(Connection, SilentClientIsDropped) {
    SocketPeer peer({.idle_drop = milliseconds(1000)});
    const auto start = steady_clock::now();
    EXPECT_EQ(peer.Client().Query("*OPC?"), "1");
    EXPECT_EQ(peer.Client().ReadToEnd(), "");
    EXPECT_GE(steady_clock::now() - start, milliseconds(1000));
    EXPECT_TRUE(peer.EndsByItself());
}

TEST(Connection, ClientThatNeverSpeaksIsDropped) {
    SocketPeer peer({.idle_drop = milliseconds(50)});
    EXPECT_EQ(peer.Client().ReadToEnd(), "");
}

TEST(Connection, SpeakingClientIsNotDropped) {
    SocketPeer peer({.idle_drop = milliseconds(3000)});
    const auto start = steady_clock::now();
    while (steady_clock::now() - start < milliseconds(3500)) {
        ASSERT_EQ(peer.Client().Query("*OPC?"), "1");
        std::this_thread::sleep_for(milliseconds(100));
    }
}

TEST(Connection, ClientThatWaitsForItsResponseIsNotSilent) {
    SocketPeer peer({.delay = milliseconds(1200), .idle_drop = milliseconds(600)});
    EXPECT_EQ(peer.Client().Query("*OPC?"), "1");
    EXPECT_EQ(peer.Client().ReadToEnd(), "");
}

TEST(Connection, ClientThatReadsSlowlyIsNotSilent) {
    SocketPeer peer({.idle_drop = milliseconds(1000)});
    peer.Client().Send("CURV:LENG 67108864;:CURV?\n");
    std::this_thread::sleep_for(milliseconds(1500));
    EXPECT_EQ(peer.Client().ReadExactly(10 + 67108864 + 1).back(), '\n');
}

TEST(Connection, BytesThatArriveTogetherWithTheTimeLimitCount) {
    SocketPeer peer({.idle_drop = milliseconds(1500)});
    EXPECT_EQ(peer.Client().Query("*OPC?"), "1");
    peer.Stall(milliseconds(1700));
    peer.Client().Send("*CLS\n");
    EXPECT_FALSE(peer.Client().HasInputWithin(milliseconds(1900)));
    EXPECT_EQ(peer.Client().Query("*TST?"), "0");
}
