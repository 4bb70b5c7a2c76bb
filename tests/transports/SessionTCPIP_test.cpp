#include "transports/SessionTCPIP.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/tcp.h>
#include <pthread.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "support/ScriptedPeer.h"
#include "transports/SessionIO.h"

using namespace std::chrono_literals;
using namespace uxvisa::test;

namespace {

// What a busy machine may take for anything.
constexpr auto VeryLong = 20s;
constexpr unsigned long LongTimeout = 20000;
constexpr std::size_t Megabyte = 1 << 20;

#if defined(__SANITIZE_THREAD__)
constexpr bool UnderThreadSanitizer = true;
#elif defined(__has_feature)
constexpr bool UnderThreadSanitizer = __has_feature(thread_sanitizer);
#else
constexpr bool UnderThreadSanitizer = false;
#endif

void SetTimeout(CSessionTCPIP& session, unsigned long ms) {
    ASSERT_EQ(session.SetAttribute(VI_ATTR_TMO_VALUE, ms), VI_SUCCESS);
}

void SetLineMode(CSessionTCPIP& session) {
    ASSERT_EQ(session.SetAttribute(VI_ATTR_TERMCHAR_EN, 1), VI_SUCCESS);
}

// A session and the peer it is to talk to. The peer outlives the session.
class SessionTCPIP : public ::testing::Test {
protected:
    // Starts the peer, whose script must begin with Accept(), and signals "opened".
    void OpenIt() {
        peer.Start();
        ASSERT_EQ(Open(session, peer.Resource()), VI_SUCCESS);
        SetTimeout(session, LongTimeout);
        peer.Signal("opened");
    }

    std::string ResourceWithPort(const std::string& port) const {
        return "TCPIP0::127.0.0.1::" + port + "::SOCKET";
    }

    // Writes until the session has noticed that nobody is there any more.
    void WriteUntilLost() {
        Transfer written = Sent(1);
        for (const Stopwatch watch; written.status == VI_SUCCESS && watch.Elapsed() < VeryLong;) {
            written = Write(session, "x");
        }
        ASSERT_EQ(written, (Transfer{VI_ERROR_CONN_LOST, 0}));
    }

    ScriptedPeer peer;
    CSessionTCPIP session;
};

std::string SomeBytes(std::size_t size, unsigned seed = 1) {
    std::mt19937 random(seed);
    std::string bytes(size, '\0');
    for (char& byte : bytes) {
        byte = static_cast<char>(random() & 0xFF);
    }
    return bytes;
}

std::string WithoutLineFeeds(std::string bytes) {
    for (char& byte : bytes) {
        byte = byte == '\n' ? ' ' : byte;
    }
    return bytes;
}

// This process's socket that is connected to a local port; -1 if there is none.
int SocketTo(int port) {
    for (int fd = 0; fd < 4096; ++fd) {
        sockaddr_in peerName{};
        socklen_t size = sizeof peerName;
        if (getpeername(fd, reinterpret_cast<sockaddr*>(&peerName), &size) == 0 &&
            peerName.sin_family == AF_INET && ntohs(peerName.sin_port) == port) {
            return fd;
        }
    }
    return -1;
}

int Option(int fd, int level, int name) {
    int value = -1;
    socklen_t size = sizeof value;
    EXPECT_EQ(getsockopt(fd, level, name, &value, &size), 0);
    return value;
}

// A listener that answers no further handshake: its queue is full.
class FullListener {
public:
    FullListener() {
        m_listener.SetBacklog(0);
        Fill();
    }

    std::string Resource() const { return m_listener.Resource(); }

    // Answers again, the next time that a client asks.
    void Empty() {
        const Descriptor taken(accept4(m_listener.Get(), nullptr, nullptr, SOCK_CLOEXEC));
        EXPECT_NE(taken.Get(), -1);
    }

private:
    void Fill() {
        sockaddr_in name{};
        socklen_t size = sizeof name;
        ASSERT_EQ(getsockname(m_listener.Get(), reinterpret_cast<sockaddr*>(&name), &size), 0);
        m_filler = Descriptor(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
        ASSERT_EQ(connect(m_filler.Get(), reinterpret_cast<sockaddr*>(&name), size), 0);
    }

    PeerListener m_listener = PeerListener::OnTcp();
    Descriptor m_filler;
};

// Interrupts this process every millisecond while it lives.
class SignalStorm {
public:
    SignalStorm() {
        struct sigaction counting {};
        counting.sa_handler = [](int) { signals.fetch_add(1); };
        sigaction(SIGALRM, &counting, &m_before);
        signals = 0;
        SetInterval(1000);
    }
    ~SignalStorm() {
        SetInterval(0);
        sigaction(SIGALRM, &m_before, nullptr);
    }
    SignalStorm(const SignalStorm&) = delete;
    SignalStorm& operator=(const SignalStorm&) = delete;

    // Whether it has raged rather than blown. ThreadSanitizer holds signals back for as long as a
    // thread sleeps, so fewer are counted there.
    bool Raged() const { return signals >= (UnderThreadSanitizer ? 1 : 20); }

private:
    static void SetInterval(long microseconds) {
        const itimerval interval{{0, microseconds}, {0, microseconds}};
        setitimer(ITIMER_REAL, &interval, nullptr);
    }

    static inline std::atomic<int> signals{0};
    struct sigaction m_before {};
};

std::chrono::microseconds ProcessorTime() {
    rusage usage{};
    getrusage(RUSAGE_THREAD, &usage);
    const auto of = [](const timeval& time) {
        return std::chrono::seconds(time.tv_sec) + std::chrono::microseconds(time.tv_usec);
    };
    return of(usage.ru_utime) + of(usage.ru_stime);
}

// The exit code of a child process that runs `body`; the child shares no descriptor table with us.
int InAChild(const std::function<int()>& body) {
    const pid_t child = fork();
    if (child == 0) {
        _exit(body());
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status);
}

// A value with bytes around it that a store may not touch.
struct Guarded {
    unsigned char bytes[24];

    Guarded() { std::memset(bytes, 0xA5, sizeof bytes); }
    void* Place() { return bytes + 8; }

