#include "transports/SessionTCPIP.h"

#include <cerrno>
#include <cstring>
#include <string>

#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/mman.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "support/FaultySystemCalls.h"
#include "support/ScriptedPeer.h"
#include "transports/SessionIO.h"

using namespace std::chrono_literals;
using namespace uxvisa::test;

namespace {

constexpr char Resource[] = "TCPIP0::10.0.0.5::5025::SOCKET";
constexpr char Opening[] = "Socket SetOption SetOption Resolve Connect Wait PendingError";
constexpr char Attempt[] = "Socket SetOption SetOption SetNonBlocking SetOption Pause Connect";
constexpr char Closing[] = "ShutdownSending Receive Close";

// Places of the fields, which are binary interface.
constexpr std::size_t SocketPlace = 148;
constexpr std::size_t LastErrorPlace = 204;

int FieldAt(const CSessionTCPIP& session, std::size_t place) {
    int value = 0;
    std::memcpy(&value, reinterpret_cast<const char*>(&session) + place, sizeof value);
    return value;
}

// A session on pretended sockets, in a time of its own: nothing here takes or depends on real time.
class SessionTCPIPFaults : public ::testing::Test {
protected:
    SessionTCPIPFaults() {
        system.PretendSockets();
        system.FreezeTime();
    }

    void OpenIt() {
        ASSERT_EQ(Open(session, Resource), VI_SUCCESS);
        system.ForgetCalls();
    }

    void SetTimeout(unsigned long ms) {
        ASSERT_EQ(session.SetAttribute(VI_ATTR_TMO_VALUE, ms), VI_SUCCESS);
    }

    void SetLineMode() { ASSERT_EQ(session.SetAttribute(VI_ATTR_TERMCHAR_EN, 1), VI_SUCCESS); }

    void ExpectNoSocket() {
        system.ForgetCalls();
        EXPECT_EQ(session.CloseConnection(), VI_SUCCESS);
        EXPECT_EQ(system.Order(), "") << "there was a socket to close";
    }

    int Socket() const { return FieldAt(session, SocketPlace); }
    int LastError() const { return FieldAt(session, LastErrorPlace); }

    FaultySystemCalls system;
    CSessionTCPIP session;
};

// Descriptor 0 is closed while it lives.
class WithoutStandardInput {
public:
    WithoutStandardInput() { close(0); }
    ~WithoutStandardInput() { dup2(m_kept.Get(), 0); }
    WithoutStandardInput(const WithoutStandardInput&) = delete;
    WithoutStandardInput& operator=(const WithoutStandardInput&) = delete;

private:
    Descriptor m_kept{dup(0)};
};

std::string Repeated(const std::string& text, int times) {
    std::string result;
    for (int i = 0; i < times; ++i) {
        result += (i == 0 ? "" : " ") + text;
    }
    return result;
}

} // namespace

// ---- Opening ----

TEST_F(SessionTCPIPFaults, OpensByCallsInThisOrder) {
    EXPECT_EQ(Open(session, Resource), VI_SUCCESS);
    EXPECT_EQ(system.Order(), Opening);
    EXPECT_EQ(Socket(), 1000);
    EXPECT_EQ(LastError(), 0);
}

TEST_F(SessionTCPIPFaults, OpensAnIPv4StreamSocketThatDoesNotBlock) {
    OpenIt();
    Open(session, Resource);
    const CallRecord made = system.RecordsOf(Call::Socket).at(0);
    EXPECT_EQ(made.first, AF_INET);
    EXPECT_EQ(made.second, SOCK_STREAM | SOCK_NONBLOCK);
}

TEST_F(SessionTCPIPFaults, SetsKeepAliveAndNoDelayOnOpening) {
    Open(session, Resource);
    const auto options = system.RecordsOf(Call::SetOption);
    ASSERT_EQ(options.size(), 2U);
    EXPECT_EQ(options[0].first, SOL_SOCKET);
    EXPECT_EQ(options[0].second, SO_KEEPALIVE);
    EXPECT_EQ(options[0].argument, 1);
    EXPECT_EQ(options[1].first, IPPROTO_TCP);
    EXPECT_EQ(options[1].second, TCP_NODELAY);
    EXPECT_EQ(options[1].argument, 1);
}

TEST_F(SessionTCPIPFaults, OpensThoughKeepAliveAndNoDelayCannotBeSet) {
    system.Always(Call::SetOption, -1, ENOPROTOOPT);
    EXPECT_EQ(Open(session, Resource), VI_SUCCESS);
}

TEST_F(SessionTCPIPFaults, ConnectsToTheAddressAndPortOfTheResource) {
    Open(session, Resource);
    const sockaddr_in remote = system.RecordsOf(Call::Connect).at(0).address;
    EXPECT_EQ(remote.sin_family, AF_INET);
    EXPECT_EQ(ntohs(remote.sin_port), 5025);
    EXPECT_STREQ(inet_ntoa(remote.sin_addr), "10.0.0.5");
}

