#include <gtest/gtest.h>

#include <string>

#include "support/ScriptedPeer.h"
#include "transports/SessionIO.h"
#include "uxvisa/hook.h"

using namespace uxvisa::test;

namespace {

class VisaSession : public ::testing::Test {
protected:
    ScriptedPeer peer;
    uxvisa::VisaSession session;
};

} // namespace

TEST_F(VisaSession, DoesEverythingThroughTheHandle) {
    peer.Accept().Expect("*IDN?\n").Send("Orvane\n").ExpectEnd().Start();
    EXPECT_EQ(session.Handle(), static_cast<ViSession>(VI_NULL));
    ASSERT_EQ(Open(session, peer.Resource()), VI_SUCCESS);
    EXPECT_NE(session.Handle(), static_cast<ViSession>(VI_NULL));
    EXPECT_EQ(session.SetAttribute(VI_ATTR_TERMCHAR_EN, VI_TRUE), VI_SUCCESS);
    EXPECT_EQ(session.SetAttribute(VI_ATTR_TMO_VALUE, 20000), VI_SUCCESS);
    ViUInt32 value = 0;
    EXPECT_EQ(viGetAttribute(session.Handle(), VI_ATTR_TMO_VALUE, &value), VI_SUCCESS);
    EXPECT_EQ(value, 20000UL);
    EXPECT_EQ(session.GetAttribute(VI_ATTR_TERMCHAR_EN, &value), VI_SUCCESS);
    EXPECT_EQ(value & 1, 1UL);
    EXPECT_EQ(Write(session, "*IDN?\n"), Sent(6));
    EXPECT_EQ(Read(session, 100), Received("Orvane\n", VI_SUCCESS_TERM_CHAR));
    EXPECT_EQ(session.EnableEvent(VI_EVENT_SERVICE_REQ, VI_QUEUE, 0), VI_ERROR_NIMPL_OPER);
    EXPECT_EQ(session.DisableEvent(VI_EVENT_SERVICE_REQ, VI_QUEUE), VI_SUCCESS);
    EXPECT_EQ(session.DiscardEvents(VI_EVENT_SERVICE_REQ, VI_QUEUE), VI_SUCCESS);
    EXPECT_EQ(session.Flush(VI_READ_BUF), VI_ERROR_NIMPL_OPER);
    const ViSession closed = session.Handle();
    EXPECT_EQ(session.CloseConnection(), VI_SUCCESS);
    EXPECT_EQ(session.CloseConnection(), VI_SUCCESS);
    EXPECT_EQ(viClose(closed), VI_ERROR_INV_OBJECT);
}

TEST_F(VisaSession, ClosedOrNotOpenedItIsNoObject) {
    EXPECT_EQ(Write(session, "x").status, VI_ERROR_INV_OBJECT);
    EXPECT_EQ(session.Clear(), VI_ERROR_INV_OBJECT);
    EXPECT_EQ(Open(session, "nonsense"), VI_ERROR_INV_RSRC_NAME);
    EXPECT_EQ(session.Handle(), static_cast<ViSession>(VI_NULL));
    peer.Start();
}

TEST_F(VisaSession, ClosesWhatItHasWhenItIsOpenedAgainOrDestroyed) {
    peer.Accept().ExpectEnd().Accept().ExpectEnd().Start();
    {
        uxvisa::VisaSession opened;
        ASSERT_EQ(Open(opened, peer.Resource()), VI_SUCCESS);
        ASSERT_EQ(Open(opened, peer.Resource()), VI_SUCCESS);
    }
    peer.Finish();
}

// The one way a program takes, from end to end, against the library as it is linked.
TEST_F(VisaSession, BehindAHookItIsWatched) {
    peer.Accept().Expect("*IDN?\n").Send("Orvane\n").ExpectEnd().Start();
    CSessionHook hook(new uxvisa::VisaSession);
    CSessionDebug monitor;
    ASSERT_EQ(Open(monitor, peer.Resource() + "::HOOK"), VI_SUCCESS);
    ASSERT_EQ(Open(hook, peer.Resource()), VI_SUCCESS);
    hook.SetAttribute(VI_ATTR_TERMCHAR_EN, VI_TRUE);
    EXPECT_EQ(Write(hook, "*IDN?\n"), Sent(6));
    EXPECT_EQ(Read(monitor, 64), Received("*IDN?\n"));
    EXPECT_EQ(Read(hook, 100), Received("Orvane\n", VI_SUCCESS_TERM_CHAR));
    EXPECT_EQ(Read(monitor, 64), (Transfer{VI_ERROR_TMO, 0}));
    unsigned int direction = 9;
    EXPECT_EQ(monitor.GetAttribute(uxvisa::MonitorDirectionAttribute, &direction), VI_SUCCESS);
    EXPECT_EQ(direction, 0U);
    EXPECT_EQ(Read(monitor, 64), Received("Orvane\n", VI_SUCCESS_TERM_CHAR));
    EXPECT_EQ(hook.CloseConnection(), VI_SUCCESS);
}
