// A serial port through the C API.
#include "uxvisa/visa.h"

#include <gtest/gtest.h>

#include <cstring>

#include "support/PseudoTerminal.h"

using uxvisa::test::Link;
using uxvisa::test::NewTerminalName;
using uxvisa::test::PseudoTerminal;

namespace {

ViStatus OpenSession(const std::string& resource, ViPSession vi) {
    ViSession manager = 0;
    EXPECT_EQ(viOpenDefaultRM(&manager), VI_SUCCESS);
    return viOpen(manager, resource.c_str(), VI_NO_LOCK, 0, vi);
}

class SerialPort : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(OpenSession(port.Resource(), &vi), VI_SUCCESS); }
    void TearDown() override { EXPECT_EQ(viClose(vi), VI_SUCCESS); }

    ViStatus Write(const std::string& text) {
        return viWrite(vi, reinterpret_cast<ViConstBuf>(text.data()), text.size(), nullptr);
    }

    PseudoTerminal port;
    ViSession vi = 0;
};

} // namespace

TEST_F(SerialPort, TransfersAndClears) {
    EXPECT_EQ(Write("*IDN?\n"), VI_SUCCESS);
    EXPECT_EQ(port.Receive(6), "*IDN?\n");
    port.Send("Orvane\n");
    ViByte buffer[8];
    ViUInt32 count = 0;
    EXPECT_EQ(viRead(vi, buffer, 7, &count), VI_SUCCESS);
    EXPECT_EQ(count, 7UL);
    EXPECT_STREQ(reinterpret_cast<char*>(buffer), "Orvane\n");
    EXPECT_EQ(viRead(vi, buffer, 7, &count), VI_ERROR_CONN_LOST);
    port.Send("old");
    EXPECT_EQ(viFlush(vi, VI_READ_BUF), VI_SUCCESS);
    EXPECT_EQ(port.Waiting(), 0);
    EXPECT_EQ(viClear(vi), VI_SUCCESS);
}

TEST_F(SerialPort, HasAttributes) {
    EXPECT_EQ(viSetAttribute(vi, VI_ATTR_ASRL_BAUD, 9600), VI_SUCCESS);
    const termios settings = port.Settings();
    EXPECT_EQ(cfgetospeed(&settings), speed_t{B9600});
    EXPECT_EQ(viSetAttribute(vi, VI_ATTR_ASRL_BAUD, 14400), VI_ERROR_NSUP_ATTR_STATE);
    EXPECT_EQ(viSetAttribute(vi, VI_ATTR_ASRL_PARITY, VI_ASRL_PAR_MARK), VI_ERROR_INV_PARAMETER);
    EXPECT_EQ(viSetAttribute(vi, VI_ATTR_TMO_VALUE, 5000), VI_SUCCESS);
    ViUInt32 timeout = 0;
    EXPECT_EQ(viGetAttribute(vi, VI_ATTR_TMO_VALUE, &timeout), VI_SUCCESS);
    EXPECT_EQ(timeout, 26UL);
    ViChar maker[VI_FIND_BUFLEN] = "";
    EXPECT_EQ(viGetAttribute(vi, VI_ATTR_RSRC_MANF_NAME, maker), VI_SUCCESS);
    EXPECT_STREQ(maker, "Orvane");
}

TEST_F(SerialPort, FormatsAndScans) {
    EXPECT_EQ(viPrintf(vi, "VOLT %d;%s\n", 5, "ON"), VI_SUCCESS);
    EXPECT_EQ(port.Receive(10), "VOLT 5;ON\n");
    port.Send("12,ready\nnext 7\n");
    int number = 0;
    char word[32] = "";
    EXPECT_EQ(viScanf(vi, "%d,%s", &number, word), VI_SUCCESS);
    EXPECT_EQ(number, 12);
    EXPECT_STREQ(word, "ready");
}

// Bytes that came before the silence are kept.
TEST_F(SerialPort, AScanThatNoLineEndEndsIsALostConnection) {
    port.Send("12");
    int number = 0;
    EXPECT_EQ(viScanf(vi, "%d", &number), VI_ERROR_CONN_LOST);
    port.Send("34\n");
    EXPECT_EQ(viScanf(vi, "%d", &number), VI_SUCCESS);
    EXPECT_EQ(number, 1234);
}

TEST_F(SerialPort, LacksWhatOtherSessionsLack) {
    EXPECT_EQ(viSetBuf(vi, VI_READ_BUF, 100), VI_ERROR_NIMPL_OPER);
    EXPECT_EQ(viEnableEvent(vi, 0, 0, 0), VI_ERROR_NIMPL_OPER);
    EXPECT_EQ(viDisableEvent(vi, 0, 0), VI_SUCCESS);
    EXPECT_EQ(viDiscardEvents(vi, 0, 0), VI_SUCCESS);
}

TEST(SerialPortOpening, AnyWordOpensASerialPort) {
    const PseudoTerminal port;
    const std::string name = port.Resource().substr(0, port.Resource().find("::"));
    for (const char* rest : {"::INSTR", "::instr", "::SOCKET", "::"}) {
        ViSession vi = 0;
        EXPECT_EQ(OpenSession(name + rest, &vi), VI_SUCCESS) << rest;
        EXPECT_EQ(viClose(vi), VI_SUCCESS);
        EXPECT_EQ(viClose(vi), VI_ERROR_INV_OBJECT);
    }
    ViSession vi = 7;
    EXPECT_EQ(OpenSession(name, &vi), VI_ERROR_INV_RSRC_NAME);
    EXPECT_EQ(vi, 7UL);
}

TEST(SerialPortOpening, AnAbsentPortIsNotFound) {
    ViSession vi = 7;
    EXPECT_EQ(OpenSession(NewTerminalName() + "::INSTR", &vi), VI_ERROR_RSRC_NFOUND);
    EXPECT_EQ(vi, 7UL);
}

TEST(SerialPortOpening, ADeviceThatIsNoTerminalIsABareMinusOneOnPurpose) {
    const std::string name = NewTerminalName();
    const Link null("/dev/null", "/tmp/" + name);
    ViSession vi = 7;
    testing::internal::CaptureStdout();
    EXPECT_EQ(OpenSession("../tmp/" + name + "::INSTR", &vi), -1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Error from tcgetattr: Inappropriate ioctl for device\n");
    EXPECT_EQ(vi, 7UL);
    ViChar text[VI_FIND_BUFLEN] = "before";
    EXPECT_EQ(viStatusDesc(0, -1, text), VI_SUCCESS);
    EXPECT_STREQ(text, "");
}