TEST_F(SessionTCPIPFaults, ReadsThePortLikeStrtolAndKeepsSixteenBits) {
    const auto portOf = [this](const std::string& text) {
        system.ForgetCalls();
        Open(session, "TCPIP0::10.0.0.5::" + text + "::SOCKET");
        return ntohs(system.RecordsOf(Call::Connect).at(0).address.sin_port);
    };
    EXPECT_EQ(portOf("50x"), 50);
    EXPECT_EQ(portOf(""), 0);
    EXPECT_EQ(portOf("x"), 0);
    EXPECT_EQ(portOf(" 7"), 7);
    EXPECT_EQ(portOf("0x10"), 0);
    EXPECT_EQ(portOf("65537"), 1);
    EXPECT_EQ(portOf("-1"), 65535);
}

TEST_F(SessionTCPIPFaults, RejectsAResourceWithoutTouchingTheSystem) {
    EXPECT_EQ(Open(session, "TCPIP0::10.0.0.5::5025"), VI_ERROR_INV_RSRC_NAME);
    EXPECT_EQ(Open(session, "TCPIP0::10.0.0.5::5025::INSTR"), VI_ERROR_INV_RSRC_NAME);
    EXPECT_EQ(system.Order(), "");
    EXPECT_EQ(session.CloseConnection(), VI_SUCCESS);
    EXPECT_EQ(system.Order(), "");
}

TEST_F(SessionTCPIPFaults, NoSocketToBeHadReadsAsNotFound) {
    system.Next(Call::Socket, -1, EMFILE);
    EXPECT_EQ(Open(session, Resource), VI_ERROR_RSRC_NFOUND);
    EXPECT_EQ(system.Order(), "Socket");
    ExpectNoSocket();
}

TEST_F(SessionTCPIPFaults, UnresolvedHostReadsAsTimeOutAndClosesTheSocket) {
    system.Next(Call::Resolve, 0, ENOENT);
    EXPECT_EQ(Open(session, Resource), VI_ERROR_TMO);
    EXPECT_EQ(system.Order(), "Socket SetOption SetOption Resolve Close");
    ExpectNoSocket();
}

TEST_F(SessionTCPIPFaults, MachineWithoutANetworkReadsAsNotFound) {
    system.Next(Call::Resolve, 0, ENONET);
    EXPECT_EQ(Open(session, Resource), VI_ERROR_RSRC_NFOUND);
    EXPECT_EQ(system.Order(), "Socket SetOption SetOption Resolve Close");
    ExpectNoSocket();
}

TEST_F(SessionTCPIPFaults, HostEntryThatNeedsMoreSpaceIsAskedForAgain) {
    system.Next(Call::Resolve, ERANGE, ERANGE).Next(Call::Resolve, ERANGE, ERANGE);
    EXPECT_EQ(Open(session, Resource), VI_SUCCESS);
    const auto asked = system.RecordsOf(Call::Resolve);
    ASSERT_EQ(asked.size(), 3U);
    EXPECT_GT(asked[1].argument, asked[0].argument);
    EXPECT_GT(asked[2].argument, asked[1].argument);
}

TEST_F(SessionTCPIPFaults, RefusesAConnectThatSucceedsAtOnceOnPurpose) {
    system.Next(Call::Connect, 0);
    EXPECT_EQ(Open(session, Resource), VI_ERROR_RSRC_NFOUND);
    EXPECT_EQ(system.Order(), "Socket SetOption SetOption Resolve Connect Close");
    EXPECT_EQ(Socket(), -1);
    ExpectNoSocket();
}

TEST_F(SessionTCPIPFaults, ConnectThatWouldBlockGoesOnLikeOneInProgress) {
    system.Next(Call::Connect, -1, EAGAIN);
    EXPECT_EQ(Open(session, Resource), VI_SUCCESS);
    EXPECT_EQ(system.Order(), Opening);
}

TEST_F(SessionTCPIPFaults, HostUnreachableAtOnceReadsAsTimeOutAndKeepsTheSocketOnPurpose) {
    system.Next(Call::Connect, -1, EHOSTUNREACH);
    EXPECT_EQ(Open(session, Resource), VI_ERROR_TMO);
    EXPECT_EQ(system.Order(), "Socket SetOption SetOption Resolve Connect");
    EXPECT_EQ(LastError(), EHOSTUNREACH);
    EXPECT_EQ(Socket(), 1000);
    system.ForgetCalls();
    EXPECT_EQ(session.CloseConnection(), VI_SUCCESS);
    EXPECT_EQ(system.Order(), Closing);
    EXPECT_EQ(system.RecordsOf(Call::Close).at(0).fd, 1000);
}

TEST_F(SessionTCPIPFaults, SocketKeptAfterAFailedConnectDiesWithTheSession) {
    {
        CSessionTCPIP mortal;
        system.Next(Call::Connect, -1, EHOSTUNREACH);
        EXPECT_EQ(Open(mortal, Resource), VI_ERROR_TMO);
        EXPECT_EQ(system.Count(Call::Close), 0U);
    }
    ASSERT_EQ(system.Count(Call::Close), 1U);
    EXPECT_EQ(system.RecordsOf(Call::Close).at(0).fd, 1000);
}

TEST_F(SessionTCPIPFaults, OtherFailureAtOnceReadsAsNotFoundAndKeepsTheSocket) {
    for (const int error : {ENETUNREACH, EACCES, ECONNREFUSED, EINVAL, EADDRNOTAVAIL, EINTR}) {
        SCOPED_TRACE(std::strerror(error));
        CSessionTCPIP tried;
        system.Next(Call::Connect, -1, error);
        system.ForgetCalls();
        EXPECT_EQ(Open(tried, Resource), VI_ERROR_RSRC_NFOUND);
        EXPECT_EQ(system.Order(), "Socket SetOption SetOption Resolve Connect");
        EXPECT_EQ(FieldAt(tried, LastErrorPlace), error);
        EXPECT_EQ(tried.CloseConnection(), VI_SUCCESS);
        EXPECT_EQ(system.Count(Call::Close), 1U);
    }
}

