#include "transports/StreamSocket.h"

#include <algorithm>
#include <cerrno>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <vector>

#include <netinet/in.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <gtest/gtest.h>

#include "core/CommonLib.h"
#include "support/FaultySystemCalls.h"
#include "support/ScriptedPeer.h"
#include "transports/SessionIO.h"
#include "transports/SystemCalls.h"
#include "uxvisa/visatype.h"

using namespace std::chrono_literals;
using namespace uxvisa::test;
using uxvisa::StreamResult;

namespace {

constexpr unsigned char Canary = 0xA5;
constexpr std::uint32_t LongTime = 60000;

StreamResult ReadStream(int fd, unsigned char* buffer, unsigned long count, bool toLineFeed,
                        std::uint32_t timeoutMs) {
    return uxvisa::ReadStream(fd, buffer, count,
                              {uxvisa::StreamKind::Local, toLineFeed, timeoutMs});
}

// What ReadStream promises, said in the plainest way: up to a line feed each byte is received by
// itself.
StreamResult ReadPlainly(int fd, unsigned char* buffer, unsigned long count, bool toLineFeed,
                         std::uint32_t timeoutMs) {
    const unsigned long start = uxvisa::WallClockMs();
    unsigned long received = 0;
    while (received < count) {
        const std::size_t room = toLineFeed ? 1 : count - received;
        const ssize_t result = uxvisa::sys::Receive(fd, buffer + received, room, 0);
        if (result < 0 && errno != EAGAIN) {
            return {VI_ERROR_CONN_LOST, received};
        }
        const auto chunk = static_cast<unsigned long>(std::max<ssize_t>(result, 0));
        received += chunk;
        if (toLineFeed && chunk > 0 && buffer[received - 1] == '\n') {
            return {VI_SUCCESS_TERM_CHAR, received};
        }
        if (uxvisa::WallClockMs() - start > timeoutMs && count != chunk) {
            return {VI_ERROR_TMO, received};
        }
        if (chunk == 0) {
            uxvisa::sys::Pause(100);
        }
    }
    return {VI_SUCCESS, received};
}

using ReadFunction = StreamResult (*)(int, unsigned char*, unsigned long, bool, std::uint32_t);

// Two connected sockets of this process. What one end sends has arrived when the call returns.
class SocketPair {
public:
    virtual ~SocketPair() = default;

    int Reader() const { return m_reader.Get(); }

    void Send(const std::string& bytes) {
        const int before = Available();
        const ssize_t sent = send(m_writer.Get(), bytes.data(), bytes.size(), MSG_DONTWAIT);
        ASSERT_EQ(sent, static_cast<ssize_t>(bytes.size()));
        for (const Stopwatch watch; Available() != before + sent;) {
            ASSERT_LT(watch.Elapsed(), 20s);
        }
    }

    void Close() {
        m_writer.Close();
        AwaitEnd(POLLRDHUP);
    }

    // The reader finds an error behind the bytes that have arrived.
    virtual void Reset() = 0;

    std::string Rest() const {
        std::string rest(static_cast<std::size_t>(Available()), '\0');
        if (!rest.empty()) {
            const ssize_t size = recv(Reader(), rest.data(), rest.size(), MSG_DONTWAIT);
            EXPECT_EQ(size, static_cast<ssize_t>(rest.size()));
        }
        return rest;
    }

protected:
    int Available() const {
        int count = 0;
        EXPECT_EQ(ioctl(Reader(), FIONREAD, &count), 0);
        return count;
    }

    void AwaitEnd(short event) const {
        pollfd waited{Reader(), event, 0};
        ASSERT_EQ(poll(&waited, 1, 20000), 1);
    }

    Descriptor m_reader;
    Descriptor m_writer;
};

class LocalPair : public SocketPair {
public:
    LocalPair() {
        int ends[2];
        EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, ends), 0);
        m_reader = Descriptor(ends[0]);
        m_writer = Descriptor(ends[1]);
    }

    // A local socket is reset by an end that closes with bytes unread.
    void Reset() override {
        ASSERT_EQ(send(Reader(), "x", 1, 0), 1);
        m_writer.Close();
        AwaitEnd(POLLHUP);
    }
};