    template <typename Value>
    void ExpectOnly(Value value) const {
        Guarded expected;
        std::memcpy(expected.Place(), &value, sizeof value);
        EXPECT_EQ(std::memcmp(bytes, expected.bytes, sizeof bytes), 0)
            << "value " << value << " was expected, " << sizeof value << " bytes wide, found "
            << testing::PrintToString(bytes);
    }
};

} // namespace

// ---- Opening ----

TEST_F(SessionTCPIP, OpensAndCloses) {
    peer.Accept().ExpectEnd();
    OpenIt();
    EXPECT_EQ(session.CloseConnection(), VI_SUCCESS);
    EXPECT_EQ(session.CloseConnection(), VI_SUCCESS);
}

TEST_F(SessionTCPIP, ComparesTheResourceClassInUpperCase) {
    peer.Accept().Accept().Start();
    const std::string address = "TCPIP0::127.0.0.1::" + std::to_string(peer.Port());
    EXPECT_EQ(Open(session, address + "::socket"), VI_SUCCESS);
    CSessionTCPIP other;
    EXPECT_EQ(Open(other, address + "::SoCkEt"), VI_SUCCESS);
}

TEST_F(SessionTCPIP, LooksAtNoInterfaceWord) {
    peer.Accept().Accept().Start();
    const std::string rest = "::127.0.0.1::" + std::to_string(peer.Port()) + "::SOCKET";
    EXPECT_EQ(Open(session, "anything" + rest), VI_SUCCESS);
    CSessionTCPIP other;
    EXPECT_EQ(Open(other, rest), VI_SUCCESS);
}

TEST_F(SessionTCPIP, RejectsResourcesThatAreNotFourComponents) {
    for (const char* resource :
         {"", "TCPIP0", "::", "TCPIP0::10.0.0.5::5025", "TCPIP0::10.0.0.5::5025::",
          "TCPIP0::10.0.0.5::5025::SOCKET::", "TCPIP0::a::10.0.0.5::5025::SOCKET"}) {
        EXPECT_EQ(Open(session, resource), VI_ERROR_INV_RSRC_NAME) << resource;
    }
}

TEST_F(SessionTCPIP, RejectsOtherResourceClasses) {
    for (const char* resourceClass : {"INSTR", "SOCKETS", "SOCKE", " SOCKET", "SOCKET "}) {
        EXPECT_EQ(Open(session, std::string("TCPIP0::10.0.0.5::5025::") + resourceClass),
                  VI_ERROR_INV_RSRC_NAME)
            << resourceClass;
    }
}

TEST_F(SessionTCPIP, RejectsANullResource) {
    EXPECT_EQ(session.OpenConnection(nullptr, 0, 0), VI_ERROR_INV_RSRC_NAME);
}

TEST_F(SessionTCPIP, TakesTheLeadingDigitsOfThePort) {
    peer.Accept().Start();
    EXPECT_EQ(Open(session, ResourceWithPort(std::to_string(peer.Port()) + "x")), VI_SUCCESS);
}

TEST_F(SessionTCPIP, TakesTheLowSixteenBitsOfThePort) {
    peer.Accept().Start();
    EXPECT_EQ(Open(session, ResourceWithPort(std::to_string(peer.Port() + 65536))), VI_SUCCESS);
}

TEST_F(SessionTCPIP, EmptyPortIsZeroWhereNobodyListens) {
    EXPECT_EQ(Open(session, ResourceWithPort("")), VI_ERROR_RSRC_NFOUND);
}

TEST_F(SessionTCPIP, ClosedPortReadsAsNotFound) {
    PeerListener listener = PeerListener::OnTcp();
    const std::string resource = listener.Resource();
    listener.Close();
    const Stopwatch watch;
    EXPECT_EQ(Open(session, resource), VI_ERROR_RSRC_NFOUND);
    EXPECT_LT(watch.Elapsed(), 4s) << "a refusal needs no time-out";
    EXPECT_EQ(session.CloseConnection(), VI_SUCCESS);
}

TEST_F(SessionTCPIP, OpensTheNameOfTheLocalHost) {
    peer.Accept().Start();
    EXPECT_EQ(Open(session, "TCPIP0::localhost::" + std::to_string(peer.Port()) + "::SOCKET"),
              VI_SUCCESS);
}

// A label of more than 63 characters is found wrong before any name server is asked.
TEST_F(SessionTCPIP, HostThatIsNotResolvedReadsAsTimeOut) {
    const std::string host = std::string(70, 'u') + ".invalid";
    EXPECT_EQ(Open(session, "TCPIP0::" + host + "::5025::SOCKET"), VI_ERROR_TMO);
    EXPECT_EQ(session.CloseConnection(), VI_SUCCESS);
}

TEST_F(SessionTCPIP, EmptyHostReadsAsTimeOut) {
    EXPECT_EQ(Open(session, "TCPIP0::::5025::SOCKET"), VI_ERROR_TMO);
}

TEST_F(SessionTCPIP, OpenTimeoutArgumentIsIgnoredForFiveSecondsOnPurpose) {
    const FullListener listener;
    const Stopwatch watch;
    EXPECT_EQ(Open(session, listener.Resource(), 1), VI_ERROR_TMO);
    EXPECT_GE(watch.Elapsed(), 4900ms);
    EXPECT_LT(watch.Elapsed(), VeryLong);
}

TEST_F(SessionTCPIP, AccessModeAndOpenTimeoutDoNotMatter) {
    peer.Accept().Start();
    std::string resource = peer.Resource();
    EXPECT_EQ(session.OpenConnection(resource.data(), ~0UL, ~0UL), VI_SUCCESS);
}

TEST_F(SessionTCPIP, SocketIsCloseOnExecAndDoesNotBlock) {
    peer.Accept().Await("looked at");
    OpenIt();
    const int fd = SocketTo(peer.Port());
    ASSERT_NE(fd, -1);
    EXPECT_NE(fcntl(fd, F_GETFD) & FD_CLOEXEC, 0);
    EXPECT_NE(fcntl(fd, F_GETFL) & O_NONBLOCK, 0);
    peer.Signal("looked at");
}

TEST_F(SessionTCPIP, SocketKeepsAliveAndDelaysNothing) {
    peer.Accept().Await("looked at");
    OpenIt();
    const int fd = SocketTo(peer.Port());
    ASSERT_NE(fd, -1);
    EXPECT_EQ(Option(fd, SOL_SOCKET, SO_KEEPALIVE), 1);
    EXPECT_EQ(Option(fd, IPPROTO_TCP, TCP_NODELAY), 1);
    peer.Signal("looked at");
}

TEST_F(SessionTCPIP, ReconnectedSocketIsMadeLikeTheFirst) {
    peer.Accept().ExpectEnd().Accept().Await("looked at");
    OpenIt();
    ASSERT_EQ(session.Clear(), VI_SUCCESS);
    const int fd = SocketTo(peer.Port());
    ASSERT_NE(fd, -1);
    EXPECT_NE(fcntl(fd, F_GETFD) & FD_CLOEXEC, 0);
    EXPECT_NE(fcntl(fd, F_GETFL) & O_NONBLOCK, 0);
    EXPECT_EQ(Option(fd, SOL_SOCKET, SO_KEEPALIVE), 1);
    EXPECT_EQ(Option(fd, IPPROTO_TCP, TCP_NODELAY), 1);
    EXPECT_GE(Option(fd, SOL_SOCKET, SO_RCVBUF), OPT_RCVBUF);
    peer.Signal("looked at");
}

TEST(SessionTCPIPSocket, CreateSocketMakesAnUnconnectedSocketOfThatKind) {
    const Descriptor made(CreateSocket());
    ASSERT_NE(made.Get(), -1);
    EXPECT_EQ(Option(made.Get(), SOL_SOCKET, SO_TYPE), SOCK_STREAM);
    EXPECT_EQ(Option(made.Get(), SOL_SOCKET, SO_DOMAIN), AF_INET);
    EXPECT_EQ(Option(made.Get(), SOL_SOCKET, SO_KEEPALIVE), 1);
    EXPECT_EQ(Option(made.Get(), IPPROTO_TCP, TCP_NODELAY), 1);
    EXPECT_NE(fcntl(made.Get(), F_GETFL) & O_NONBLOCK, 0);
    EXPECT_NE(fcntl(made.Get(), F_GETFD) & FD_CLOEXEC, 0);
}

TEST(SessionTCPIPSocket, PendingErrorIsZeroWhereThereIsNone) {
    const Descriptor made(CreateSocket());
    EXPECT_EQ(geterror(made.Get()), 0);
    EXPECT_EQ(geterror(-1), 0);
}

TEST(SessionTCPIPSocket, DescriptorsOtherThanZeroCountAsConnectedOnPurpose) {
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
    const Descriptor kept(ends[0]);
    ASSERT_NE(kept.Get(), 0);
    close(ends[1]);
    EXPECT_TRUE(IsConnected(kept.Get())) << "the peer has closed, but nobody looks";
}

// ---- Descriptor 0 ----

TEST(SessionTCPIPDescriptorZero, IsExaminedForReal) {
    EXPECT_EQ(InAChild([] {
                  int ends[2];
                  close(0);
                  socketpair(AF_UNIX, SOCK_STREAM, 0, ends);
                  const bool silent = IsConnected(0);
                  const bool sent = write(ends[1], "x", 1) == 1;
                  const bool readable = IsConnected(0);
                  char byte = 0;
                  const bool taken = read(0, &byte, 1) == 1;
                  close(ends[1]);
                  const bool closed = !IsConnected(0);
                  return ends[0] == 0 && silent && sent && readable && taken && closed ? 0 : 1;
              }),
              0);
}

TEST(SessionTCPIPDescriptorZero, UnreadBytesOfAClosedPeerKeepItConnected) {
    EXPECT_EQ(InAChild([] {
                  int ends[2];
                  close(0);
                  socketpair(AF_UNIX, SOCK_STREAM, 0, ends);
                  const bool sent = write(ends[1], "x", 1) == 1;
                  close(ends[1]);
                  return sent && IsConnected(0) ? 0 : 1;
              }),
              0);
}

TEST(SessionTCPIPDescriptorZero, ClosedDescriptorIsNotConnected) {
    EXPECT_EQ(InAChild([] {
                  close(0);
                  return IsConnected(0) ? 1 : 0;
              }),
              0);
}

namespace {

// The second connection of a session whose first was given up by the peer; all on descriptor 0.
int ReconnectOnDescriptorZero(const PeerListener& listener) {
    close(0);
    CSessionTCPIP session;
    if (Open(session, listener.Resource()) != VI_SUCCESS || !session.GetConnected()) {
        return 1;
    }
    Descriptor accepted(accept(listener.Get(), nullptr, nullptr));
    accepted.Close();
    for (const Stopwatch watch; session.GetConnected() && watch.Elapsed() < VeryLong;) {
    }
    const Stopwatch watch;
    if (session.GetConnected() || Write(session, "abc").count != 3) {
        return 2;
    }
    accepted = Descriptor(accept(listener.Get(), nullptr, nullptr));
    char bytes[4];
    const bool arrived = recv(accepted.Get(), bytes, sizeof bytes, 0) == 3;
    return arrived && watch.Elapsed() >= 500ms ? 0 : 3;
}

} // namespace

TEST(SessionTCPIPDescriptorZero, PeerThatClosedIsSeenBeforeTheNextTransfer) {
    const PeerListener listener = PeerListener::OnTcp();
    EXPECT_EQ(InAChild([&] { return ReconnectOnDescriptorZero(listener); }), 0);
}

// ---- Reading ----

TEST_F(SessionTCPIP, FullBufferEndsTheReadWithPlainSuccess) {
    peer.Accept().Send("1.23\nREST").Await("read");
    OpenIt();
    EXPECT_EQ(Read(session, 9), Received("1.23\nREST"));
    peer.Signal("read");
}

TEST_F(SessionTCPIP, BufferSmallerThanTheReplyIsFilledAndTheRestStays) {
    peer.Accept().Send("1.23\nREST").Await("read");
    OpenIt();
    EXPECT_EQ(Read(session, 4), Received("1.23"));
    EXPECT_EQ(Read(session, 5), Received("\nREST"));
    peer.Signal("read");
}

TEST_F(SessionTCPIP, BufferLargerThanTheReplyTimesOutWithTheReply) {
    peer.Accept().Send("1.23\nREST").Await("read");
    OpenIt();
    SetTimeout(session, 1000);
    EXPECT_EQ(Read(session, 100), Received("1.23\nREST", VI_ERROR_TMO));
    peer.Signal("read");
}

TEST_F(SessionTCPIP, SilentPeerTimesOutAfterTheTimeOut) {
    peer.Accept().Await("read");
    OpenIt();
    SetTimeout(session, 700);
    const Stopwatch watch;
    EXPECT_EQ(Read(session, 100), Received("", VI_ERROR_TMO));
    EXPECT_GE(watch.Elapsed(), 700ms);
    EXPECT_LT(watch.Elapsed(), VeryLong);
    peer.Signal("read");
}

TEST_F(SessionTCPIP, ReadWithTimeoutZeroReturnsSoon) {
    peer.Accept().Await("read");
    OpenIt();
    SetTimeout(session, 0);
    const Stopwatch watch;
    EXPECT_EQ(Read(session, 100), Received("", VI_ERROR_TMO));
    EXPECT_LT(watch.Elapsed(), 5s);
    peer.Signal("read");
}

TEST_F(SessionTCPIP, ConnectionOutlivesATimeOut) {
    peer.Accept().Await("timed out").Send("late").Expect("*RST\n");
    OpenIt();
    SetTimeout(session, 50);
    EXPECT_EQ(Read(session, 4), Received("", VI_ERROR_TMO));
    SetTimeout(session, LongTimeout);
    peer.Signal("timed out");
    EXPECT_EQ(Read(session, 4), Received("late"));
    EXPECT_EQ(Write(session, "*RST\n"), Sent(5));
}

TEST_F(SessionTCPIP, ReadOfNothingSucceedsOnASilentPeer) {
    peer.Accept().Await("read");
    OpenIt();
    EXPECT_EQ(Read(session, 0), Received(""));
    peer.Signal("read");
}

TEST_F(SessionTCPIP, ReplyInPiecesIsPutTogether) {
    peer.Accept().SendPieces("0123456789", {1, 2, 3}, 20ms);
    OpenIt();
    EXPECT_EQ(Read(session, 10), Received("0123456789"));
}

TEST_F(SessionTCPIP, BytesBehindTheCountAreNotTouched) {
    peer.Accept().Send("1.23\nREST").Await("read");
    OpenIt();
    SetLineMode(session);
    unsigned char buffer[32];
    std::memset(buffer, 0xA5, sizeof buffer);
    unsigned long count = 0;
    EXPECT_EQ(session.Read(buffer, 16, &count), VI_SUCCESS_TERM_CHAR);
    EXPECT_EQ(count, 5UL);
    for (std::size_t i = 5; i < sizeof buffer; ++i) {
        EXPECT_EQ(buffer[i], 0xA5) << i;
    }
    peer.Signal("read");
}

TEST_F(SessionTCPIP, ClosedPeerReadsAsSilenceUntilTheTimeOut) {
    peer.Accept().Send("abc").Close();
    OpenIt();
    SetTimeout(session, 700);
    const Stopwatch watch;
    EXPECT_EQ(Read(session, 100), Received("abc", VI_ERROR_TMO));
    EXPECT_GE(watch.Elapsed(), 700ms);
    EXPECT_TRUE(session.GetConnected());
    EXPECT_EQ(Read(session, 100), Received("", VI_ERROR_TMO));
}

TEST_F(SessionTCPIP, PeerThatHalfClosesAfterItsReplyStaysConnected) {
    peer.Accept().Expect("*IDN?\n").Send("me").HalfClose().Expect("*RST\n");
    OpenIt();
    EXPECT_EQ(Write(session, "*IDN?\n"), Sent(6));
    EXPECT_EQ(Read(session, 2), Received("me"));
    SetTimeout(session, 50);
    EXPECT_EQ(Read(session, 2), Received("", VI_ERROR_TMO));
    EXPECT_EQ(Write(session, "*RST\n"), Sent(5));
}

TEST_F(SessionTCPIP, ResetDuringAReadLosesTheConnection) {
    peer.Accept().Await("opened").Pause(200ms).Reset();
    OpenIt();
    const Stopwatch watch;
    EXPECT_EQ(Read(session, 100), Received("", VI_ERROR_CONN_LOST));
    EXPECT_LT(watch.Elapsed(), 15s) << "a reset ends the read before its time-out";
    EXPECT_FALSE(session.GetConnected());
}

TEST_F(SessionTCPIP, ResetLosesTheConnectionInLineModeToo) {
    peer.Accept().Await("opened").Reset();
    OpenIt();
    SetLineMode(session);
    EXPECT_EQ(Read(session, 100), Received("", VI_ERROR_CONN_LOST));
    EXPECT_FALSE(session.GetConnected());
}

TEST_F(SessionTCPIP, ReadAfterAResetReconnects) {
    peer.Accept().Await("opened").Reset().Accept().Send("back");
    OpenIt();
    EXPECT_EQ(Read(session, 4), Received("", VI_ERROR_CONN_LOST));
    const Stopwatch watch;
    EXPECT_EQ(Read(session, 4), Received("back"));
    EXPECT_GE(watch.Elapsed(), 500ms);
}

// ---- Reading up to a line feed ----

TEST_F(SessionTCPIP, LineModeStopsBehindTheLineFeedAndLeavesTheRest) {
    peer.Accept().Send("1.23\nREST").Await("read");
    OpenIt();
    SetLineMode(session);
    EXPECT_EQ(Read(session, 100), Received("1.23\n", VI_SUCCESS_TERM_CHAR));
    EXPECT_EQ(session.SetAttribute(VI_ATTR_TERMCHAR_EN, 0), VI_SUCCESS);
    EXPECT_EQ(Read(session, 4), Received("REST"));
    peer.Signal("read");
}

TEST_F(SessionTCPIP, LineModeReadsOneLineAtATime) {
    peer.Accept().Send("one\n\ntwo\n").Await("read");
    OpenIt();
    SetLineMode(session);
    EXPECT_EQ(Read(session, 100), Received("one\n", VI_SUCCESS_TERM_CHAR));
    EXPECT_EQ(Read(session, 100), Received("\n", VI_SUCCESS_TERM_CHAR));
    EXPECT_EQ(Read(session, 100), Received("two\n", VI_SUCCESS_TERM_CHAR));
    peer.Signal("read");
}

TEST_F(SessionTCPIP, LineModeWithoutALineFeedTimesOutWithWhatCame) {
    peer.Accept().Send("1.23").Await("read");
    OpenIt();
    SetLineMode(session);
    SetTimeout(session, 1000);
    EXPECT_EQ(Read(session, 100), Received("1.23", VI_ERROR_TMO));
    peer.Signal("read");
}

TEST_F(SessionTCPIP, LineModeFillsASmallBufferWithPlainSuccess) {
    peer.Accept().Send("1.23\n").Await("read");
    OpenIt();
    SetLineMode(session);
    EXPECT_EQ(Read(session, 4), Received("1.23"));
    EXPECT_EQ(Read(session, 1), Received("\n", VI_SUCCESS_TERM_CHAR));
    peer.Signal("read");
}

TEST_F(SessionTCPIP, LineFeedThatFillsTheBufferIsATerminationCharacter) {
    peer.Accept().Send("1.23\n").Await("read");
    OpenIt();
    SetLineMode(session);
    EXPECT_EQ(Read(session, 5), Received("1.23\n", VI_SUCCESS_TERM_CHAR));
    peer.Signal("read");
}

TEST_F(SessionTCPIP, OnlyALineFeedTerminates) {
    peer.Accept().Send(std::string("a\r\0b\n", 5)).Await("read");
    OpenIt();
    SetLineMode(session);
    EXPECT_EQ(session.SetAttribute(VI_ATTR_TERMCHAR, '\r'), VI_ERROR_NSUP_ATTR);
    EXPECT_EQ(Read(session, 100), Received(std::string("a\r\0b\n", 5), VI_SUCCESS_TERM_CHAR));
    peer.Signal("read");
}

TEST_F(SessionTCPIP, LineLongerThan64KibibytesIsReadWhole) {
    const std::string line = WithoutLineFeeds(SomeBytes(200000)) + "\n";
    peer.Accept().Send(line + "REST").Await("read");
    OpenIt();
    SetLineMode(session);
    EXPECT_EQ(Read(session, 300000), Received(line, VI_SUCCESS_TERM_CHAR));
    EXPECT_EQ(Read(session, 4), Received("REST"));
    peer.Signal("read");
}

TEST_F(SessionTCPIP, LineOfAMebibyteInPiecesIsReadWhole) {
    const std::string line = WithoutLineFeeds(SomeBytes(Megabyte)) + "\n";
    std::mt19937 random(7);
    std::vector<std::size_t> sizes(100);
    for (std::size_t& size : sizes) {
        size = 1 + random() % 8191;
    }
    peer.Accept().SendPieces(line + "REST\n", sizes).Await("read");
    OpenIt();
    SetLineMode(session);
    EXPECT_EQ(Read(session, 2 * Megabyte), Received(line, VI_SUCCESS_TERM_CHAR));
    EXPECT_EQ(Read(session, 100), Received("REST\n", VI_SUCCESS_TERM_CHAR));
    peer.Signal("read");
}

TEST_F(SessionTCPIP, LineThatComesByteByByteIsReadWhole) {
    peer.Accept().SendPieces("1.234567E+03\nREST", {1}, 5ms).Await("read");
    OpenIt();
    SetLineMode(session);
    EXPECT_EQ(Read(session, 100), Received("1.234567E+03\n", VI_SUCCESS_TERM_CHAR));
    EXPECT_EQ(Read(session, 4), Received("REST"));
    peer.Signal("read");
}

// ---- Writing ----

TEST_F(SessionTCPIP, WritesTheBytesUnchanged) {
    const std::string bytes = SomeBytes(5000);
    peer.Accept().Expect(bytes);
    OpenIt();
    EXPECT_EQ(Write(session, bytes), Sent(5000));
}

TEST_F(SessionTCPIP, WriteOfNothingSucceeds) {
    peer.Accept().ExpectEnd();
    OpenIt();
    EXPECT_EQ(Write(session, ""), Sent(0));
    session.CloseConnection();
}

namespace {

// For a peer that hardly has room for what it has not read yet.
PeerListener ListenerWithLittleRoom(int bytes = 4096) {
    PeerListener listener = PeerListener::OnTcp();
    listener.SetReceiveBuffer(bytes);
    return listener;
}

} // namespace

TEST(SessionTCPIPWrite, EightMebibytesReachASlowReader) {
    const std::string bytes = SomeBytes(8 * Megabyte);
    ScriptedPeer peer(ListenerWithLittleRoom(65536));
    peer.Accept().ExpectSlowly(bytes, 65536, 2ms).Start();
    CSessionTCPIP session;
    ASSERT_EQ(Open(session, peer.Resource()), VI_SUCCESS);
    SetTimeout(session, 60000);
    EXPECT_EQ(Write(session, bytes), Sent(8 * Megabyte));
}

TEST(SessionTCPIPWrite, TimesOutAndReportsNothingWrittenOnPurpose) {
    ScriptedPeer peer(ListenerWithLittleRoom());
    peer.Accept().Await("written").Start();
    CSessionTCPIP session;
    ASSERT_EQ(Open(session, peer.Resource()), VI_SUCCESS);
    SetTimeout(session, 300);
    const Stopwatch watch;
    EXPECT_EQ(Write(session, std::string(16 * Megabyte, 'x')), (Transfer{VI_ERROR_TMO, 0}));
    EXPECT_GE(watch.Elapsed(), 300ms);
    EXPECT_LT(watch.Elapsed(), VeryLong);
    EXPECT_TRUE(session.GetConnected());
    peer.Signal("written");
}

TEST(SessionTCPIPWrite, WithTimeoutZeroReturnsSoon) {
    ScriptedPeer peer(ListenerWithLittleRoom());
    peer.Accept().Await("written").Start();
    CSessionTCPIP session;
    ASSERT_EQ(Open(session, peer.Resource()), VI_SUCCESS);
    SetTimeout(session, 0);
    EXPECT_EQ(Write(session, std::string(16 * Megabyte, 'x')), (Transfer{VI_ERROR_TMO, 0}));
    peer.Signal("written");
}

TEST(SessionTCPIPWrite, WaitsForRoomWithoutBusyWaiting) {
    ScriptedPeer peer(ListenerWithLittleRoom());
    peer.Accept().Await("written").Start();
    CSessionTCPIP session;
    ASSERT_EQ(Open(session, peer.Resource()), VI_SUCCESS);
    SetTimeout(session, 1000);
    const std::string bytes(16 * Megabyte, 'x');
    const auto before = ProcessorTime();
    EXPECT_EQ(Write(session, bytes), (Transfer{VI_ERROR_TMO, 0}));
    EXPECT_LT(ProcessorTime() - before, 200ms);
    peer.Signal("written");
}

TEST_F(SessionTCPIP, WriteWithTimeoutZeroSucceedsWhenAllFitsAtOnce) {
    peer.Accept().Expect("*RST\n");
    OpenIt();
    SetTimeout(session, 0);
    EXPECT_EQ(Write(session, "*RST\n"), Sent(5));
}

TEST_F(SessionTCPIP, ClosedPeerShowsOnlyInALaterWriteAndThenReconnects) {
    peer.Accept().Close().Mark("closed").Accept().Expect("third");
    OpenIt();
    ASSERT_TRUE(peer.WaitFor("closed"));
    EXPECT_EQ(Write(session, "first"), Sent(5)) << "an orderly close is not looked for";
    WriteUntilLost();
    const Stopwatch watch;
    EXPECT_EQ(Write(session, "third"), Sent(5));
    EXPECT_GE(watch.Elapsed(), 500ms);
}

TEST_F(SessionTCPIP, PeerThatStaysAwayLosesTheConnectionAfterThreeSeconds) {
    peer.Accept().Await("opened").StopListening().Reset().Mark("away");
    OpenIt();
    ASSERT_TRUE(peer.WaitFor("away"));
    WriteUntilLost();
    const Stopwatch watch;
    EXPECT_EQ(Write(session, "x"), (Transfer{VI_ERROR_CONN_LOST, 0}));
    EXPECT_GE(watch.Elapsed(), 2900ms);
    EXPECT_LT(watch.Elapsed(), VeryLong);
    EXPECT_EQ(session.CloseConnection(), VI_SUCCESS);
}

TEST_F(SessionTCPIP, LostConnectionRaisesNoSigpipe) {
    signal(SIGPIPE, SIG_DFL);
    sigset_t pipe;
    sigemptyset(&pipe);
    sigaddset(&pipe, SIGPIPE);
    pthread_sigmask(SIG_UNBLOCK, &pipe, nullptr);
    peer.Accept().Close().Mark("closed");
    OpenIt();
    ASSERT_TRUE(peer.WaitFor("closed"));
    WriteUntilLost();
    struct sigaction kept {};
    sigaction(SIGPIPE, nullptr, &kept);
    EXPECT_EQ(kept.sa_handler, SIG_DFL) << "the host program's handling is its own";
}

// ---- Clearing and closing ----

TEST_F(SessionTCPIP, ClearMakesANewConnectionAfterHalfASecond) {
    peer.Accept().ExpectEnd().Accept().Expect("*IDN?\n").Send("me");
    OpenIt();
    const Stopwatch watch;
    EXPECT_EQ(session.Clear(), VI_SUCCESS);
    EXPECT_GE(watch.Elapsed(), 500ms);
    EXPECT_LT(watch.Elapsed(), VeryLong);
    EXPECT_EQ(Write(session, "*IDN?\n"), Sent(6));
    EXPECT_EQ(Read(session, 2), Received("me"));
}

TEST_F(SessionTCPIP, ClearDropsWhatHasNotBeenRead) {
    peer.Accept().Send("old reply").Mark("sent").ExpectEnd().Accept().Send("new reply");
    OpenIt();
    ASSERT_TRUE(peer.WaitFor("sent"));
    EXPECT_EQ(session.Clear(), VI_SUCCESS);
    EXPECT_EQ(Read(session, 9), Received("new reply"));
}

TEST_F(SessionTCPIP, ClearWithoutAListenerFailsAfterThreeSeconds) {
    peer.Accept().StopListening().Mark("away").ExpectEnd();
    OpenIt();
    ASSERT_TRUE(peer.WaitFor("away"));
    const Stopwatch watch;
    EXPECT_EQ(session.Clear(), VI_ERROR_CONN_LOST);
    EXPECT_GE(watch.Elapsed(), 2900ms);
    EXPECT_LT(watch.Elapsed(), VeryLong);
    EXPECT_FALSE(session.GetConnected());
}

TEST_F(SessionTCPIP, ClosingASessionThatWasNeverOpenedSucceeds) {
    EXPECT_EQ(session.CloseConnection(), VI_SUCCESS);
    EXPECT_FALSE(session.GetConnected());
}

TEST_F(SessionTCPIP, ClosingDropsUnreadBytesAndEndsInOrder) {
    peer.Accept().Send(std::string(50000, 'x')).Mark("sent");
    peer.ExpectEnd().Await("closed").ExpectNoError();
    OpenIt();
    ASSERT_TRUE(peer.WaitFor("sent"));
    EXPECT_EQ(session.CloseConnection(), VI_SUCCESS);
    peer.Signal("closed");
}

TEST_F(SessionTCPIP, DestructorClosesTheConnection) {
    peer.Accept().ExpectEnd().Start();
    {
        CSessionTCPIP mortal;
        ASSERT_EQ(Open(mortal, peer.Resource()), VI_SUCCESS);
    }
    EXPECT_EQ(SocketTo(peer.Port()), -1);
}

TEST_F(SessionTCPIP, TransferAfterClosingReconnects) {
    peer.Accept().ExpectEnd().Accept().Expect("abc");
    OpenIt();
    EXPECT_EQ(session.CloseConnection(), VI_SUCCESS);
    const Stopwatch watch;
    EXPECT_EQ(Write(session, "abc"), Sent(3));
    EXPECT_GE(watch.Elapsed(), 500ms);
}

TEST_F(SessionTCPIP, FailedOpeningLeaksNoDescriptor) {
    const Descriptor before(dup(1));
    PeerListener listener = PeerListener::OnTcp();
    const std::string refused = listener.Resource();
    listener.Close();
    for (int i = 0; i < 50; ++i) {
        EXPECT_EQ(Open(session, refused), VI_ERROR_RSRC_NFOUND);
    }
    const Descriptor after(dup(1));
    EXPECT_LE(after.Get(), before.Get() + 2);
}

TEST_F(SessionTCPIP, ReadOfASessionThatWasNeverOpenedLosesTheConnection) {
    SetTimeout(session, 100);
    EXPECT_EQ(Read(session, 10), Received("", VI_ERROR_CONN_LOST));
}

// ---- Null pointers ----

TEST_F(SessionTCPIP, NullCountPointersAreTolerated) {
    peer.Accept().Expect("*IDN?\n").Send("me");
    OpenIt();
    unsigned char request[] = "*IDN?\n";
    EXPECT_EQ(session.Write(request, 6, nullptr), VI_SUCCESS);
    unsigned char reply[2];
    EXPECT_EQ(session.Read(reply, 2, nullptr), VI_SUCCESS);
    EXPECT_EQ(reply[0], 'm');
    SetTimeout(session, 10);
    EXPECT_EQ(session.Read(reply, 2, nullptr), VI_ERROR_TMO);
}

TEST_F(SessionTCPIP, NullDestinationOfAnAttributeIsAStateNotSupported) {
    for (const unsigned long attribute :
         {VI_ATTR_TMO_VALUE, VI_ATTR_TERMCHAR_EN, VI_ATTR_INTF_TYPE}) {
        EXPECT_EQ(session.GetAttribute(attribute, nullptr), VI_ERROR_NSUP_ATTR_STATE);
    }
    EXPECT_EQ(session.GetAttribute(VI_ATTR_TERMCHAR, nullptr), VI_ERROR_NSUP_ATTR);
}

// ---- Attributes ----

TEST_F(SessionTCPIP, ReportsSerialInterfaceTypeOnPurpose) {
    Guarded place;
    EXPECT_EQ(session.GetAttribute(VI_ATTR_INTF_TYPE, place.Place()), VI_SUCCESS);
    place.ExpectOnly<unsigned short>(4);
    EXPECT_EQ(VI_INTF_ASRL, 4);
}

TEST_F(SessionTCPIP, TimeoutIsStoredEightBytesWide) {
    Guarded place;
    EXPECT_EQ(session.SetAttribute(VI_ATTR_TMO_VALUE, 2000), VI_SUCCESS);
    EXPECT_EQ(session.GetAttribute(VI_ATTR_TMO_VALUE, place.Place()), VI_SUCCESS);
    place.ExpectOnly<unsigned long>(2000);
}

TEST_F(SessionTCPIP, TerminationCharacterFlagIsStoredFourBytesWide) {
    Guarded place;
    EXPECT_EQ(session.GetAttribute(VI_ATTR_TERMCHAR_EN, place.Place()), VI_SUCCESS);
    place.ExpectOnly<unsigned>(0);
    EXPECT_EQ(session.SetAttribute(VI_ATTR_TERMCHAR_EN, 1), VI_SUCCESS);
    EXPECT_EQ(session.GetAttribute(VI_ATTR_TERMCHAR_EN, place.Place()), VI_SUCCESS);
    place.ExpectOnly<unsigned>(1);
}

TEST_F(SessionTCPIP, AnyValueButZeroSetsTheTerminationCharacterFlag) {
    for (const unsigned long value : {2UL, 0xFFFFUL, 0x100000000UL, ~0UL}) {
        EXPECT_EQ(session.SetAttribute(VI_ATTR_TERMCHAR_EN, 0), VI_SUCCESS);
        EXPECT_EQ(session.SetAttribute(VI_ATTR_TERMCHAR_EN, value), VI_SUCCESS);
        unsigned flag = 0;
        EXPECT_EQ(session.GetAttribute(VI_ATTR_TERMCHAR_EN, &flag), VI_SUCCESS);
        EXPECT_EQ(flag, 1U) << value;
    }
}

TEST_F(SessionTCPIP, TimeoutIsAHundredSecondsAtFirst) {
    unsigned long timeout = 0;
    EXPECT_EQ(session.GetAttribute(VI_ATTR_TMO_VALUE, &timeout), VI_SUCCESS);
    EXPECT_EQ(timeout, 100000UL);
}

TEST_F(SessionTCPIP, TimeoutHasThirtyTwoBits) {
    unsigned long timeout = 0;
    EXPECT_EQ(session.SetAttribute(VI_ATTR_TMO_VALUE, 0x5000007D0), VI_SUCCESS);
    EXPECT_EQ(session.GetAttribute(VI_ATTR_TMO_VALUE, &timeout), VI_SUCCESS);
    EXPECT_EQ(timeout, 2000UL);
    EXPECT_EQ(session.SetAttribute(VI_ATTR_TMO_VALUE, VI_TMO_INFINITE), VI_SUCCESS);
    EXPECT_EQ(session.GetAttribute(VI_ATTR_TMO_VALUE, &timeout), VI_SUCCESS);
    EXPECT_EQ(timeout, 0xFFFFFFFFUL);
}

TEST_F(SessionTCPIP, InterfaceTypeCannotBeSet) {
    EXPECT_EQ(session.SetAttribute(VI_ATTR_INTF_TYPE, 6), VI_ERROR_NSUP_ATTR);
}

TEST_F(SessionTCPIP, OtherAttributesAreNotSupported) {
    for (const unsigned long attribute :
         {0UL, VI_ATTR_TERMCHAR, VI_ATTR_SEND_END_EN, VI_ATTR_RSRC_NAME, VI_ATTR_ASRL_BAUD,
          VI_ATTR_IO_PROT, VI_ATTR_USER_DATA, ~0UL}) {
        Guarded place;
        EXPECT_EQ(session.SetAttribute(attribute, 1), VI_ERROR_NSUP_ATTR) << attribute;
        EXPECT_EQ(session.GetAttribute(attribute, place.Place()), VI_ERROR_NSUP_ATTR) << attribute;
        EXPECT_EQ(std::memcmp(place.bytes, Guarded().bytes, sizeof place.bytes), 0) << attribute;
    }
}

TEST_F(SessionTCPIP, AttributesAreComparedAtSixtyFourBits) {
    constexpr unsigned long Above = 0x100000000;
    for (const unsigned long attribute :
         {VI_ATTR_TMO_VALUE, VI_ATTR_TERMCHAR_EN, VI_ATTR_INTF_TYPE}) {
        unsigned long value = 77;
        EXPECT_EQ(session.SetAttribute(Above | attribute, 1), VI_ERROR_NSUP_ATTR);
        EXPECT_EQ(session.GetAttribute(Above | attribute, &value), VI_ERROR_NSUP_ATTR);
        EXPECT_EQ(value, 77UL);
    }
}

// ---- What the session inherits ----

TEST_F(SessionTCPIP, OperationsOfItsBaseKeepTheirStatuses) {
    char text[8] = "";
    EXPECT_EQ(session.SetBuf(1, 1000), VI_ERROR_NIMPL_OPER);
    EXPECT_EQ(session.Flush(1), VI_ERROR_NIMPL_OPER);
    EXPECT_EQ(session.Close(1), VI_ERROR_NIMPL_OPER);
    EXPECT_EQ(session.EnableEvent(1, 1, 0), VI_ERROR_NIMPL_OPER);
    EXPECT_EQ(session.DisableEvent(1, 1), VI_SUCCESS);
    EXPECT_EQ(session.DiscardEvents(1, 1), VI_SUCCESS);
    EXPECT_EQ(session.Open(text, 0, 0, nullptr), VI_ERROR_NSUP_OPER);
    EXPECT_EQ(session.FindRsrc(text, nullptr, nullptr, nullptr), VI_ERROR_NIMPL_OPER);
    EXPECT_EQ(session.FindNext(text), VI_ERROR_NIMPL_OPER);
    EXPECT_EQ(session.ParseRsrcEx(text, nullptr, nullptr, nullptr, nullptr, nullptr),
              VI_ERROR_NIMPL_OPER);
}

TEST_F(SessionTCPIP, KeepsTheIdentityItIsGiven) {
    EXPECT_EQ(session.GetID(), 0UL);
    session.SetID(0xFFFFFFFF);
    EXPECT_EQ(session.GetID(), 0xFFFFFFFFUL);
}

TEST_F(SessionTCPIP, RequestForDiscoveryIsSixteenBytesAndATerminatingZero) {
    char request[32];
    std::memset(request, 0x5A, sizeof request);
    EXPECT_EQ(session.FillRequest(request, sizeof request), 16);
    EXPECT_STREQ(request, "UxVISA Discovery");
    EXPECT_EQ(request[17], 0x5A);
}

TEST(SessionTCPIPLayout, FieldsStandAtTheirPlaces) {
    CSessionTCPIP session;
    const auto* bytes = reinterpret_cast<const char*>(&session);
    const auto at = [bytes](std::size_t place) {
        int value = 0;
        std::memcpy(&value, bytes + place, sizeof value);
        return value;
    };
    EXPECT_EQ(sizeof session, 232U);
    EXPECT_EQ(bytes[144], 0) << "termination character";
    EXPECT_EQ(at(148), -1) << "socket";
    EXPECT_EQ(at(200), 0) << "port";
    EXPECT_EQ(at(204), 0) << "last socket error";
    EXPECT_EQ(at(208), 0);
    EXPECT_EQ(at(212), 30);
    EXPECT_EQ(at(216), 100000) << "read time-out";
    EXPECT_EQ(at(220), 100000) << "write time-out";
    EXPECT_EQ(at(224), 5000) << "connect time-out";
    EXPECT_EQ(bytes[228], 0);
}

TEST(SessionTCPIPLayout, FieldsFollowAnOpening) {
    ScriptedPeer peer;
    peer.Accept().Await("looked at").Start();
    CSessionTCPIP session;
    ASSERT_EQ(Open(session, peer.Resource()), VI_SUCCESS);
    const auto* bytes = reinterpret_cast<const char*>(&session);
    int fd = 0;
    int port = 0;
    std::memcpy(&fd, bytes + 148, sizeof fd);
    std::memcpy(&port, bytes + 200, sizeof port);
    EXPECT_EQ(fd, SocketTo(peer.Port()));
    EXPECT_EQ(port, peer.Port());
    EXPECT_EQ(*reinterpret_cast<const std::string*>(bytes + 168), "127.0.0.1");
    peer.Signal("looked at");
}

// ---- Signals, cancellation, cost ----

TEST_F(SessionTCPIP, SignalsDoNotDisturbARead) {
    peer.Accept().SendPieces("0123456789\n", {1}, 50ms);
    OpenIt();
    SetLineMode(session);
    const SignalStorm storm;
    EXPECT_EQ(Read(session, 100), Received("0123456789\n", VI_SUCCESS_TERM_CHAR));
    EXPECT_TRUE(storm.Raged());
}

TEST_F(SessionTCPIP, SignalsDoNotShortenATimeOut) {
    peer.Accept().Await("read");
    OpenIt();
    SetTimeout(session, 500);
    const Stopwatch watch;
    const SignalStorm storm;
    EXPECT_EQ(Read(session, 100), Received("", VI_ERROR_TMO));
    EXPECT_GE(watch.Elapsed(), 500ms);
    EXPECT_TRUE(storm.Raged());
    peer.Signal("read");
}

TEST(SessionTCPIPWrite, SignalsDoNotDisturbIt) {
    const std::string bytes = SomeBytes(16 * Megabyte);
    ScriptedPeer peer(ListenerWithLittleRoom(65536));
    peer.Accept().ExpectSlowly(bytes, 65536, 3ms).Start();
    CSessionTCPIP session;
    ASSERT_EQ(Open(session, peer.Resource()), VI_SUCCESS);
    SetTimeout(session, 60000);
    const SignalStorm storm;
    EXPECT_EQ(Write(session, bytes), Sent(16 * Megabyte));
    EXPECT_TRUE(storm.Raged());
}

TEST_F(SessionTCPIP, SignalsDoNotDisturbClear) {
    peer.Accept().ExpectEnd().Accept();
    OpenIt();
    const Stopwatch watch;
    const SignalStorm storm;
    EXPECT_EQ(session.Clear(), VI_SUCCESS);
    EXPECT_GE(watch.Elapsed(), 500ms);
    EXPECT_TRUE(storm.Raged());
}

// The handshake is answered only when the system asks again, about a second later.
TEST_F(SessionTCPIP, SignalsDoNotDisturbASlowOpening) {
    FullListener listener;
    std::thread acceptor([&] {
        std::this_thread::sleep_for(200ms);
        listener.Empty();
    });
    const SignalStorm storm;
    EXPECT_EQ(Open(session, listener.Resource()), VI_SUCCESS);
    EXPECT_TRUE(storm.Raged());
    acceptor.join();
}

TEST_F(SessionTCPIP, SignalsDoNotShortenAnOpeningThatTimesOut) {
    const FullListener listener;
    const SignalStorm storm;
    const Stopwatch watch;
    EXPECT_EQ(Open(session, listener.Resource()), VI_ERROR_TMO);
    EXPECT_GE(watch.Elapsed(), 4900ms);
    EXPECT_LT(watch.Elapsed(), VeryLong);
}

TEST_F(SessionTCPIP, IdleReadOfASilentPeerCostsNoProcessorTime) {
    peer.Accept().Await("read");
    OpenIt();
    SetTimeout(session, 1000);
    const auto before = ProcessorTime();
    EXPECT_EQ(Read(session, 100), Received("", VI_ERROR_TMO));
    EXPECT_LT(ProcessorTime() - before, 100ms);
    peer.Signal("read");
}

TEST_F(SessionTCPIP, IdleReadOfAClosedPeerCostsNoProcessorTime) {
    peer.Accept().Close();
    OpenIt();
    SetTimeout(session, 1000);
    const auto before = ProcessorTime();
    EXPECT_EQ(Read(session, 100), Received("", VI_ERROR_TMO));
    EXPECT_LT(ProcessorTime() - before, 100ms);
}

namespace {

// A thread to be cancelled within an operation of the session.
struct Victim {
    CSessionTCPIP session;
    std::atomic<bool> unwound{false};
    std::atomic<bool> returned{false};
    long (*operation)(CSessionTCPIP&) = nullptr;