TEST_F(SessionTCPIPFaults, HostUnreachableLaterReadsAsNotFoundUnlikeAtOnce) {
    system.Next(Call::PendingError, EHOSTUNREACH);
    EXPECT_EQ(Open(session, Resource), VI_ERROR_RSRC_NFOUND);
    EXPECT_EQ(system.Order(), std::string(Opening) + " Close");
    EXPECT_EQ(LastError(), EHOSTUNREACH);
    ExpectNoSocket();
}

TEST_F(SessionTCPIPFaults, RefusedLaterReadsAsNotFound) {
    system.Next(Call::PendingError, ECONNREFUSED);
    EXPECT_EQ(Open(session, Resource), VI_ERROR_RSRC_NFOUND);
    EXPECT_EQ(LastError(), ECONNREFUSED);
    ExpectNoSocket();
}

// 100 among the socket errors is the mark of a connect that timed out, also when the system says
// it.
TEST_F(SessionTCPIPFaults, NetworkDownLaterReadsAsTimeOut) {
    system.Next(Call::PendingError, 100);
    EXPECT_EQ(Open(session, Resource), VI_ERROR_TMO);
    ExpectNoSocket();
}

TEST_F(SessionTCPIPFaults, NoHandshakeInFiveSecondsReadsAsTimeOut) {
    system.Always(Call::Wait, 0);
    EXPECT_EQ(Open(session, Resource), VI_ERROR_TMO);
    EXPECT_EQ(system.Elapsed(), 5000ms);
    EXPECT_EQ(system.Order(), "Socket SetOption SetOption Resolve Connect Wait Close");
    EXPECT_EQ(LastError(), 100);
    ExpectNoSocket();
}

TEST_F(SessionTCPIPFaults, OpenTimeoutArgumentIsIgnored) {
    for (const unsigned long argument : {0UL, 1UL, 60000UL, 0xFFFFFFFFUL}) {
        CSessionTCPIP tried;
        system.Next(Call::Wait, 0).ForgetCalls();
        EXPECT_EQ(Open(tried, Resource, argument), VI_ERROR_TMO);
        EXPECT_EQ(system.RecordsOf(Call::Wait).at(0).argument, 5000);
    }
}

TEST_F(SessionTCPIPFaults, SignalWhileConnectingLeavesTheRestOfTheTime) {
    system.Next(Call::Wait, -1, EINTR).Next(Call::Wait, -1, EINTR).Next(Call::Wait, 0);
    system.OnEach(Call::Wait, [this] {
        if (system.Count(Call::Wait) <= 2) {
            system.Advance(1500ms);
        }
    });
    EXPECT_EQ(Open(session, Resource), VI_ERROR_TMO);
    const auto waits = system.RecordsOf(Call::Wait);
    ASSERT_EQ(waits.size(), 3U);
    EXPECT_EQ(waits[0].argument, 5000);
    EXPECT_EQ(waits[1].argument, 3500);
    EXPECT_EQ(waits[2].argument, 2000);
    EXPECT_EQ(system.Elapsed(), 5000ms);
}

TEST_F(SessionTCPIPFaults, SignalAfterTheConnectTimeEndsTheWait) {
    system.Next(Call::Wait, -1, EINTR).Next(Call::Wait, 0);
    system.OnEach(Call::Wait, [this] { system.Advance(6000ms); });
    EXPECT_EQ(Open(session, Resource), VI_ERROR_TMO);
    EXPECT_EQ(system.RecordsOf(Call::Wait).at(1).argument, 0);
}

TEST_F(SessionTCPIPFaults, SignalWhileConnectingDoesNotStopTheSuccess) {
    system.Next(Call::Wait, -1, EINTR);
    EXPECT_EQ(Open(session, Resource), VI_SUCCESS);
    EXPECT_EQ(system.Count(Call::Wait), 2U);
}

TEST_F(SessionTCPIPFaults, WaitThatFailsLeavesTheVerdictToThePendingError) {
    system.Next(Call::Wait, -1, ENOMEM).Next(Call::PendingError, ECONNREFUSED);
    EXPECT_EQ(Open(session, Resource), VI_ERROR_RSRC_NFOUND);
    system.Next(Call::Wait, -1, ENOMEM);
    EXPECT_EQ(Open(session, Resource), VI_SUCCESS);
}

TEST_F(SessionTCPIPFaults, WaitsForWritabilityWhileConnecting) {
    Open(session, Resource);
    EXPECT_NE(system.RecordsOf(Call::Wait).at(0).first & POLLOUT, 0);
    EXPECT_EQ(system.RecordsOf(Call::Wait).at(0).first & POLLIN, 0);
}

// ---- Closing ----

TEST_F(SessionTCPIPFaults, ClosingWithoutASocketCallsNothing) {
    ExpectNoSocket();
}

