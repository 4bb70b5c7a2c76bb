// The driver library as sessions see it: bound by name, against real peers.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "api/DynamicVisa.h"
#include "support/ScriptedPeer.h"
#include "uxvisa/visatype.h"

using namespace std::chrono_literals;
using namespace uxvisa::test;

namespace {

class LanDriver : public ::testing::Test {
protected:
    ViStatus Open(std::string resource) {
        return driver.uxOpen(1, resource.data(), 1, 5000, &session);
    }

    void OpenIt() {
        peer.Start();
        ASSERT_EQ(Open(peer.Resource()), VI_SUCCESS);
    }

    ViStatus Read(ViUInt32 count) {
        buffer.assign(count, '\0');
        got = 0xC0C0;
        return driver.uxRead(session, reinterpret_cast<ViPByte>(buffer.data()), count, &got);
    }

    ViStatus Write(const std::string& bytes) {
        return driver.uxWrite(session, reinterpret_cast<ViConstBuf>(bytes.data()), bytes.size(),
                              &got);
    }

    ScriptedPeer peer;
    DynamicVisa driver{UXVISA_LAN_DRIVER};
    ViSession session = 0;
    std::string buffer;
    ViUInt32 got = 0;
};

} // namespace

TEST_F(LanDriver, HasWhatAVxi11SessionNeeds) {
    ASSERT_TRUE(driver.Initialized());
    EXPECT_EQ(driver.MissingFnCount(), 105 - 8);
    ViSession manager = 0;
    EXPECT_EQ(driver.uxOpenDefaultRM(&manager), VI_SUCCESS);
    EXPECT_NE(manager, 0UL);
    EXPECT_EQ(driver.uxClose(manager), VI_SUCCESS);
    EXPECT_EQ(driver.uxClose(manager), VI_SUCCESS);
    EXPECT_EQ(driver.uxReadSTB(manager, nullptr), VI_ERROR_LIBRARY_NFOUND);
    peer.Start();
}

TEST_F(LanDriver, ReadsExactlyTheCountFromAnyPieces) {
    peer.Accept().Expect("request").SendPieces("0123456789rest", {1, 3, 2}, 5ms).Close();
    OpenIt();
    EXPECT_EQ(Write("request"), VI_SUCCESS);
    EXPECT_EQ(got, 7UL);
    EXPECT_EQ(Read(10), VI_SUCCESS);
    EXPECT_EQ(buffer, "0123456789");
    EXPECT_EQ(got, 10UL);
    EXPECT_EQ(Read(0), VI_SUCCESS);
    EXPECT_EQ(Read(4), VI_SUCCESS);
    EXPECT_EQ(buffer, "rest");
    EXPECT_EQ(driver.uxClose(session), VI_SUCCESS);
}

TEST_F(LanDriver, TimesOutWithWhatArrived) {
    peer.Accept().Send("ab").Await("done");
    OpenIt();
    EXPECT_EQ(driver.uxSetAttribute(session, VI_ATTR_TMO_VALUE, 200), VI_SUCCESS);
    EXPECT_EQ(Read(4), VI_ERROR_TMO);
    EXPECT_EQ(got, 2UL);
    EXPECT_EQ(buffer.substr(0, 2), "ab");
    peer.Signal("done");
    EXPECT_EQ(driver.uxClose(session), VI_SUCCESS);
}

TEST_F(LanDriver, AClosedPeerIsALostConnection) {
    peer.Accept().Send("ab").Close();
    OpenIt();
    EXPECT_EQ(Read(4), VI_ERROR_CONN_LOST);
    EXPECT_EQ(got, 2UL);
    EXPECT_EQ(driver.uxClose(session), VI_SUCCESS);
}

TEST_F(LanDriver, ClearingDropsWhatHasArrived) {
    peer.Accept().Send("old").Mark("sent").Await("cleared").Send("new").Close();
    OpenIt();
    ASSERT_TRUE(peer.WaitFor("sent"));
    EXPECT_EQ(Read(1), VI_SUCCESS); // all three bytes are here by now
    EXPECT_EQ(driver.uxClear(session), VI_SUCCESS);
    peer.Signal("cleared");
    EXPECT_EQ(Read(3), VI_SUCCESS);
    EXPECT_EQ(buffer, "new");
    EXPECT_EQ(driver.uxClose(session), VI_SUCCESS);
}

TEST_F(LanDriver, OnlyTheTimeOutIsAnAttribute) {
    peer.Accept().Close();
    OpenIt();
    ViUInt32 value = 0;
    EXPECT_EQ(driver.uxSetAttribute(session, VI_ATTR_TMO_VALUE, 4321), VI_SUCCESS);
    EXPECT_EQ(driver.uxGetAttribute(session, VI_ATTR_TMO_VALUE, &value), VI_SUCCESS);
    EXPECT_EQ(value, 4321UL);
    EXPECT_EQ(driver.uxSetAttribute(session, VI_ATTR_TERMCHAR, 1), VI_ERROR_NSUP_ATTR);
    EXPECT_EQ(driver.uxGetAttribute(session, VI_ATTR_TERMCHAR, &value), VI_ERROR_NSUP_ATTR);
    EXPECT_EQ(driver.uxClose(session), VI_SUCCESS);
}

TEST_F(LanDriver, RefusesWhatItCannotOpen) {
    EXPECT_EQ(Open("TCPIP::127.0.0.1::INSTR"), VI_ERROR_INV_RSRC_NAME);
    EXPECT_EQ(Open("TCPIP::127.0.0.1::1::SOCKET"), VI_ERROR_RSRC_NFOUND);
    EXPECT_EQ(Open("TCPIP::127.0.0.1::port::SOCKET"), VI_ERROR_RSRC_NFOUND);
    EXPECT_EQ(driver.uxOpen(1, nullptr, 0, 0, &session), VI_ERROR_INV_RSRC_NAME);
    EXPECT_EQ(session, 0UL);
    peer.Start();
}

TEST_F(LanDriver, UnknownHandlesAreInvalidObjects) {
    session = 4711;
    EXPECT_EQ(Read(1), VI_ERROR_INV_OBJECT);
    EXPECT_EQ(Write("a"), VI_ERROR_INV_OBJECT);
    EXPECT_EQ(driver.uxClear(session), VI_ERROR_INV_OBJECT);
    EXPECT_EQ(driver.uxClose(session), VI_ERROR_INV_OBJECT);
    EXPECT_EQ(driver.uxClose(0), VI_ERROR_INV_OBJECT);
    peer.Start();
}
