#include "transports/SessionUSOCK.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>

#include <sys/socket.h>

#include "support/ScriptedPeer.h"
#include "support/SocketPath.h"
#include "transports/SessionIO.h"

using namespace std::chrono_literals;
using namespace uxvisa::test;
using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStdout;

namespace {

class SessionUSOCK : public ::testing::Test {
protected:
    void OpenIt() {
        peer.Start();
        ASSERT_EQ(Open(session, path.Resource()), VI_SUCCESS);
        ASSERT_EQ(session.SetAttribute(VI_ATTR_TMO_VALUE, 20000), VI_SUCCESS);
    }

    SocketPath path;
    ScriptedPeer peer{PeerListener::OnPath(path.Get())};
    CSessionUSOCK session;
};

std::string SaidWhileOpening(const std::string& resource, long expected) {
    CSessionUSOCK session;
    CaptureStdout();
    EXPECT_EQ(Open(session, resource), expected);
    return GetCapturedStdout();
}

} // namespace

TEST_F(SessionUSOCK, WritesAndReads) {
    peer.Accept().Expect("*IDN?\n").Send("Orvane\nrest").Close();
    OpenIt();
    EXPECT_EQ(Write(session, "*IDN?\n"), Sent(6));
    ASSERT_EQ(session.SetAttribute(VI_ATTR_TERMCHAR_EN, 1), VI_SUCCESS);
    EXPECT_EQ(Read(session, 100), Received("Orvane\n", VI_SUCCESS_TERM_CHAR));
    EXPECT_EQ(Read(session, 4), Received("rest"));
}

TEST_F(SessionUSOCK, WhatFollowsTheLineFeedStaysInTheSocket) {
    peer.Accept().Send("one\ntwo\n").Close();
    OpenIt();
    session.SetAttribute(VI_ATTR_TERMCHAR_EN, 1);
    EXPECT_EQ(Read(session, 100), Received("one\n", VI_SUCCESS_TERM_CHAR));
    EXPECT_EQ(Read(session, 2), Received("tw"));
    EXPECT_EQ(Read(session, 100), Received("o\n", VI_SUCCESS_TERM_CHAR));
}

TEST_F(SessionUSOCK, ALongLineCostsOnePausePerReceiveAndNotOnePerByte) {
    const std::string line = std::string(200000, 'x') + "\n";
    peer.Accept().Send(line).Close();
    OpenIt();
    session.SetAttribute(VI_ATTR_TERMCHAR_EN, 1);
    const Stopwatch watch;
    EXPECT_EQ(Read(session, 300000), Received(line, VI_SUCCESS_TERM_CHAR));
    EXPECT_LT(watch.Elapsed(), 20s); // a pause of 500 µs per byte would be 100 s
}

TEST_F(SessionUSOCK, ASilentLivePeerBlocksARead) {
    peer.Accept().Pause(600ms).Send("late").Close();
    OpenIt();
    session.SetAttribute(VI_ATTR_TMO_VALUE, 1);
    const Stopwatch watch;
    const Transfer read = Read(session, 100);
    EXPECT_GE(watch.Elapsed(), 400ms);
    EXPECT_EQ(read, Received("late", VI_ERROR_TMO));
}

TEST_F(SessionUSOCK, AClosedPeerReadsAsSilenceUntilTheTimeOut) {
    peer.Accept().Send("ab").Close();
    OpenIt();
    session.SetAttribute(VI_ATTR_TMO_VALUE, 300);
    const Stopwatch watch;
    EXPECT_EQ(Read(session, 10), Received("ab", VI_ERROR_TMO));
    EXPECT_GE(watch.Elapsed(), 300ms);
}

TEST_F(SessionUSOCK, ClosingWaitsForThePeerOnPurpose) {
    peer.Accept().Send("unread").Pause(500ms).Close();
    OpenIt();
    const Stopwatch watch;
    EXPECT_EQ(session.CloseConnection(), VI_SUCCESS);
    EXPECT_GE(watch.Elapsed(), 300ms);
    EXPECT_EQ(session.CloseConnection(), VI_SUCCESS);
}