TEST_F(SessionTCPIPFaults, ClosesAfterShutdownAndDrain) {
    OpenIt();
    system.Incoming(std::string(100000, 'x'));
    EXPECT_EQ(session.CloseConnection(), VI_SUCCESS);
    EXPECT_EQ(system.Order(), "ShutdownSending Receive Receive Receive Close");
    EXPECT_EQ(system.RecordsOf(Call::Receive).at(0).argument, 65535);
    ExpectNoSocket();
}

TEST_F(SessionTCPIPFaults, DrainEndsAtThePeersEnd) {
    OpenIt();
    system.Incoming("x").Next(Call::Receive, 0).Next(Call::Receive, 1);
    EXPECT_EQ(session.CloseConnection(), VI_SUCCESS);
    EXPECT_EQ(system.Order(), "ShutdownSending Receive Receive Close");
}

TEST_F(SessionTCPIPFaults, DrainEndsAtAnErrorAndClosesStill) {
    OpenIt();
    system.Next(Call::Receive, -1, ECONNRESET);
    EXPECT_EQ(session.CloseConnection(), VI_SUCCESS);
    EXPECT_EQ(system.Order(), Closing);
}

TEST_F(SessionTCPIPFaults, ShutdownOfAnUnconnectedSocketClosesIt) {
    OpenIt();
    system.Next(Call::ShutdownSending, -1, ENOTCONN);
    EXPECT_EQ(session.CloseConnection(), VI_SUCCESS);
    EXPECT_EQ(system.Order(), Closing);
    ExpectNoSocket();
}

TEST_F(SessionTCPIPFaults, ShutdownThatFailsOtherwiseForgetsTheSocketWithoutClosing) {
    for (const int error : {EBADF, ENOTSOCK, EINVAL}) {
        SCOPED_TRACE(std::strerror(error));
        OpenIt();
        system.Next(Call::ShutdownSending, -1, error);
        EXPECT_EQ(session.CloseConnection(), VI_ERROR_CLOSING_FAILED);
        EXPECT_EQ(system.Order(), "ShutdownSending");
        ExpectNoSocket();
    }
}

TEST_F(SessionTCPIPFaults, CloseOfSomethingElseThanASocketIsASuccess) {
    OpenIt();
    system.Next(Call::Close, -1, ENOTSOCK);
    EXPECT_EQ(session.CloseConnection(), VI_SUCCESS);
    ExpectNoSocket();
}

TEST_F(SessionTCPIPFaults, CloseThatFailsOtherwiseForgetsTheSocketAndSaysSo) {
    for (const int error : {EBADF, EINTR, EIO}) {
        SCOPED_TRACE(std::strerror(error));
        OpenIt();
        system.Next(Call::Close, -1, error);
        EXPECT_EQ(session.CloseConnection(), VI_ERROR_CLOSING_FAILED);
        EXPECT_EQ(system.Order(), Closing);
        ExpectNoSocket();
    }
}

TEST_F(SessionTCPIPFaults, DestructorCloses) {
    {
        CSessionTCPIP mortal;
        ASSERT_EQ(Open(mortal, Resource), VI_SUCCESS);
        system.ForgetCalls();
    }
    EXPECT_EQ(system.Order(), Closing);
}

// ---- Reading ----

TEST_F(SessionTCPIPFaults, ReadTimesOutAfterMoreThanTheTimeOut) {
    OpenIt();
    SetTimeout(100);
    system.Always(Call::Wait, 0);
    EXPECT_EQ(Read(session, 10), Received("", VI_ERROR_TMO));
    EXPECT_EQ(system.Elapsed(), 101ms);
}

TEST_F(SessionTCPIPFaults, ByteThatComesInTheLastMillisecondCompletesTheRead) {
    OpenIt();
    SetTimeout(100);
    system.Always(Call::Wait, 0).Incoming("1");
    system.OnEach(Call::Receive, [this, arrived = false]() mutable {
        if (system.Elapsed() == 100ms && !arrived) {
            system.Incoming("2");
            arrived = true;
        }
    });
    EXPECT_EQ(Read(session, 2), Received("12"));
    EXPECT_EQ(system.Elapsed(), 100ms);
}

TEST_F(SessionTCPIPFaults, ReadWithTimeoutZeroWaitsForTheNextTick) {
    OpenIt();
    SetTimeout(0);
    system.Always(Call::Wait, 0);
    EXPECT_EQ(Read(session, 10), Received("", VI_ERROR_TMO));
    EXPECT_EQ(system.Elapsed(), 1ms);
}

TEST_F(SessionTCPIPFaults, ReadWithTimeoutZeroTakesWhatIsThere) {
    OpenIt();
    SetTimeout(0);
    system.Always(Call::Wait, 0).Incoming("1.23");
    EXPECT_EQ(Read(session, 10), Received("1.23", VI_ERROR_TMO));
    system.Incoming("1.23");
    EXPECT_EQ(Read(session, 4), Received("1.23"));
}

TEST_F(SessionTCPIPFaults, LateReceiveThatFillsTheBufferAtOnceIsASuccess) {
    OpenIt();
    SetTimeout(100);
    system.OnEach(Call::Receive, [this] { system.Advance(5000ms); });
    system.Incoming("1234");
    EXPECT_EQ(Read(session, 4), Received("1234"));
}

