// What every stream session does alike, once per kind of socket.
#include <gtest/gtest.h>

#include <numeric>

#include "support/ScriptedPeer.h"
#include "support/SocketPath.h"
#include "transports/SessionIO.h"
#include "transports/SessionTCPIP.h"
#include "transports/SessionUSOCK.h"

using namespace std::chrono_literals;
using namespace uxvisa::test;

namespace {

struct OnTcp {
    using Session = CSessionTCPIP;
    PeerListener Listener() const { return PeerListener::OnTcp(); }
    std::string Resource(const ScriptedPeer& peer) const { return peer.Resource(); }
};

struct OnPath {
    using Session = CSessionUSOCK;
    PeerListener Listener() const { return PeerListener::OnPath(path.Get()); }
    std::string Resource(const ScriptedPeer&) const { return path.Resource(); }
    SocketPath path;
};

// Every script ends with Close(): a local session waits for it when it is closed.
template <typename Kind>
class StreamConformance : public ::testing::Test {
protected:
    void OpenIt() {
        peer.Start();
        ASSERT_EQ(Open(session, kind.Resource(peer)), VI_SUCCESS);
        ASSERT_EQ(session.SetAttribute(VI_ATTR_TMO_VALUE, 20000), VI_SUCCESS);
    }
    void SetLineMode() { ASSERT_EQ(session.SetAttribute(VI_ATTR_TERMCHAR_EN, 1), VI_SUCCESS); }

    Kind kind;
    ScriptedPeer peer{kind.Listener()};
    typename Kind::Session session;
};

std::string Lines(std::size_t count) {
    std::string text;
    for (std::size_t i = 0; i < count; ++i) {
        text += std::string(i * 7 % 900, static_cast<char>('a' + i % 26)) + "\n";
    }
    return text;
}

using Kinds = ::testing::Types<OnTcp, OnPath>;
TYPED_TEST_SUITE(StreamConformance, Kinds);

} // namespace

TYPED_TEST(StreamConformance, AFullBufferIsASuccess) {
    this->peer.Accept().SendPieces("0123456789", {1, 3}, 2ms).Close();
    this->OpenIt();
    EXPECT_EQ(Read(this->session, 10), Received("0123456789"));
}

TYPED_TEST(StreamConformance, ALineEndsWithItsLineFeedAndLeavesTheRest) {
    this->peer.Accept().Send("1.23\nREST").Close();
    this->OpenIt();
    this->SetLineMode();
    EXPECT_EQ(Read(this->session, 100), Received("1.23\n", VI_SUCCESS_TERM_CHAR));
    EXPECT_EQ(Read(this->session, 4), Received("REST"));
}

TYPED_TEST(StreamConformance, ALineThatFillsTheBufferIsAPlainSuccess) {
    this->peer.Accept().Send("abcdef\n").Close();
    this->OpenIt();
    this->SetLineMode();
    EXPECT_EQ(Read(this->session, 3), Received("abc"));
    EXPECT_EQ(Read(this->session, 4), Received("def\n", VI_SUCCESS_TERM_CHAR));
}

TYPED_TEST(StreamConformance, ManyLinesInAnyPiecesComeOneByOne) {
    const std::string text = Lines(60);
    this->peer.Accept().SendPieces(text, {1, 700, 13, 2048}).Close();
    this->OpenIt();
    this->SetLineMode();
    std::string all;
    for (int i = 0; i < 60; ++i) {
        const Transfer line = Read(this->session, 4096);
        ASSERT_EQ(line.status, VI_SUCCESS_TERM_CHAR);
        ASSERT_EQ(line.data.find('\n'), line.data.size() - 1);
        all += line.data;
    }
    EXPECT_TRUE(all == text);
}

TYPED_TEST(StreamConformance, AClosedPeerReadsAsSilence) {
    this->peer.Accept().Send("ab").Close();
    this->OpenIt();
    this->session.SetAttribute(VI_ATTR_TMO_VALUE, 200);
    const Stopwatch watch;
    EXPECT_EQ(Read(this->session, 10), Received("ab", VI_ERROR_TMO));
    EXPECT_GE(watch.Elapsed(), 200ms);
}

TYPED_TEST(StreamConformance, LargeWritesReachASlowReaderWhole) {
    std::string bytes(3000000, '\0');
    std::iota(bytes.begin(), bytes.end(), '\0');
    this->peer.Accept().ExpectSlowly(bytes, 200000, 1ms).Close();
    this->OpenIt();
    EXPECT_EQ(Write(this->session, bytes), Sent(bytes.size()));
}

TYPED_TEST(StreamConformance, NothingIsReadOrWrittenForACountOfZero) {
    this->peer.Accept().Send("x").Close();
    this->OpenIt();
    EXPECT_EQ(Read(this->session, 0), Received(""));
    EXPECT_EQ(Write(this->session, ""), Sent(0));
    EXPECT_EQ(Read(this->session, 1), Received("x"));
}

TYPED_TEST(StreamConformance, NullCountsAreTolerated) {
    this->peer.Accept().Expect("ab").Send("cd").Close();
    this->OpenIt();
    unsigned char bytes[] = {'a', 'b'};
    EXPECT_EQ(this->session.Write(bytes, 2, nullptr), VI_SUCCESS);
    EXPECT_EQ(this->session.Read(bytes, 2, nullptr), VI_SUCCESS);
    EXPECT_EQ(bytes[0], 'c');
}

TYPED_TEST(StreamConformance, AttributesReadBack) {
    this->peer.Accept().Close();
    this->OpenIt();
    ViUInt32 timeout = 0;
    EXPECT_EQ(this->session.GetAttribute(VI_ATTR_TMO_VALUE, &timeout), VI_SUCCESS);
    EXPECT_EQ(timeout, 20000UL);
    ViUInt32 enabled = 0;
    EXPECT_EQ(this->session.GetAttribute(VI_ATTR_TERMCHAR_EN, &enabled), VI_SUCCESS);
    EXPECT_EQ(enabled, 0UL);
    this->SetLineMode();
    EXPECT_EQ(this->session.GetAttribute(VI_ATTR_TERMCHAR_EN, &enabled), VI_SUCCESS);
    EXPECT_EQ(enabled, 1UL);
    EXPECT_EQ(this->session.GetAttribute(VI_ATTR_RSRC_NAME, &enabled), VI_ERROR_NSUP_ATTR);
    EXPECT_EQ(this->session.SetAttribute(VI_ATTR_RSRC_NAME, 1), VI_ERROR_NSUP_ATTR);
}

TYPED_TEST(StreamConformance, ClosingTwiceSucceeds) {
    this->peer.Accept().Close();
    this->OpenIt();
    EXPECT_EQ(this->session.CloseConnection(), VI_SUCCESS);
    EXPECT_EQ(this->session.CloseConnection(), VI_SUCCESS);
}

TYPED_TEST(StreamConformance, ClearingConnectsAnewAndDropsWhatWasUnread) {
    this->peer.Accept().Send("stale").Close().Accept().Send("fresh").Close();
    this->OpenIt();
    EXPECT_EQ(this->session.Clear(), VI_SUCCESS);
    EXPECT_EQ(Read(this->session, 5), Received("fresh"));
}