class TcpPair : public SocketPair {
public:
    TcpPair() {
        const PeerListener listener = PeerListener::OnTcp();
        sockaddr_in name{};
        socklen_t size = sizeof name;
        getsockname(listener.Get(), reinterpret_cast<sockaddr*>(&name), &size);
        m_writer = Descriptor(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
        EXPECT_EQ(connect(m_writer.Get(), reinterpret_cast<sockaddr*>(&name), size), 0);
        m_reader =
            Descriptor(accept4(listener.Get(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
    }

    void Reset() override {
        const linger atOnce{1, 0};
        ASSERT_EQ(setsockopt(m_writer.Get(), SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce), 0);
        m_writer.Close();
        AwaitEnd(POLLERR);
    }
};

enum class End { Open, Closed, Reset };

struct Arrival {
    std::chrono::milliseconds time;
    std::string bytes;
};

struct Request {
    unsigned long count;
    bool toLineFeed;
    std::uint32_t timeoutMs;
};

// What arrives when, and what is read meanwhile.
struct Scenario {
    std::vector<Arrival> arrivals;
    End end = End::Open;
    std::vector<Request> requests;
};

class ScenarioMaker {
public:
    ScenarioMaker(unsigned seed, std::size_t mostBytes) : m_random(seed), m_left(mostBytes) {}

    Scenario Make() {
        Scenario scenario;
        const int arrivals = Number(0, 25);
        auto time = 0ms;
        for (int i = 0; i < arrivals; ++i) {
            scenario.arrivals.push_back({time, Bytes()});
            time += 10ms * Choice({0, 0, 1, 3, 20});
        }
        scenario.end = static_cast<End>(Choice({0, 1, 2}));
        const int requests = Number(1, 12);
        for (int i = 0; i < requests; ++i) {
            scenario.requests.push_back(MakeRequest());
        }
        return scenario;
    }

private:
    int Number(int low, int high) {
        return std::uniform_int_distribution<int>(low, high)(m_random);
    }

    int Choice(const std::vector<int>& choices) {
        return choices[static_cast<std::size_t>(Number(0, static_cast<int>(choices.size()) - 1))];
    }

    std::string Bytes() {
        const auto size = static_cast<std::size_t>(Number(1, Choice({1, 10, 600, 5000, 40000})));
        std::string bytes(std::min(size, m_left), '\0');
        const int lineFeedEvery = Choice({2, 10, 500, 30000});
        for (char& byte : bytes) {
            byte = Number(1, lineFeedEvery) == 1 ? '\n' : static_cast<char>(Number(0, 255));
        }
        m_left -= bytes.size();
        return bytes;
    }

    // Arrivals come at full tens of milliseconds and no read times out there: bytes that come in
    // that very millisecond may be taken one by one or all together.
    Request MakeRequest() {
        const auto count = static_cast<unsigned long>(Number(0, Choice({1, 20, 700, 70000})));
        const auto timeout = static_cast<std::uint32_t>(Choice({0, 4, 44, 244, 1004}));
        return {count, Number(0, 3) != 0, timeout};
    }

    std::mt19937 m_random;
    std::size_t m_left;
};

struct Outcome {
    std::vector<Transfer> reads;
    std::string rest;

    bool operator==(const Outcome& other) const {
        return reads == other.reads && rest == other.rest;
    }
};

// Plays a scenario in a time that stands still but for waiting, so that every run sees the same.
class Player {
public:
    Player(SocketPair& sockets, const Scenario& scenario) : m_sockets(sockets), m_script(scenario) {
        m_system.FreezeTime();
        m_system.OnTick([this] { Deliver(); });
        Deliver();
    }

    Outcome Play(ReadFunction read) {
        Outcome outcome;
        for (const Request& request : m_script.requests) {
            outcome.reads.push_back(ReadOnce(read, request));
            m_system.ForgetCalls();
            AlignTime();
        }
        outcome.rest = m_sockets.Rest();
        return outcome;
    }

private:
    void Deliver() {
        while (m_next < m_script.arrivals.size() &&
               m_script.arrivals[m_next].time <= m_system.Elapsed()) {
            m_sockets.Send(m_script.arrivals[m_next++].bytes);
        }
        if (m_next == m_script.arrivals.size() && !m_ended) {
            m_ended = true;
            End();
        }
    }

    void End() {
        if (m_script.end == End::Closed) {
            m_sockets.Close();
        } else if (m_script.end == End::Reset) {
            m_sockets.Reset();
        }
    }

    // On to the next millisecond that ends in 3.
    void AlignTime() {
        do {
            uxvisa::sys::Pause(100);
        } while (m_system.Elapsed().count() % 10 != 3);
    }

    Transfer ReadOnce(ReadFunction read, const Request& request) {
        std::vector<unsigned char> buffer(request.count + 64, Canary);
        const StreamResult result = read(m_sockets.Reader(), buffer.data(), request.count,
                                         request.toLineFeed, request.timeoutMs);
        const auto end = buffer.begin() + static_cast<long>(result.count);
        EXPECT_TRUE(std::all_of(end, buffer.end(), [](unsigned char c) { return c == Canary; }))
            << "written behind the bytes that were reported";
        return {result.status, result.count, std::string(buffer.begin(), end)};
    }

    FaultySystemCalls m_system;
    SocketPair& m_sockets;
    const Scenario& m_script;
    std::size_t m_next = 0;
    bool m_ended = false;
};

template <typename Pair>
Outcome Play(const Scenario& scenario, ReadFunction read) {
    Pair sockets;
    return Player(sockets, scenario).Play(read);
}

template <typename Pair>
void CompareWithPlainReads(unsigned seeds, std::size_t mostBytes) {
    std::set<long> statuses;
    for (unsigned seed = 1; seed <= seeds && !testing::Test::HasFailure(); ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        const Scenario scenario = ScenarioMaker(seed, mostBytes).Make();
        const Outcome expected = Play<Pair>(scenario, ReadPlainly);
        const Outcome found = Play<Pair>(scenario, ReadStream);
        EXPECT_EQ(found.reads, expected.reads);
        EXPECT_TRUE(found.rest == expected.rest) << "different bytes are left in the socket";
        for (const Transfer& read : found.reads) {
            statuses.insert(read.status);
        }
    }
    EXPECT_EQ(statuses.size(), 4U) << "the scenarios do not reach every outcome";
}

class StreamSocket : public ::testing::Test {
protected:
    Transfer ReadIt(unsigned long count, bool toLineFeed, std::uint32_t timeoutMs = LongTime) {
        std::string buffer(count, '\0');
        auto* bytes = reinterpret_cast<unsigned char*>(buffer.data());
        const StreamResult result =
            ReadStream(sockets.Reader(), bytes, count, toLineFeed, timeoutMs);
        return {result.status, result.count, buffer.substr(0, result.count)};
    }

    FaultySystemCalls system;
    LocalPair sockets;
};

std::string LineOf(std::size_t size) {
    return std::string(size - 1, 'x') + "\n";
}

} // namespace

TEST(StreamSocketComparison, ReadsLocalSocketsLikeReceivesOfOneByte) {
    CompareWithPlainReads<LocalPair>(250, 90000);
}

TEST(StreamSocketComparison, ReadsTcpSocketsLikeReceivesOfOneByte) {
    CompareWithPlainReads<TcpPair>(150, 30000);
}

TEST_F(StreamSocket, StopsBehindALineFeedOfEveryPlace) {
    for (const std::size_t size :
         {1UL, 2UL, 511UL, 512UL, 513UL, 1023UL, 1024UL, 1025UL, 1535UL, 1536UL, 1537UL, 4096UL,
          32767UL, 32768UL, 65535UL, 65536UL, 65537UL, 66048UL, 70000UL}) {
        SCOPED_TRACE("line of " + std::to_string(size) + " bytes");
        sockets.Send(LineOf(size) + "REST\n");
        EXPECT_EQ(ReadIt(100000, true), Received(LineOf(size), VI_SUCCESS_TERM_CHAR));
        EXPECT_EQ(sockets.Rest(), "REST\n");
    }
}

TEST_F(StreamSocket, LineThatFillsTheBufferEndsWithTheTerminationCharacter) {
    for (const std::size_t size : {1UL, 512UL, 513UL, 65536UL, 65537UL}) {
        sockets.Send(LineOf(size) + "R");
        EXPECT_EQ(ReadIt(size, true), Received(LineOf(size), VI_SUCCESS_TERM_CHAR));
        EXPECT_EQ(sockets.Rest(), "R");
    }
}

TEST_F(StreamSocket, LineLongerThanTheBufferFillsItAndGoesOn) {
    sockets.Send("1234567\nR");
    EXPECT_EQ(ReadIt(4, true), Received("1234"));
    EXPECT_EQ(ReadIt(3, true), Received("567"));
    EXPECT_EQ(ReadIt(4, true), Received("\n", VI_SUCCESS_TERM_CHAR));
    EXPECT_EQ(sockets.Rest(), "R");
}

TEST_F(StreamSocket, LineCostsFewReceives) {
    sockets.Send(LineOf(65536) + LineOf(20));
    EXPECT_EQ(ReadIt(100000, true).status, VI_SUCCESS_TERM_CHAR);
    EXPECT_LT(system.Count(Call::Receive), 30U);
    system.ForgetCalls();
    EXPECT_EQ(ReadIt(100000, true).status, VI_SUCCESS_TERM_CHAR);
    EXPECT_LE(system.Count(Call::Receive), 2U);
}

TEST_F(StreamSocket, WithoutLineModeALineFeedIsAByteLikeOthers) {
    sockets.Send("1.23\nREST");
    EXPECT_EQ(ReadIt(9, false), Received("1.23\nREST"));
}

TEST_F(StreamSocket, BinaryBytesPassUnchanged) {
    std::string all;
    for (int byte = 255; byte >= 0; --byte) {
        all += static_cast<char>(byte);
    }
    sockets.Send(all + all);
    EXPECT_EQ(ReadIt(256, false), Received(all));
    EXPECT_EQ(ReadIt(256, true), Received(all.substr(0, 246), VI_SUCCESS_TERM_CHAR));
}

TEST_F(StreamSocket, NothingToReadTouchesNoSocket) {
    EXPECT_EQ(ReadIt(0, false), Received(""));
    EXPECT_EQ(ReadIt(0, true), Received(""));
    EXPECT_EQ(system.Order(), "");
}

TEST_F(StreamSocket, NothingToWriteTouchesNoSocket) {
    const StreamResult result = uxvisa::WriteStream(sockets.Reader(), nullptr, 0, 0);
    EXPECT_EQ(result.status, VI_SUCCESS);
    EXPECT_EQ(result.count, 0UL);
    EXPECT_EQ(system.Order(), "");
}

TEST_F(StreamSocket, BytesInFrontOfAResetAreDelivered) {
    sockets.Send("abc");
    sockets.Reset();
    EXPECT_EQ(ReadIt(10, true), Received("abc", VI_ERROR_CONN_LOST));
}

TEST_F(StreamSocket, DrainTakesAllThatIsThereAndDoesNotWait) {
    sockets.Send(std::string(100000, 'x'));
    uxvisa::DrainStream(sockets.Reader());
    EXPECT_EQ(sockets.Rest(), "");
    EXPECT_EQ(system.Count(Call::Wait), 0U);
}

TEST_F(StreamSocket, DrainEndsWhenThePeerHasClosed) {
    sockets.Send("abc");
    sockets.Close();
    uxvisa::DrainStream(sockets.Reader());
    EXPECT_EQ(system.Count(Call::Receive), 2U);
}