// Up to a line feed a byte is a receive of its own, so only a buffer of one byte is filled at once.
TEST_F(SessionTCPIPFaults, LateBytesInLineModeTimeOutUnlessOneByteFillsTheBuffer) {
    OpenIt();
    SetTimeout(100);
    SetLineMode();
    system.OnEach(Call::Receive, [this] { system.Advance(5000ms); });
    system.Incoming("1");
    EXPECT_EQ(Read(session, 1), Received("1"));
    system.Incoming("1234");
    const Transfer late = Read(session, 4);
    EXPECT_EQ(late.status, VI_ERROR_TMO);
    EXPECT_EQ(late.data + system.Unread(), "1234");
}

TEST_F(SessionTCPIPFaults, LateReceiveThatCompletesAnEarlierOneTimesOutOnPurpose) {
    OpenIt();
    SetTimeout(100);
    system.Incoming("12");
    system.OnEach(Call::Wait, [this] {
        system.Advance(5000ms);
        system.Incoming("34");
    });
    EXPECT_EQ(Read(session, 4), Received("1234", VI_ERROR_TMO));
}

TEST_F(SessionTCPIPFaults, ReadErrorLosesTheConnectionAndReportsWhatCameBefore) {
    OpenIt();
    system.Incoming("abc").Next(Call::Receive, -1, ECONNRESET);
    EXPECT_EQ(Read(session, 10), Received("abc", VI_ERROR_CONN_LOST));
    EXPECT_EQ(system.Order(), "Receive Receive ShutdownSending Receive Close");
    ExpectNoSocket();
}

TEST_F(SessionTCPIPFaults, ReadErrorInLineModeLosesTheConnectionToo) {
    OpenIt();
    SetLineMode();
    system.Incoming("abc").Next(Call::Receive, -1, ETIMEDOUT);
    EXPECT_EQ(Read(session, 10), Received("abc", VI_ERROR_CONN_LOST));
    ExpectNoSocket();
}

TEST_F(SessionTCPIPFaults, AnyReceiveErrorButEagainLosesTheConnection) {
    for (const int error : {EBADF, ENOTCONN, EINTR, ENOMEM, EHOSTUNREACH}) {
        SCOPED_TRACE(std::strerror(error));
        OpenIt();
        system.Next(Call::Receive, -1, error);
        EXPECT_EQ(Read(session, 10), Received("", VI_ERROR_CONN_LOST));
        ExpectNoSocket();
    }
}

TEST_F(SessionTCPIPFaults, ReadErrorWhoseClosingFailsIsStillALostConnection) {
    OpenIt();
    system.Next(Call::Receive, -1, EBADF).Next(Call::ShutdownSending, -1, EBADF);
    EXPECT_EQ(Read(session, 10), Received("", VI_ERROR_CONN_LOST));
    ExpectNoSocket();
}

TEST_F(SessionTCPIPFaults, SignalsAndEmptyReceivesDoNotEndARead) {
    OpenIt();
    SetTimeout(1000);
    system.Next(Call::Wait, -1, EINTR).Next(Call::Wait, -1, EINTR).Next(Call::Wait, 1);
    system.OnEach(Call::Wait, [this] {
        if (system.Count(Call::Wait) == 3) {
            system.Incoming("ok");
        }
    });
    EXPECT_EQ(Read(session, 2), Received("ok"));
}

TEST_F(SessionTCPIPFaults, ClosedPeerReadsAsSilenceUntilTheTimeOut) {
    OpenIt();
    SetTimeout(2000);
    system.Incoming("abc").Always(Call::Receive, 0);
    EXPECT_EQ(Read(session, 10), Received("abc", VI_ERROR_TMO));
    EXPECT_EQ(system.Elapsed(), 2001ms);
    EXPECT_LT(system.Count(Call::Receive), 500U) << "an idle read must sleep";
    EXPECT_EQ(Socket(), 1000);
}

TEST_F(SessionTCPIPFaults, ClockSetForwardEndsTheRead) {
    OpenIt();
    SetTimeout(60000);
    system.Next(Call::Wait, 0);
    system.OnEach(Call::Wait, [this] { system.Advance(3600s); });
    EXPECT_EQ(Read(session, 10), Received("", VI_ERROR_TMO));
    EXPECT_EQ(system.Count(Call::Wait), 1U);
}

TEST_F(SessionTCPIPFaults, ClockSetBackEndsTheReadToo) {
    OpenIt();
    SetTimeout(60000);
    system.Next(Call::Wait, 0);
    system.OnEach(Call::Wait, [this] { system.Advance(-3600s); });
    EXPECT_EQ(Read(session, 10), Received("", VI_ERROR_TMO));
    EXPECT_EQ(system.Count(Call::Wait), 1U);
}

TEST_F(SessionTCPIPFaults, ClockThatIsSetIsNoticedWithinASecond) {
    OpenIt();
    SetTimeout(60000);
    system.Always(Call::Wait, 0);
    EXPECT_EQ(Read(session, 10), Received("", VI_ERROR_TMO));
    for (const CallRecord& wait : system.RecordsOf(Call::Wait)) {
        ASSERT_LE(wait.argument, 1000);
    }
}

TEST_F(SessionTCPIPFaults, LineModeTakesNothingBehindTheLineFeed) {
    OpenIt();
    SetLineMode();
    system.Incoming("1.23\nREST");
    EXPECT_EQ(Read(session, 100), Received("1.23\n", VI_SUCCESS_TERM_CHAR));
    EXPECT_EQ(system.Unread(), "REST");
}