    static void* Run(void* argument) {
        auto* victim = static_cast<Victim*>(argument);
        struct Witness {
            Victim* victim;
            ~Witness() { victim->unwound = true; }
        } witness{victim};
        victim->operation(victim->session);
        victim->returned = true;
        return nullptr;
    }
};

class SessionTCPIPCancellation : public ::testing::Test {
protected:
    void SetUp() override {
#if defined(__SANITIZE_ADDRESS__) && !defined(__clang__)
        GTEST_SKIP() << "g++'s AddressSanitizer loses track of a stack that a cancellation unwinds";
#endif
    }
};

// Cancels the operation a moment after it has begun.
void Cancel(Victim& victim, long (*operation)(CSessionTCPIP&)) {
    victim.operation = operation;
    pthread_t thread{};
    ASSERT_EQ(pthread_create(&thread, nullptr, Victim::Run, &victim), 0);
    std::this_thread::sleep_for(200ms);
    EXPECT_EQ(pthread_cancel(thread), 0);
    void* result = nullptr;
    ASSERT_EQ(pthread_join(thread, &result), 0);
    EXPECT_EQ(result, PTHREAD_CANCELED);
    EXPECT_TRUE(victim.unwound);
    EXPECT_FALSE(victim.returned);
}

} // namespace

TEST_F(SessionTCPIPCancellation, UnwindsARead) {
    ScriptedPeer peer;
    peer.Accept().Await("cancelled").Send("alive").Start();
    Victim victim;
    ASSERT_EQ(Open(victim.session, peer.Resource()), VI_SUCCESS);
    Cancel(victim, [](CSessionTCPIP& session) { return Read(session, 100).status; });
    peer.Signal("cancelled");
    EXPECT_EQ(Read(victim.session, 5), Received("alive")) << "the session is as good as before";
}

TEST_F(SessionTCPIPCancellation, UnwindsAReadOfAClosedPeer) {
    ScriptedPeer peer;
    peer.Accept().Close().Start();
    Victim victim;
    ASSERT_EQ(Open(victim.session, peer.Resource()), VI_SUCCESS);
    Cancel(victim, [](CSessionTCPIP& session) { return Read(session, 100).status; });
}

TEST_F(SessionTCPIPCancellation, UnwindsAClear) {
    ScriptedPeer peer;
    peer.Accept().StopListening().Mark("away").ExpectEnd().Start();
    Victim victim;
    ASSERT_EQ(Open(victim.session, peer.Resource()), VI_SUCCESS);
    ASSERT_TRUE(peer.WaitFor("away"));
    Cancel(victim, [](CSessionTCPIP& session) { return session.Clear(); });
    EXPECT_EQ(victim.session.CloseConnection(), VI_SUCCESS);
}

TEST_F(SessionTCPIPCancellation, UnwindsAnOpening) {
    const FullListener listener;
    static std::string resource;
    resource = listener.Resource();
    Victim victim;
    Cancel(victim, [](CSessionTCPIP& session) { return Open(session, resource); });
    EXPECT_EQ(victim.session.CloseConnection(), VI_SUCCESS);
}

// ---- Many descriptors ----

namespace {

class ManyDescriptors {
public:
    explicit ManyDescriptors(std::size_t count) {
        for (std::size_t i = 0; i < count; ++i) {
            m_taken.emplace_back(fcntl(1, F_DUPFD_CLOEXEC, 0));
        }
    }

