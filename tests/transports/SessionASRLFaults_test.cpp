// The serial session and the list of ports on machines that no test has: lines that take every
// setting, lines that take none, ports with and without hardware.
#include "transports/SessionASRL.h"

#include <gmock/gmock.h>

#include <cerrno>

#include "support/FaultySerialCalls.h"
#include "transports/SerialPorts.h"
#include "transports/SessionIO.h"

using namespace uxvisa::test;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStdout;

namespace {

constexpr tcflag_t LineFlags = CSIZE | CSTOPB | PARENB | PARODD;

class SessionASRLFaults : public ::testing::Test {
protected:
    void SetUp() override {
        line.settings.c_cflag = CS5 | PARENB | CSTOPB;
        ASSERT_EQ(Open(session, "ttyS7::INSTR"), VI_SUCCESS);
        line.applied.clear();
        line.ForgetCalls();
    }

    // The flags that make up a frame, after the line had `before`.
    tcflag_t AfterParity(unsigned long parity, tcflag_t before) {
        line.settings.c_cflag = before | CREAD;
        line.applied.clear();
        EXPECT_EQ(session.SetAttribute(VI_ATTR_ASRL_PARITY, parity), VI_SUCCESS);
        EXPECT_EQ(line.applied.size(), 1U);
        EXPECT_EQ(line.applied.back().when, TCSANOW);
        EXPECT_NE(line.applied.back().settings.c_cflag & CREAD, 0U);
        return line.applied.back().settings.c_cflag & LineFlags;
    }

    FaultySerialCalls line;
    CSessionASRL session;
};

} // namespace

TEST_F(SessionASRLFaults, OpensWithEightDataBitsNoParityAndOneStopBit) {
    EXPECT_THAT(line.openedPaths, ElementsAre("/dev/ttyS7"));
    EXPECT_EQ(line.settings.c_cflag & LineFlags, tcflag_t{CS8});
}

TEST_F(SessionASRLFaults, ParityAlsoResetsDataAndStopBitsOnPurpose) {
    EXPECT_EQ(AfterParity(VI_ASRL_PAR_NONE, CS5 | CSTOPB | PARENB), tcflag_t{CS8});
    EXPECT_EQ(AfterParity(VI_ASRL_PAR_SPACE, CS7 | CSTOPB | PARENB), tcflag_t{CS8});
    EXPECT_EQ(AfterParity(VI_ASRL_PAR_ODD, CS8 | CSTOPB), tcflag_t{PARENB | PARODD | CS7});
    EXPECT_EQ(AfterParity(VI_ASRL_PAR_EVEN, CS8 | CSTOPB | PARODD), tcflag_t{PARENB | CS7});
    EXPECT_EQ(AfterParity(VI_ASRL_PAR_NONE, CS7 | PARENB | PARODD), tcflag_t{CS8 | PARODD});
}

TEST_F(SessionASRLFaults, ParitiesThatDoNotExistAreAppliedUnchangedOnPurpose) {
    for (const unsigned long parity : {5UL, 100UL, 0x100000001UL}) {
        constexpr tcflag_t Before = CS6 | CSTOPB | PARENB | PARODD;
        EXPECT_EQ(AfterParity(parity, Before), Before);
    }
}

TEST_F(SessionASRLFaults, MarkParityIsRefusedAndNothingApplied) {
    EXPECT_EQ(session.SetAttribute(VI_ATTR_ASRL_PARITY, VI_ASRL_PAR_MARK), VI_ERROR_INV_PARAMETER);
    EXPECT_THAT(line.applied, IsEmpty());
    EXPECT_TRUE(session.GetConnected());
}

TEST_F(SessionASRLFaults, WhatIsRefusedOrUnknownIsNotApplied) {
    EXPECT_EQ(session.SetAttribute(VI_ATTR_ASRL_BAUD, 14400), VI_ERROR_NSUP_ATTR_STATE);
    EXPECT_EQ(session.SetAttribute(VI_ATTR_ASRL_FLOW_CNTRL, 1), VI_ERROR_NSUP_ATTR);
    EXPECT_EQ(session.SetAttribute(VI_ATTR_ASRL_DATA_BITS, 7), VI_SUCCESS);
    EXPECT_THAT(line.applied, IsEmpty());
}