// ---- Writing ----

TEST_F(SessionTCPIPFaults, ShortSendsAreContinued) {
    OpenIt();
    system.Next(Call::Send, 3).Next(Call::Send, 1).Next(Call::Send, 4);
    EXPECT_EQ(Write(session, "*IDN?;*OPC?\n"), Sent(12));
    EXPECT_EQ(system.Sent(), "*IDN?;*OPC?\n");
    EXPECT_EQ(system.Order(), "Send Send Send Send");
}

TEST_F(SessionTCPIPFaults, SendThatWouldBlockWaitsForRoom) {
    OpenIt();
    system.Next(Call::Send, 2).Next(Call::Send, -1, EAGAIN).Next(Call::Wait, 1);
    EXPECT_EQ(Write(session, "abcdef"), Sent(6));
    EXPECT_EQ(system.Sent(), "abcdef");
    EXPECT_EQ(system.Order(), "Send Send Wait Send");
    EXPECT_EQ(system.RecordsOf(Call::Wait).at(0).first, POLLOUT);
}

TEST_F(SessionTCPIPFaults, WriteTimesOutWithTheTimeOutReached) {
    OpenIt();
    SetTimeout(100);
    system.Always(Call::Send, -1, EAGAIN).Always(Call::Wait, 0);
    EXPECT_EQ(Write(session, "abc").status, VI_ERROR_TMO);
    EXPECT_EQ(system.Elapsed(), 100ms);
}

TEST_F(SessionTCPIPFaults, WriteThatTimesOutReportsNothingWrittenOnPurpose) {
    OpenIt();
    SetTimeout(100);
    system.Next(Call::Send, 3).Always(Call::Send, -1, EAGAIN).Always(Call::Wait, 0);
    const Transfer nothing{VI_ERROR_TMO, 0};
    EXPECT_EQ(Write(session, "abcdef"), nothing);
    EXPECT_EQ(system.Sent(), "abc");
    EXPECT_EQ(Socket(), 1000) << "a time-out keeps the connection";
}

TEST_F(SessionTCPIPFaults, WriteWithTimeoutZeroTriesOnce) {
    OpenIt();
    SetTimeout(0);
    system.Next(Call::Send, 3);
    const Transfer nothing{VI_ERROR_TMO, 0};
    EXPECT_EQ(Write(session, "abcdef"), nothing);
    EXPECT_EQ(system.Order(), "Send");
    EXPECT_EQ(Write(session, "abcdef"), Sent(6)) << "what fits at once succeeds";
}

TEST_F(SessionTCPIPFaults, LateSendThatTakesAllAtOnceIsASuccess) {
    OpenIt();
    SetTimeout(100);
    system.OnEach(Call::Send, [this] { system.Advance(5000ms); });
    EXPECT_EQ(Write(session, "abcdef"), Sent(6));
}

TEST_F(SessionTCPIPFaults, LateSendThatCompletesAnEarlierOneTimesOutOnPurpose) {
    OpenIt();
    SetTimeout(100);
    system.Next(Call::Send, 2);
    system.OnEach(Call::Send, [this] { system.Advance(50ms); });
    const Transfer nothing{VI_ERROR_TMO, 0};
    EXPECT_EQ(Write(session, "abcdef"), nothing);
    EXPECT_EQ(system.Sent(), "abcdef");
}

TEST_F(SessionTCPIPFaults, SendErrorLosesTheConnectionAndReportsWhatWentBefore) {
    for (const int error : {EPIPE, ECONNRESET, EINTR, EBADF, EHOSTUNREACH}) {
        SCOPED_TRACE(std::strerror(error));
        OpenIt();
        system.Next(Call::Send, 3).Next(Call::Send, -1, error);
        const Transfer three{VI_ERROR_CONN_LOST, 3};
        EXPECT_EQ(Write(session, "abcdef"), three);
        EXPECT_EQ(system.Order(), "Send Send ShutdownSending Receive Close");
        ExpectNoSocket();
    }
}