TEST_F(SessionUSOCK, AFailedReconnectReportsSuccessAndTheNextTransferTheLossOnPurpose) {
    peer.Accept().StopListening().Close();
    OpenIt();
    peer.Finish();
    EXPECT_EQ(session.Clear(), VI_SUCCESS);
    EXPECT_FALSE(session.GetConnectionState());
    EXPECT_EQ(Write(session, "x"), (Transfer{VI_ERROR_CONN_LOST, 0}));
    EXPECT_EQ(Read(session, 1).status, VI_ERROR_CONN_LOST);
}

TEST_F(SessionUSOCK, ClearingConnectsAnew) {
    peer.Accept().Close().Accept().Expect("again").Close();
    OpenIt();
    EXPECT_EQ(session.Clear(), VI_SUCCESS);
    EXPECT_EQ(Write(session, "again"), Sent(5));
}

TEST_F(SessionUSOCK, APeerThatLeftUnreadDataIsNoticedBeforeTheNextWrite) {
    peer.Accept().Await("written").StopListening().Close();
    OpenIt();
    EXPECT_EQ(Write(session, "never read"), Sent(10));
    peer.Signal("written");
    peer.Finish();
    CaptureStdout();
    EXPECT_EQ(Write(session, "x"), (Transfer{VI_ERROR_CONN_LOST, 0}));
    EXPECT_EQ(GetCapturedStdout(), "IsConnectedState:Connection reset by peer\n");
}

TEST_F(SessionUSOCK, APeerThatClosedCleanlyShowsInTheSend) {
    peer.Accept().StopListening().Close();
    OpenIt();
    peer.Finish();
    EXPECT_TRUE(session.GetConnectionState());
    EXPECT_EQ(Write(session, "x"), (Transfer{VI_ERROR_CONN_LOST, 0}));
}

TEST_F(SessionUSOCK, ReportsSerialInterfaceTypeOnPurpose) {
    peer.Accept().Close();
    OpenIt();
    ViUInt16 type = 0;
    EXPECT_EQ(session.GetAttribute(VI_ATTR_INTF_TYPE, &type), VI_SUCCESS);
    EXPECT_EQ(type, VI_INTF_ASRL);
    ViUInt32 timeout = 0;
    EXPECT_EQ(session.GetAttribute(VI_ATTR_TMO_VALUE, &timeout), VI_SUCCESS);
    EXPECT_EQ(timeout, 20000UL);
    EXPECT_EQ(session.GetAttribute(VI_ATTR_TMO_VALUE, nullptr), VI_ERROR_NSUP_ATTR_STATE);
    EXPECT_EQ(session.SetAttribute(VI_ATTR_TERMCHAR, '\n'), VI_ERROR_NSUP_ATTR);
}

TEST(SessionUSOCKOpening, SaysWhyAndFindsNothing) {
    const SocketPath absent;
    EXPECT_EQ(SaidWhileOpening(absent.Resource(), VI_ERROR_RSRC_NFOUND),
              "No such file or directory\n");
    const SocketPath refused;
    {
        const Descriptor bound(socket(AF_UNIX, SOCK_STREAM, 0));
        sockaddr_un name{};
        name.sun_family = AF_UNIX;
        std::strcpy(name.sun_path, refused.Get().c_str());
        ASSERT_EQ(bind(bound.Get(), reinterpret_cast<sockaddr*>(&name), sizeof name), 0);
    }
    EXPECT_EQ(SaidWhileOpening(refused.Resource(), VI_ERROR_RSRC_NFOUND), "Connection refused\n");
}