    int Last() const { return m_taken.back().Get(); }

private:
    std::vector<Descriptor> m_taken;
};

// Whether the process may have so many descriptors.
bool AllowDescriptors(rlim_t count) {
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = std::max(limit.rlim_cur, count);
    limit.rlim_max = std::max(limit.rlim_max, count);
    return setrlimit(RLIMIT_NOFILE, &limit) == 0;
}

} // namespace

TEST_F(SessionTCPIP, WorksWithDescriptorsBeyondThoseOfASelect) {
    if (!AllowDescriptors(2048)) {
        GTEST_SKIP() << "the process may not have 2048 descriptors";
    }
    const ManyDescriptors many(1500);
    ASSERT_GE(many.Last(), 1500);
    peer.Accept().Expect("*IDN?\n").Send("me\n").ExpectEnd().Accept().Expect("*RST\n");
    OpenIt();
    ASSERT_GE(SocketTo(peer.Port()), 1500);
    EXPECT_EQ(Write(session, "*IDN?\n"), Sent(6));
    SetLineMode(session);
    EXPECT_EQ(Read(session, 100), Received("me\n", VI_SUCCESS_TERM_CHAR));
    SetTimeout(session, 50);
    EXPECT_EQ(Read(session, 100), Received("", VI_ERROR_TMO));
    EXPECT_EQ(session.Clear(), VI_SUCCESS);
    EXPECT_TRUE(session.GetConnected());
    EXPECT_EQ(Write(session, "*RST\n"), Sent(5));
}
