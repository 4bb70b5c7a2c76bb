#include "transports/SessionTCPIP.h"

#include <cstring>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "support/Namespace.h"
#include "support/ScriptedPeer.h"
#include "transports/SessionIO.h"

using namespace std::chrono_literals;
using namespace uxvisa::test;

namespace {

constexpr auto VeryLong = 20s;
// Shorter than the time-out of a connect, longer than a busy machine takes for nothing.
constexpr auto Soon = 4s;

constexpr char Own[] = "10.99.0.1";
constexpr char Other[] = "10.99.0.2";
constexpr char NoNeighbour[] = "10.99.0.3";
constexpr char Beyond[] = "10.98.0.1";

std::string ResourceOf(const std::string& host, int port = 5025) {
    return "TCPIP0::" + host + "::" + std::to_string(port) + "::SOCKET";
}

int LastError(const CSessionTCPIP& session) {
    constexpr std::size_t Place = 204;
    int error = 0;
    std::memcpy(&error, reinterpret_cast<const char*>(&session) + Place, sizeof error);
    return error;
}

struct Opening {
    long status = 0;
    int lastError = 0;
    bool keptSocket = false;
    std::chrono::milliseconds time{0};
};

// Two machines, so to say, wired to each other.
class TcpNetwork : public NamespaceTest {
protected:
    void SetUp() override {
        NamespaceTest::SetUp();
        if (IsSkipped() || HasFatalFailure()) {
            return;
        }
        here = std::make_unique<NetworkNamespace>();
        there = std::make_unique<NetworkNamespace>();
    }

    void Wire() const { here->WireTo(*there, Own, Other); }

    Opening OpenFromHere(const std::string& host) const {
        Opening opening;
        here->Do([&] {
            CSessionTCPIP session;
            const Stopwatch watch;
            opening.status = Open(session, ResourceOf(host));
            opening.time = watch.Elapsed();
            opening.lastError = LastError(session);
            opening.keptSocket = session.GetConnected();
            EXPECT_EQ(session.CloseConnection(), VI_SUCCESS);
        });
        return opening;
    }

    std::unique_ptr<ScriptedPeer> PeerThere() const {
        std::unique_ptr<ScriptedPeer> peer;
        there->Do([&] { peer = std::make_unique<ScriptedPeer>(PeerListener::OnTcp(Other)); });
        return peer;
    }

    std::unique_ptr<NetworkNamespace> here;
    std::unique_ptr<NetworkNamespace> there;
};

} // namespace

TEST_F(TcpNetwork, NetworkWithoutARouteReadsAsNotFound) {
    const Opening opening = OpenFromHere(Beyond);
    EXPECT_EQ(opening.status, VI_ERROR_RSRC_NFOUND);
    EXPECT_EQ(opening.lastError, ENETUNREACH);
    EXPECT_TRUE(opening.keptSocket);
    EXPECT_LT(opening.time, Soon);
}

TEST_F(TcpNetwork, UnreachableRouteReadsAsTimeOutAtOnceOnPurpose) {
    here->Ip("route add unreachable 10.98.0.0/16");
    const Opening opening = OpenFromHere(Beyond);
    EXPECT_EQ(opening.status, VI_ERROR_TMO);
    EXPECT_EQ(opening.lastError, EHOSTUNREACH);
    EXPECT_TRUE(opening.keptSocket);
    EXPECT_LT(opening.time, Soon);
}

TEST_F(TcpNetwork, ProhibitedRouteReadsAsNotFound) {
    here->Ip("route add prohibit 10.98.0.0/16");
    const Opening opening = OpenFromHere(Beyond);
    EXPECT_EQ(opening.status, VI_ERROR_RSRC_NFOUND);
    EXPECT_EQ(opening.lastError, EACCES);
}

TEST_F(TcpNetwork, BlackHoleRouteReadsAsNotFound) {
    here->Ip("route add blackhole 10.98.0.0/16");
    EXPECT_EQ(OpenFromHere(Beyond).status, VI_ERROR_RSRC_NFOUND);
}