TEST(SessionUSOCKOpening, TheFieldCountIsNotChecked) {
    const SocketPath path;
    ScriptedPeer peer{PeerListener::OnPath(path.Get())};
    peer.Accept().Close().Start();
    CSessionUSOCK session;
    EXPECT_EQ(Open(session, "USOCK::" + path.Get()), VI_SUCCESS);
    EXPECT_EQ(SaidWhileOpening("USOCK", VI_ERROR_INV_RSRC_NAME), "");
}

TEST(SessionUSOCKOpening, PathsUpTo108BytesAreNeverCut) {
    for (const std::size_t size : {107UL, 108UL}) {
        const SocketPath path(size);
        const Descriptor listener(socket(AF_UNIX, SOCK_STREAM, 0));
        sockaddr_un name{};
        name.sun_family = AF_UNIX;
        std::memcpy(name.sun_path, path.Get().data(), size);
        ASSERT_EQ(bind(listener.Get(), reinterpret_cast<sockaddr*>(&name), sizeof name), 0);
        ASSERT_EQ(listen(listener.Get(), 1), 0);
        CSessionUSOCK session;
        EXPECT_EQ(Open(session, path.Resource()), VI_SUCCESS) << size;
        const Descriptor accepted(accept(listener.Get(), nullptr, nullptr));
        EXPECT_NE(accepted.Get(), -1);
        ::shutdown(accepted.Get(), SHUT_WR);
        EXPECT_EQ(session.CloseConnection(), VI_SUCCESS);
    }
    const SocketPath path(120);
    EXPECT_EQ(SaidWhileOpening(path.Resource(), VI_ERROR_RSRC_NFOUND), "File name too long\n");
}

TEST(SessionUSOCKClosed, TransfersReportTheLossAndClosingSucceeds) {
    CSessionUSOCK session;
    EXPECT_EQ(session.CloseConnection(), VI_SUCCESS);
    EXPECT_EQ(Write(session, "x").status, VI_ERROR_CONN_LOST);
}

TEST(SessionUSOCKConnectionCheck, SaysWhatIsPendingOrWrong) {
    CSessionUSOCK session;
    CaptureStdout();
    EXPECT_FALSE(session.IsConnectedU(-1));
    EXPECT_EQ(GetCapturedStdout(), "IsConnectedState:Unknown error -1\n");
}

namespace {

std::string FoundWith(const char* expression, int error) {
    CSessionUSOCK session;
    std::string found;
    std::string copy = expression;
    errno = error;
    EXPECT_EQ(session.FindResources(
                  copy.data(),
                  [](ISession*, const char* record, void* context) -> long {
                      *static_cast<std::string*>(context) += record;
                      return 0;
                  },
                  &found),
              VI_SUCCESS);
    return found;
}

} // namespace

TEST(SessionUSOCKSearch, TheEmulatorIsReportedOnlyWithTheCallersErrnoOnPurpose) {
    const std::string record = "TCPIP::localhost::8888::SOCKET\nOrvane\nEmulator\n\n\n127.0.0.1";
    for (const char* expression :
         {"", "TCPIP", "TCPIP?*", "KX10", "KX20", "KX30", "KX40", "KX50"}) {
        EXPECT_EQ(FoundWith(expression, EALREADY), record) << expression;
        EXPECT_EQ(FoundWith(expression, 0), "") << expression;
    }
    EXPECT_EQ(FoundWith("kx10", EALREADY), "");
    EXPECT_EQ(FoundWith("?*", EALREADY), "");
}

TEST(SessionUSOCKSearch, ANullExpressionRaisesTheStringsExceptionOnPurpose) {
    CSessionUSOCK session;
    EXPECT_THROW(session.FindResources(nullptr, nullptr, nullptr), std::logic_error);
}

TEST(SessionUSOCKSearch, TheRequestIsSixteenBytesAndItsNul) {
    CSessionUSOCK session;
    char request[32];
    EXPECT_EQ(session.FillRequest(request, sizeof request), 16);
    EXPECT_STREQ(request, "UxVISA Discovery");
}