TEST_F(SessionASRLFaults, DataBitsThatDoNotExistAreAppliedUnchangedAndRefused) {
    line.settings.c_cflag = CS6 | CREAD;
    EXPECT_EQ(session.SetAttribute(VI_ATTR_ASRL_DATA_BITS, 9), VI_ERROR_NSUP_ATTR_STATE);
    ASSERT_EQ(line.applied.size(), 1U);
    EXPECT_EQ(line.applied[0].settings.c_cflag, tcflag_t{CS6 | CREAD});
    // They are the session's settings from then on.
    EXPECT_EQ(session.Flush(0), VI_SUCCESS);
    EXPECT_EQ(line.applied[1].settings.c_cflag, tcflag_t{CS6 | CREAD});
    EXPECT_EQ(line.applied[1].when, TCSAFLUSH);
}

TEST_F(SessionASRLFaults, StopBitsThatDoNotExistAreAppliedUnchanged) {
    line.settings.c_cflag = CS6 | CSTOPB;
    EXPECT_EQ(session.SetAttribute(VI_ATTR_ASRL_STOP_BITS, 11), VI_SUCCESS);
    ASSERT_EQ(line.applied.size(), 1U);
    EXPECT_EQ(line.applied[0].settings.c_cflag, tcflag_t{CS6 | CSTOPB});
}

TEST_F(SessionASRLFaults, ASettingThatIsNotTakenClosesTheLineWithSuccessOnPurpose) {
    line.Fail(SerialCall::SetSettings, EINVAL);
    for (const unsigned long attribute :
         {VI_ATTR_ASRL_PARITY, VI_ATTR_ASRL_BAUD, VI_ATTR_ASRL_STOP_BITS, VI_ATTR_ASRL_XON_CHAR,
          VI_ATTR_ASRL_XOFF_CHAR, VI_ATTR_TMO_VALUE}) {
        line.ForgetCalls();
        EXPECT_EQ(session.SetAttribute(attribute, 0), VI_SUCCESS) << attribute;
        EXPECT_FALSE(session.GetConnected()) << attribute;
    }
    unsigned int tenths = 0;
    EXPECT_EQ(session.GetAttribute(VI_ATTR_TMO_VALUE, &tenths), VI_SUCCESS);
    EXPECT_EQ(tenths, 26U);
    // Once closed, the line is left alone.
    EXPECT_THAT(line.calls, IsEmpty());
}

TEST_F(SessionASRLFaults, ALineThatDoesNotTellItsSettingsGetsTheStoredOnes) {
    line.Fail(SerialCall::GetSettings, EIO);
    EXPECT_EQ(session.SetAttribute(VI_ATTR_TMO_VALUE, 1), VI_SUCCESS);
    ASSERT_EQ(line.applied.size(), 1U);
    EXPECT_EQ(line.applied[0].settings.c_cflag & LineFlags, tcflag_t{CS8});
    EXPECT_EQ(line.applied[0].settings.c_cc[VTIME], 26);
    EXPECT_TRUE(session.GetConnected());
}

TEST_F(SessionASRLFaults, OpeningALineThatTakesNoSettingsFindsNothing) {
    line.Fail(SerialCall::SetSettings, EIO);
    EXPECT_EQ(Open(session, "ttyS7::INSTR"), VI_ERROR_RSRC_NFOUND);
    EXPECT_FALSE(session.GetConnected());
}

TEST_F(SessionASRLFaults, ClearFailsWithALostConnectionWhateverTheReason) {
    line.Fail(SerialCall::GetSettings, ENOTTY);
    CaptureStdout();
    EXPECT_EQ(session.Clear(), VI_ERROR_CONN_LOST);
    EXPECT_EQ(GetCapturedStdout(), "Error from tcgetattr: Inappropriate ioctl for device\n");
    line.Fail(SerialCall::Open, EACCES);
    EXPECT_EQ(session.Clear(), VI_ERROR_CONN_LOST);
    EXPECT_FALSE(session.GetConnected());
    EXPECT_THAT(line.openedPaths, ElementsAre("/dev/ttyS7", "/dev/ttyS7", "/dev/ttyS7"));
}