TEST_F(SessionTCPIPFaults, WriteOfFourGigabytesNeverEndsOnPurpose) {
    constexpr std::size_t Size = 0x100000001;
    void* bytes =
        mmap(nullptr, Size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    ASSERT_NE(bytes, MAP_FAILED);
    OpenIt();
    SetTimeout(1000);
    system.Always(Call::Send, 0x40000000);
    system.OnEach(Call::Send, [this] { system.Advance(100ms); });
    unsigned long count = 1;
    EXPECT_EQ(session.Write(static_cast<unsigned char*>(bytes), Size, &count), VI_ERROR_TMO);
    EXPECT_EQ(count, 0UL);
    EXPECT_EQ(system.Count(Call::Send), 10U);
    munmap(bytes, Size);
}

// ---- Reconnecting ----

TEST_F(SessionTCPIPFaults, ClearClosesPausesAndConnectsInThisOrder) {
    OpenIt();
    EXPECT_EQ(session.Clear(), VI_SUCCESS);
    EXPECT_EQ(system.Order(), std::string(Closing) + " " + Attempt + " Wait PendingError");
    EXPECT_EQ(system.RecordsOf(Call::Pause).at(0).argument, 500000);
    EXPECT_EQ(system.RecordsOf(Call::Wait).at(0).argument, 200);
    EXPECT_EQ(Socket(), 1001);
}

TEST_F(SessionTCPIPFaults, ReconnectDrainsBeforeItCloses) {
    OpenIt();
    system.Incoming("left over");
    EXPECT_EQ(session.Reconnect(), VI_SUCCESS);
    EXPECT_EQ(system.Order(), "ShutdownSending Receive Receive Close " + std::string(Attempt) +
                                  " Wait PendingError");
    EXPECT_EQ(system.Unread(), "");
}

TEST_F(SessionTCPIPFaults, ReconnectSetsTheReceiveBuffer) {
    OpenIt();
    session.Reconnect();
    const auto options = system.RecordsOf(Call::SetOption);
    ASSERT_EQ(options.size(), 3U);
    EXPECT_EQ(options[2].first, SOL_SOCKET);
    EXPECT_EQ(options[2].second, SO_RCVBUF);
    EXPECT_EQ(options[2].argument, 65535);
    EXPECT_EQ(OPT_RCVBUF, 65535);
}

TEST_F(SessionTCPIPFaults, ReconnectUsesTheOldAddressAndResolvesNothing) {
    OpenIt();
    session.Reconnect();
    EXPECT_EQ(system.Count(Call::Resolve), 0U);
    const sockaddr_in remote = system.RecordsOf(Call::Connect).at(0).address;
    EXPECT_EQ(ntohs(remote.sin_port), 5025);
    EXPECT_STREQ(inet_ntoa(remote.sin_addr), "10.0.0.5");
}

TEST_F(SessionTCPIPFaults, ReconnectAcceptsAConnectThatSucceedsAtOnceUnlikeOpening) {
    OpenIt();
    system.Next(Call::Connect, 0);
    EXPECT_EQ(session.Reconnect(), VI_SUCCESS);
    EXPECT_EQ(system.Count(Call::Connect), 1U);
}

TEST_F(SessionTCPIPFaults, ReconnectGoesOnFromAConnectThatWouldBlock) {
    OpenIt();
    system.Next(Call::Connect, -1, EAGAIN);
    EXPECT_EQ(session.Reconnect(), VI_SUCCESS);
    EXPECT_EQ(system.Count(Call::Connect), 1U);
}

TEST_F(SessionTCPIPFaults, ReconnectTriesSixTimesAndGivesUp) {
    OpenIt();
    system.Always(Call::Connect, -1, ECONNREFUSED);
    EXPECT_EQ(session.Reconnect(), VI_ERROR_CONN_LOST);
    EXPECT_EQ(system.Order(),
              std::string(Closing) + " " + Repeated(std::string(Attempt) + " " + Closing, 6));
    EXPECT_EQ(system.Elapsed(), 3000ms);
    EXPECT_EQ(LastError(), ECONNREFUSED);
    ExpectNoSocket();
}

TEST_F(SessionTCPIPFaults, ReconnectWithoutAnAnswerTriesForThreeSeconds) {
    OpenIt();
    system.Always(Call::Wait, 0);
    EXPECT_EQ(session.Reconnect(), VI_ERROR_CONN_LOST);
    EXPECT_EQ(system.Order(),
              std::string(Closing) + " " + Repeated(std::string(Attempt) + " Wait " + Closing, 5));
    EXPECT_EQ(system.Elapsed(), 3500ms) << "five times 500 ms and 200 ms";
    EXPECT_EQ(LastError(), EHOSTUNREACH);
    ExpectNoSocket();
}

TEST_F(SessionTCPIPFaults, ReconnectTriesAgainAfterAnErrorThatComesLater) {
    OpenIt();
    system.Next(Call::PendingError, ECONNREFUSED).Next(Call::PendingError, 0);
    EXPECT_EQ(session.Reconnect(), VI_SUCCESS);
    EXPECT_EQ(system.Count(Call::Connect), 2U);
    EXPECT_EQ(system.Elapsed(), 1000ms);
    EXPECT_EQ(LastError(), 0);
}

TEST_F(SessionTCPIPFaults, ReconnectTriesAgainAfterAWaitThatFails) {
    OpenIt();
    system.Next(Call::Wait, -1, ENOMEM);
    EXPECT_EQ(session.Reconnect(), VI_SUCCESS);
    EXPECT_EQ(system.Count(Call::Connect), 2U);
}

TEST_F(SessionTCPIPFaults, SignalWhileReconnectingLeavesTheRestOfTheTime) {
    OpenIt();
    system.Next(Call::Wait, -1, EINTR);
    system.OnEach(Call::Wait, [this] { system.Advance(50ms); });
    EXPECT_EQ(session.Reconnect(), VI_SUCCESS);
    const auto waits = system.RecordsOf(Call::Wait);
    ASSERT_EQ(waits.size(), 2U);
    EXPECT_EQ(waits[1].argument, 150);
    EXPECT_EQ(system.Count(Call::Connect), 1U);
}

TEST_F(SessionTCPIPFaults, ReconnectFailsAtOnceWithoutASocket) {
    OpenIt();
    system.Next(Call::Socket, -1, EMFILE);
    EXPECT_EQ(session.Reconnect(), VI_ERROR_CONN_LOST);
    EXPECT_EQ(system.Order(), std::string(Closing) + " Socket");
}

TEST_F(SessionTCPIPFaults, ReconnectFailsAtOnceWhenTheSocketWouldBlock) {
    OpenIt();
    system.Next(Call::SetNonBlocking, -1, EBADF);
    EXPECT_EQ(session.Reconnect(), VI_ERROR_CONN_LOST);
    EXPECT_EQ(system.Count(Call::Connect), 0U);
    EXPECT_EQ(system.Count(Call::Pause), 0U);
}

TEST_F(SessionTCPIPFaults, ReconnectFailsAtOnceWhenTheReceiveBufferCannotBeSet) {
    OpenIt();
    system.Next(Call::SetOption, 0).Next(Call::SetOption, 0).Next(Call::SetOption, -1, ENOMEM);
    EXPECT_EQ(session.Reconnect(), VI_ERROR_CONN_LOST);
    EXPECT_EQ(system.Count(Call::Connect), 0U);
}

TEST_F(SessionTCPIPFaults, ReconnectMindsNoFailureOfKeepAliveAndNoDelay) {
    OpenIt();
    system.Next(Call::SetOption, -1, EINVAL).Next(Call::SetOption, -1, EINVAL);
    EXPECT_EQ(session.Reconnect(), VI_SUCCESS);
}

TEST_F(SessionTCPIPFaults, ReconnectFailsWhenTheOldSocketDoesNotClose) {
    OpenIt();
    system.Next(Call::Close, -1, EIO);
    EXPECT_EQ(session.Reconnect(), VI_ERROR_CONN_LOST);
    EXPECT_EQ(system.Order(), Closing);
    system.ForgetCalls();
    EXPECT_EQ(session.Reconnect(), VI_SUCCESS) << "the old socket is forgotten by now";
}

TEST_F(SessionTCPIPFaults, ReconnectClosesThroughTheVirtualTable) {
    class Derived : public CSessionTCPIP {
    public:
        long CloseConnection() override {
            ++closings;
            return VI_ERROR_CLOSING_FAILED;
        }
        int closings = 0;
    };
    Derived derived;
    EXPECT_EQ(derived.Reconnect(), VI_ERROR_CONN_LOST);
    EXPECT_EQ(derived.closings, 1);
    EXPECT_EQ(system.Order(), "");
}

TEST_F(SessionTCPIPFaults, ReadReconnectsALostConnectionFirst) {
    OpenIt();
    session.CloseConnection();
    system.ForgetCalls();
    system.OnEach(Call::PendingError, [this] { system.Incoming("ok"); });
    EXPECT_EQ(Read(session, 2), Received("ok"));
    EXPECT_EQ(system.Order(), std::string(Attempt) + " Wait PendingError Receive");
}

TEST_F(SessionTCPIPFaults, WriteReconnectsALostConnectionFirst) {
    OpenIt();
    session.CloseConnection();
    system.ForgetCalls();
    EXPECT_EQ(Write(session, "abc"), Sent(3));
    EXPECT_EQ(system.Order(), std::string(Attempt) + " Wait PendingError Send");
}

TEST_F(SessionTCPIPFaults, TransfersFailWhenNothingCanBeReconnected) {
    OpenIt();
    session.CloseConnection();
    system.Always(Call::Socket, -1, EMFILE);
    const Transfer lost{VI_ERROR_CONN_LOST, 0};
    EXPECT_EQ(Read(session, 2), lost);
    EXPECT_EQ(Write(session, "abc"), lost);
}

// The time-out of a transfer starts behind the reconnection.
TEST_F(SessionTCPIPFaults, ReconnectionTakesNothingFromTheTimeOut) {
    OpenIt();
    session.CloseConnection();
    SetTimeout(100);
    system.Next(Call::Wait, 1).Always(Call::Wait, 0);
    EXPECT_EQ(Read(session, 2), Received("", VI_ERROR_TMO));
    EXPECT_EQ(system.Elapsed(), 601ms);
}

TEST_F(SessionTCPIPFaults, GetConnectedIsFalseWithoutASocketOnly) {
    EXPECT_FALSE(session.GetConnected());
    OpenIt();
    EXPECT_TRUE(session.GetConnected());
    EXPECT_EQ(system.Order(), "") << "descriptors other than 0 are not examined";
}

TEST_F(SessionTCPIPFaults, DescriptorZeroThatCannotBeClosedIsKept) {
    const WithoutStandardInput closed;
    system.PretendSockets(0);
    OpenIt();
    system.Next(Call::Close, -1, EIO);
    EXPECT_FALSE(session.GetConnected());
    EXPECT_EQ(Socket(), 0);
    EXPECT_FALSE(session.GetConnected());
    EXPECT_EQ(Socket(), -1);
    EXPECT_EQ(system.Order(), "Close Close");
}

TEST_F(SessionTCPIPFaults, FreeFunctionsGoThroughTheSystem) {
    system.Next(Call::PendingError, EPIPE).Next(Call::Socket, -1, ENFILE);
    EXPECT_EQ(geterror(1000), EPIPE);
    EXPECT_EQ(geterror(1000), 0);
    EXPECT_EQ(CreateSocket(), -1);
    EXPECT_EQ(CreateSocket(), 1000);
    EXPECT_EQ(system.Order(), "PendingError PendingError Socket Socket SetOption SetOption");
}
