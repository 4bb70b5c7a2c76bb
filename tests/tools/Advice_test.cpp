#include "tools/uxvisa/Advice.h"

#include <gmock/gmock.h>

using namespace uxvisa::tool;
using testing::HasSubstr;
using testing::Not;

namespace {

constexpr char Socket[] = "TCPIP::scope::5025::SOCKET";

std::string OnOpen(ViStatus status, const std::string& resource) {
    return Advice(status, {Stage::Open, resource, "", 5000, 0, false});
}

std::string OnSilence(const std::string& command, std::uint64_t received = 0,
                      bool isCounted = false) {
    return Advice(VI_ERROR_TMO, {Stage::Read, Socket, command, 700, received, isCounted});
}

} // namespace

TEST(Advice, ShowsTheFormOfAResource) {
    EXPECT_THAT(OnOpen(VI_ERROR_INV_RSRC_NAME, "scope"), HasSubstr("TCPIP::HOST::PORT::SOCKET"));
}

TEST(Advice, KnowsHowSerialPortsAreWritten) {
    EXPECT_EQ(OnOpen(VI_ERROR_INV_RSRC_NAME, "asrl1::INSTR"),
              "a serial port goes by the name of its device, as ttyUSB0::INSTR");
}

TEST(Advice, NamesTheDeviceOfASerialPort) {
    EXPECT_EQ(OnOpen(VI_ERROR_RSRC_NFOUND, "ttyUSB0::INSTR"),
              "does /dev/ttyUSB0 exist, and may you read and write it? See docs/permissions.md");
}

TEST(Advice, NamesThePathOfALocalSocket) {
    EXPECT_EQ(OnOpen(VI_ERROR_RSRC_NFOUND, "usock::/tmp/Scope::SOCKET"),
              "is the program that listens at /tmp/Scope running?");
}

TEST(Advice, SaysThatUsbInstrumentsCannotBeOpened) {
    EXPECT_EQ(OnOpen(VI_ERROR_RSRC_NFOUND, "USB0::0x1::0x2::SN::0::INSTR"),
              "USB instruments are found by searches and cannot be opened");
}

TEST(Advice, DoesNotSendUsersOfDriversToDevices) {
    for (const auto* resource : {"ttyUSB0::NFM", "USOCK::/tmp/a::SAPROC", "tty::", "USOCK"}) {
        EXPECT_THAT(OnOpen(VI_ERROR_RSRC_NFOUND, resource), HasSubstr("of this kind")) << resource;
    }
}

TEST(Advice, NamesHostAndPortThatRefuse) {
    EXPECT_EQ(OnOpen(VI_ERROR_RSRC_NFOUND, "tcpip0::scope::5025::socket"),
              "is the instrument on, and is 5025 the port of its command socket? Try: ping scope");
}

TEST(Advice, DoesNotSendUsersOfOtherInterfacesToPing) {
    for (const auto* resource : {"GPIB0::5::INSTR", "TCPIP::scope::INSTR", "", "::::::"}) {
        EXPECT_THAT(OnOpen(VI_ERROR_RSRC_NFOUND, resource), Not(HasSubstr("ping"))) << resource;
    }
}

TEST(Advice, DoesNotOfferTheTimeoutForAConnection) {
    EXPECT_EQ(OnOpen(VI_ERROR_TMO, Socket),
              "is the host name right, and is the instrument on and in reach? Try: ping scope");
}

TEST(Advice, NamesTheTimeoutInForce) {
    EXPECT_THAT(OnSilence("*IDN?"), HasSubstr("--timeout (now 700)"));
}

TEST(Advice, PointsAtACommandWithoutAQuestionMark) {
    EXPECT_THAT(OnSilence("*RST"), HasSubstr("has no '?'"));
    EXPECT_THAT(OnSilence("MEAS? CH1"), Not(HasSubstr("has no '?'")));
}

TEST(Advice, PointsAtTheLineEndOfAnAnswerThatHasBegun) {
    EXPECT_THAT(OnSilence("*IDN?", 3), HasSubstr("--termchar off"));
}

TEST(Advice, DoesNotBlameTheLineEndOfCountedData) {
    EXPECT_THAT(OnSilence("CURV?", 3, true), Not(HasSubstr("termchar")));
}

TEST(Advice, KnowsThatNothingWasAskedBeforeARead) {
    EXPECT_THAT(OnSilence(""), HasSubstr("has the instrument been asked"));
}

TEST(Advice, HasNothingToSayToOtherStatuses) {
    EXPECT_EQ(Advice(VI_ERROR_NIMPL_OPER, {}), "");
}