TEST_F(SessionASRLFaults, AsksTenTimesForBytesAndReadsOnce) {
    line.emptyPolls = 100;
    EXPECT_EQ(Read(session, 5).status, VI_ERROR_CONN_LOST);
    EXPECT_EQ(line.Count(SerialCall::CountWaiting), 10U);
    EXPECT_EQ(line.Count(SerialCall::Read), 1U);
}

TEST_F(SessionASRLFaults, StopsAskingWhenThereAreBytes) {
    line.incoming = "abc";
    line.emptyPolls = 3;
    EXPECT_EQ(Read(session, 2), Received("ab"));
    EXPECT_EQ(line.Count(SerialCall::CountWaiting), 4U);
    line.ForgetCalls();
    line.emptyPolls = 0;
    EXPECT_EQ(Read(session, 2), Received("c"));
    EXPECT_THAT(line.calls, ElementsAre(SerialCall::CountWaiting, SerialCall::Read));
}

TEST_F(SessionASRLFaults, ALineThatCannotBeAskedIsReadAllTheSame) {
    line.Fail(SerialCall::CountWaiting, EIO);
    line.incoming = "abc";
    EXPECT_EQ(Read(session, 5), Received("abc"));
    EXPECT_EQ(line.Count(SerialCall::CountWaiting), 10U);
}

TEST_F(SessionASRLFaults, WritesOnceAndDrains) {
    EXPECT_EQ(Write(session, "abc").status, VI_SUCCESS);
    EXPECT_THAT(line.calls, ElementsAre(SerialCall::Write, SerialCall::Drain));
    line.ForgetCalls();
    line.room = 2;
    EXPECT_EQ(Write(session, "def").status, VI_ERROR_CONN_LOST);
    EXPECT_THAT(line.calls, ElementsAre(SerialCall::Write));
    EXPECT_EQ(line.written, "abcde");
    line.Fail(SerialCall::Drain, EIO);
    EXPECT_EQ(Write(session, "gh").status, VI_SUCCESS);
}

TEST_F(SessionASRLFaults, WrittenSizesAreComparedByTheirLow32BitsOnPurpose) {
    line.room = 0;
    unsigned char byte = 0;
    EXPECT_EQ(session.Write(&byte, 0x100000000, nullptr), VI_SUCCESS);
    EXPECT_EQ(session.Write(&byte, 0x100000001, nullptr), VI_ERROR_CONN_LOST);
}

TEST_F(SessionASRLFaults, AMinimumCountThatIsNotTakenIsSaid) {
    line.Fail(SerialCall::SetSettings, EINVAL);
    CaptureStdout();
    session.set_mincount(5, 1);
    EXPECT_EQ(GetCapturedStdout(), "Error tcsetattr: Invalid argument\n");
}

TEST(SerialPortsProbing, OnlyPortsWithHardwareAreAdded) {
    FaultySerialCalls machine;
    machine.portTypes = {{"/dev/ttyS0", 4}, {"/dev/ttyS1", 0}, {"/dev/ttyS3", 1}};
    std::vector<std::string> ports = {"/dev/ttyUSB0"};
    probe_serial8250_comports(ports, {"/dev/ttyS0", "/dev/ttyS1", "/dev/ttyS2", "/dev/ttyS3"});
    EXPECT_THAT(ports, ElementsAre("/dev/ttyUSB0", "/dev/ttyS0", "/dev/ttyS3"));
    EXPECT_THAT(machine.openedPaths,
                ElementsAre("/dev/ttyS0", "/dev/ttyS1", "/dev/ttyS2", "/dev/ttyS3"));
}

TEST(SerialPortsProbing, PortsThatCannotBeOpenedAreLeftOut) {
    FaultySerialCalls machine;
    machine.portTypes = {{"/dev/ttyS0", 4}};
    machine.Fail(SerialCall::Open, EACCES);
    std::vector<std::string> ports;
    probe_serial8250_comports(ports, {"/dev/ttyS0"});
    EXPECT_THAT(ports, IsEmpty());
    EXPECT_EQ(machine.Count(SerialCall::PortType), 0U);
}