TEST_F(TcpNetwork, HostThatNeverAnswersReadsAsTimeOutAfterFiveSeconds) {
    Wire();
    here->Ip(std::string("neighbour add ") + NoNeighbour +
             " lladdr 02:00:00:00:00:01 dev wire nud permanent");
    const Opening opening = OpenFromHere(NoNeighbour);
    EXPECT_EQ(opening.status, VI_ERROR_TMO);
    EXPECT_EQ(opening.lastError, 100);
    EXPECT_FALSE(opening.keptSocket);
    EXPECT_GE(opening.time, 4900ms);
    EXPECT_LT(opening.time, VeryLong);
}

// The system asks three times, once a second, who has the address.
TEST_F(TcpNetwork, HostThatNobodyKnowsReadsAsNotFoundUnlikeAnUnreachableRoute) {
    Wire();
    const Opening opening = OpenFromHere(NoNeighbour);
    EXPECT_EQ(opening.status, VI_ERROR_RSRC_NFOUND);
    EXPECT_EQ(opening.lastError, EHOSTUNREACH);
    EXPECT_FALSE(opening.keptSocket);
}

TEST_F(TcpNetwork, HostThatARouterCannotReachReadsAsNotFound) {
    Wire();
    here->Ip(std::string("route add 10.98.0.0/16 via ") + Other);
    there->Ip("route add unreachable 10.98.0.0/16");
    there->Do([] {
        FILE* forward = std::fopen("/proc/sys/net/ipv4/ip_forward", "w");
        ASSERT_NE(forward, nullptr);
        std::fputs("1", forward);
        std::fclose(forward);
    });
    const Opening opening = OpenFromHere(Beyond);
    EXPECT_EQ(opening.status, VI_ERROR_RSRC_NFOUND);
    EXPECT_EQ(opening.lastError, EHOSTUNREACH);
}

TEST_F(TcpNetwork, ClosedPortOfAnotherHostReadsAsNotFound) {
    Wire();
    const Opening opening = OpenFromHere(Other);
    EXPECT_EQ(opening.status, VI_ERROR_RSRC_NFOUND);
    EXPECT_EQ(opening.lastError, ECONNREFUSED);
    EXPECT_FALSE(opening.keptSocket);
    EXPECT_LT(opening.time, Soon);
}

TEST_F(TcpNetwork, LinkThatGoesDownDuringAReadReadsAsSilence) {
    Wire();
    const auto peer = PeerThere();
    peer->Accept().Send("abc").Await("up again").Send("def").Start();
    CSessionTCPIP session;
    here->Do([&] { ASSERT_EQ(Open(session, peer->Resource()), VI_SUCCESS); });
    session.SetAttribute(VI_ATTR_TMO_VALUE, 2000);
    std::thread cutter([&] {
        std::this_thread::sleep_for(500ms);
        there->Ip("link set wire down");
    });
    EXPECT_EQ(Read(session, 100), Received("abc", VI_ERROR_TMO));
    cutter.join();
    there->Ip("link set wire up");
    peer->Signal("up again");
    session.SetAttribute(VI_ATTR_TMO_VALUE, 20000);
    EXPECT_EQ(Read(session, 3), Received("def")) << "the connection has outlived the link";
}

TEST_F(TcpNetwork, WriteIntoALinkThatIsDownArrivesWhenItIsUpAgain) {
    Wire();
    const auto peer = PeerThere();
    peer->Accept().Expect("*RST\n").Start();
    CSessionTCPIP session;
    here->Do([&] { ASSERT_EQ(Open(session, peer->Resource()), VI_SUCCESS); });
    there->Ip("link set wire down");
    EXPECT_EQ(Write(session, "*RST\n"), Sent(5));
    there->Ip("link set wire up");
}

TEST_F(TcpNetwork, ReconnectIntoALinkThatIsDownLosesTheConnection) {
    Wire();
    const auto peer = PeerThere();
    peer->Accept().Start();
    here->Do([&] {
        CSessionTCPIP session;
        ASSERT_EQ(Open(session, peer->Resource()), VI_SUCCESS);
        here->Ip("link set wire down");
        const Stopwatch watch;
        EXPECT_EQ(session.Clear(), VI_ERROR_CONN_LOST);
        EXPECT_GE(watch.Elapsed(), 2900ms);
        EXPECT_LT(watch.Elapsed(), VeryLong);
        EXPECT_FALSE(session.GetConnected());
    });
}
