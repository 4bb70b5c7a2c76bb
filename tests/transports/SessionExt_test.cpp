#include "transports/SessionExt.h"

#include <gmock/gmock.h>

#include "drivers/LoadedDriver.h"
#include "transports/SessionIO.h"

using testing::ElementsAre;
using namespace uxvisa::test;

namespace {

constexpr long DriversOwnStatus = VI_ERROR_RSRC_LOCKED;

class SessionExt : public ::testing::Test {
protected:
    LoadedDriver driver;
};

} // namespace

TEST_F(SessionExt, HandsEveryOperationToTheLibrary) {
    {
        CSessionExt session(driver.Path().c_str());
        EXPECT_EQ(Open(session, "TCPIP0::host::ECAL", 1234), VI_SUCCESS);
        driver->incoming = "abc";
        EXPECT_EQ(Read(session, 3), Received("abc"));
        EXPECT_EQ(Write(session, "xyz"), Sent(3));
        EXPECT_EQ(session.Clear(), VI_SUCCESS);
        EXPECT_EQ(session.SetAttribute(5, 6), VI_SUCCESS);
        ViUInt32 value = 0;
        EXPECT_EQ(session.GetAttribute(7, &value), VI_SUCCESS);
        EXPECT_EQ(value, 4711UL);
    }
    EXPECT_THAT(driver->log,
                ElementsAre("open 0 TCPIP0::host::ECAL 0 1234", "read 100 3", "write 100 78797a",
                            "clear 100", "set 100 5 6", "get 100 7", "close 100"));
}

TEST_F(SessionExt, TheManagerIsAlwaysZeroOnPurpose) {
    CSessionExt session(driver.Path().c_str());
    Open(session, "X::VNA");
    EXPECT_EQ(driver->log.front().substr(0, 7), "open 0 ");
}

TEST_F(SessionExt, TheDriverGetsACopyOfTheName) {
    CSessionExt session(driver.Path().c_str());
    driver->changesName = true;
    char name[] = "TCPIP0::host::ECAL";
    EXPECT_EQ(session.OpenConnection(name, 0, 0), VI_SUCCESS);
    EXPECT_STREQ(name, "TCPIP0::host::ECAL");
}

TEST_F(SessionExt, StatusesComeBackUnchanged) {
    CSessionExt session(driver.Path().c_str());
    for (const char* function : {"open", "read", "write", "clear", "set", "get", "close"}) {
        driver->statuses[function] = {DriversOwnStatus};
    }
    ViUInt32 value = 0;
    EXPECT_EQ(Open(session, "X::TRM"), DriversOwnStatus);
    EXPECT_EQ(Read(session, 1).status, DriversOwnStatus);
    EXPECT_EQ(Write(session, "a").status, DriversOwnStatus);
    EXPECT_EQ(session.Clear(), DriversOwnStatus);
    EXPECT_EQ(session.SetAttribute(1, 1), DriversOwnStatus);
    EXPECT_EQ(session.GetAttribute(1, &value), DriversOwnStatus);
    EXPECT_EQ(session.CloseConnection(), DriversOwnStatus);
}

TEST_F(SessionExt, ClosingAgainClosesHandleZeroOnPurpose) {
    {
        CSessionExt session(driver.Path().c_str());
        Open(session, "X::QUILL");
        EXPECT_EQ(session.CloseConnection(), VI_SUCCESS);
    }
    EXPECT_THAT(driver->log, ElementsAre("open 0 X::QUILL 0 5000", "close 100", "close 0"));
}

TEST_F(SessionExt, NothingElseIsForwarded) {
    CSessionExt session(driver.Path().c_str());
    EXPECT_EQ(session.Flush(0), VI_ERROR_NIMPL_OPER);
    EXPECT_EQ(session.FindResources(nullptr, nullptr, nullptr), VI_ERROR_NIMPL_OPER);
    EXPECT_EQ(session.DisableEvent(0, 0), VI_SUCCESS);
    EXPECT_EQ(session.Reconnect(), VI_SUCCESS);
    EXPECT_EQ(session.Purge(), VI_SUCCESS);
    EXPECT_THAT(driver->log, ElementsAre());
}

TEST_F(SessionExt, FunctionsThatTheLibraryLacksAnswerNotFound) {
    CSessionExt session((std::string(UXVISA_TEST_DRIVERS) + "/partial_driver.so").c_str());
    EXPECT_EQ(Open(session, "X::ECAL"), VI_SUCCESS);
    EXPECT_EQ(Read(session, 1).status, VI_ERROR_LIBRARY_NFOUND);
    EXPECT_EQ(session.Clear(), VI_ERROR_LIBRARY_NFOUND);
    EXPECT_EQ(session.CloseConnection(), VI_SUCCESS);
}

TEST(SessionExtUnbound, EverythingAnswersNotFound) {
    CSessionExt session("");
    ViUInt32 value = 77;
    EXPECT_EQ(Open(session, "X::VNA"), VI_ERROR_LIBRARY_NFOUND);
    EXPECT_EQ(Read(session, 1).status, VI_ERROR_LIBRARY_NFOUND);
    EXPECT_EQ(Write(session, "a").status, VI_ERROR_LIBRARY_NFOUND);
    EXPECT_EQ(session.Clear(), VI_ERROR_LIBRARY_NFOUND);
    EXPECT_EQ(session.SetAttribute(1, 1), VI_ERROR_LIBRARY_NFOUND);
    EXPECT_EQ(session.GetAttribute(1, &value), VI_ERROR_LIBRARY_NFOUND);
    EXPECT_EQ(session.CloseConnection(), VI_ERROR_LIBRARY_NFOUND);
    EXPECT_EQ(value, 77UL);
}
