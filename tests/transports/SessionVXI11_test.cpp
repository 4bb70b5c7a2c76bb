#include "transports/SessionVXI11.h"

#include <gmock/gmock.h>

#include "api/DynamicVisa.h"
#include "drivers/LoadedDriver.h"
#include "transports/RpcRecord.h"
#include "transports/SessionIO.h"

using testing::ElementsAre;
using testing::ElementsAreArray;
using namespace uxvisa::test;
using uxvisa::rpc::Mark;
using uxvisa::rpc::Word;

namespace {

std::string Hex(const std::string& bytes) {
    std::string text;
    for (const char c : bytes) {
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02x", static_cast<unsigned char>(c));
        text += digits;
    }
    return text;
}

std::string Zeros(std::size_t size) {
    return std::string(size, '\0');
}

// Two words that a successful create_link reply carries behind its link identifier.
constexpr char LinkWords[] = "\x01\x02\x03\x04\x05\x06\x07\x08";

std::string Linked() {
    return Mark(40) + Zeros(32) + std::string(LinkWords, 8);
}

std::string PortReply(unsigned int port) {
    return Mark(28) + Zeros(24) + Word(port);
}

// A device_read reply; the record is padded to a multiple of four.
std::string ReadReply(unsigned int error, unsigned int reason, const std::string& data) {
    const std::string padding(uxvisa::rpc::Padding(data.size()), '\0');
    return Mark(48 + data.size() + padding.size()) + Zeros(24) + Word(error) + Zeros(4) +
           Word(reason) + Zeros(4) + Word(static_cast<unsigned int>(data.size())) + Zeros(4) +
           data + padding;
}

const std::string NoAuthentication = Zeros(16);

std::string Header(unsigned int id, unsigned int program, unsigned int version,
                   unsigned int procedure) {
    return Word(id) + Word(0) + Word(2) + Word(program) + Word(version) + Word(procedure) +
           NoAuthentication;
}

std::string CoreHeader(unsigned int id, unsigned int procedure) {
    return Header(id, 395183, 1, procedure);
}

class SessionVXI11 : public ::testing::Test {
protected:
    SessionVXI11() { EXPECT_GE(Visa.Initialize(driver.Path().c_str()), 0); }
    ~SessionVXI11() override {
        session.reset();
        Visa.Uninitialize();
    }

    // Opens on a known port, so that no portmapper is asked: manager 100, link 101.
    void OpenIt(const std::string& resource = "TCPIP0::10.0.0.7::INSTR") {
        driver->incoming = Linked();
        ASSERT_EQ(session->OpenConnectionEx(const_cast<char*>(resource.c_str()), 0, 1500, 618),
                  VI_SUCCESS);
        ASSERT_EQ(driver->incoming, "");
        driver->log.clear();
    }

    LoadedDriver driver;
    std::unique_ptr<CSessionVXI11> session = std::make_unique<CSessionVXI11>();
};

} // namespace

TEST(SessionVXI11Unbound, OpensAndClosesNothing) {
    CSessionVXI11 session;
    EXPECT_EQ(Open(session, "TCPIP0::10.0.0.7::INSTR"), VI_ERROR_LIBRARY_NFOUND);
    EXPECT_EQ(session.CloseConnection(), VI_ERROR_LIBRARY_NFOUND);
    EXPECT_EQ(Read(session, 1), Received("", VI_ERROR_LIBRARY_NFOUND));
    EXPECT_EQ(Write(session, "a"), (Transfer{VI_ERROR_LIBRARY_NFOUND, 1}));
}

TEST_F(SessionVXI11, CreatesItsLinkInFourWrites) {
    driver->incoming = PortReply(618) + Linked();
    ASSERT_EQ(Open(*session, "TCPIP0::10.0.0.7::INSTR", 1500), VI_SUCCESS);
    const std::string getPort =
        Header(1000, 100000, 2, 3) + Word(395183) + Word(1) + Word(6) + Word(0);
    EXPECT_THAT(
        driver->log,
        ElementsAre("manager", "manager", "open 101 TCPIP::10.0.0.7::111::SOCKET 1 3000",
                    "set 102 1073676314 2000", "write 102 80000038", "write 102 " + Hex(getPort),
                    "read 102 4", "read 102 28", "close 102", "close 101",
                    "open 100 TCPIP0::10.0.0.7::618::SOCKET 1 1500", "set 103 1073676314 5000",
                    "write 103 80000040",
                    "write 103 " +
                        Hex(CoreHeader(1001, 10) + Word(0) + Word(0) + Word(2000) + Word(5)),
                    "write 103 " + Hex("inst0"), "write 103 000000", "read 103 4", "read 103 40"));
}

TEST_F(SessionVXI11, TheThirdOfFourFieldsIsTheDevice) {
    driver->incoming = Linked();
    char resource[] = "TCPIP0::10.0.0.7::gpib0,5::INSTR";
    ASSERT_EQ(session->OpenConnectionEx(resource, 0, 0, 700), VI_SUCCESS);
    EXPECT_THAT(driver->log, testing::Contains("write 101 8000003c").Times(0));
    EXPECT_THAT(driver->log, testing::Contains("write 101 80000040"));
    EXPECT_THAT(driver->log, testing::Contains("write 101 " + Hex("gpib0,5")));
    EXPECT_THAT(driver->log, testing::Contains("write 101 00"));
}

TEST_F(SessionVXI11, PaddingIsWrittenOnlyWhenThereIsAny) {
    driver->incoming = Linked();
    char resource[] = "TCPIP0::h::inst::INSTR";
    ASSERT_EQ(session->OpenConnectionEx(resource, 0, 0, 700), VI_SUCCESS);
    EXPECT_THAT(driver->log,
                ElementsAre("manager", "open 100 TCPIP0::h::700::SOCKET 1 0",
                            "set 101 1073676314 5000", "write 101 8000003c", testing::_,
                            "write 101 " + Hex("inst"), "read 101 4", "read 101 40"));
}

TEST_F(SessionVXI11, AFailedPortLookUpGoesOnWithPortZeroOnPurpose) {
    driver->statuses["open"] = {VI_ERROR_RSRC_NFOUND};
    driver->incoming = Linked();
    EXPECT_EQ(Open(*session, "TCPIP0::h::INSTR"), VI_SUCCESS);
    EXPECT_THAT(driver->log, testing::Contains("open 100 TCPIP0::h::0::SOCKET 1 5000"));
}

TEST_F(SessionVXI11, PortLookUpStopsAtTheFirstFailure) {
    driver->statuses["write"] = {VI_SUCCESS, VI_ERROR_IO};
    EXPECT_EQ(session->GetPort("h"), 0);
    EXPECT_THAT(driver->log, ElementsAre("manager", "open 100 TCPIP::h::111::SOCKET 1 3000",
                                         "set 101 1073676314 2000", "write 101 80000038",
                                         testing::_, "close 101", "close 100"));
    driver->log.clear();
    driver->statuses["read"] = {VI_SUCCESS, VI_ERROR_TMO};
    driver->incoming = Zeros(4);
    EXPECT_EQ(session->GetPort("h"), 0);
    driver->incoming = PortReply(1024);
    EXPECT_EQ(session->GetPort("h"), 1024);
}

TEST_F(SessionVXI11, AFailedOpenStillSendsCreateLinkAndReturnsTheReplysStatusOnPurpose) {
    driver->statuses["open"] = {VI_ERROR_RSRC_NFOUND};
    driver->statuses["read"] = {VI_ERROR_INV_OBJECT, VI_ERROR_INV_SETUP};
    char resource[] = "TCPIP0::h::INSTR";
    EXPECT_EQ(session->OpenConnectionEx(resource, 0, 0, 700), VI_ERROR_INV_SETUP);
    EXPECT_THAT(driver->log,
                ElementsAre("manager", "open 100 TCPIP0::h::700::SOCKET 1 0", "close 100",
                            "set 0 1073676314 5000", "write 0 80000040", testing::_,
                            "write 0 " + Hex("inst0"), "write 0 000000", "read 0 4", "read 0 0"));
}

TEST_F(SessionVXI11, ALinkOtherThanZeroIsBusyOnPurpose) {
    for (const std::string& words : {Word(0) + Word(1), Word(3) + Word(0), Zeros(7) + "\x80"}) {
        driver->log.clear();
        driver->incoming = Mark(40) + Zeros(24) + words + std::string(LinkWords, 8);
        CSessionVXI11 busy;
        char resource[] = "TCPIP0::h::INSTR";
        EXPECT_EQ(busy.OpenConnectionEx(resource, 0, 0, 700), VI_ERROR_RSRC_BUSY);
        ASSERT_EQ(driver->log.size(), 11U);
        EXPECT_EQ(driver->log[9].substr(0, 6), "close ");
        EXPECT_EQ(driver->log[10].substr(0, 6), "close ");
        EXPECT_EQ(busy.CloseConnection(), VI_SUCCESS);
        EXPECT_EQ(driver->log.size(), 11U) << "both handles are cleared";
    }
}

TEST_F(SessionVXI11, WritesOneRecord) {
    OpenIt();
    driver->incoming = Mark(32) + Zeros(32);
    EXPECT_EQ(Write(*session, "A"), Sent(1));
    EXPECT_THAT(driver->log,
                ElementsAre("write 101 80000040",
                            "write 101 " + Hex(CoreHeader(1002, 11) + std::string(LinkWords, 8) +
                                               Word(3000) + Word(8) + Word(1)),
                            "write 101 41", "write 101 000000", "read 101 4", "read 101 32"));
}

TEST_F(SessionVXI11, WritesOfAMultipleOfFourHaveNoPadding) {
    OpenIt();
    driver->incoming = Mark(32) + Zeros(32);
    EXPECT_EQ(Write(*session, "ABCD"), Sent(4));
    EXPECT_EQ(driver->log.size(), 5U);
    EXPECT_EQ(driver->log[0], "write 101 80000040");
}

TEST_F(SessionVXI11, LargeWritesAreCutAndTheMarkKeepsItsTwoLowBytes) {
    for (const std::size_t size : {65475UL, 100000UL}) {
        session = std::make_unique<CSessionVXI11>();
        driver->nextHandle = 100;
        OpenIt();
        driver->incoming = Mark(32) + Zeros(32);
        EXPECT_EQ(Write(*session, std::string(size, 'x')), Sent(65475));
        EXPECT_EQ(driver->log[0], "write 101 80000000");
        EXPECT_EQ(driver->log[2].size(), std::string("write 101 ").size() + 2 * 65475);
        EXPECT_EQ(driver->log[3], "write 101 00");
        driver->incoming = Zeros(200);
    }
}

TEST_F(SessionVXI11, TheCountOfAWriteIsStoredWhateverHappensOnPurpose) {
    OpenIt();
    driver->statuses["write"] = {VI_ERROR_CONN_LOST, VI_ERROR_CONN_LOST, VI_ERROR_CONN_LOST};
    driver->statuses["read"] = {VI_ERROR_CONN_LOST, VI_ERROR_IO};
    EXPECT_EQ(Write(*session, "abcd"), (Transfer{VI_ERROR_IO, 4}));
    EXPECT_EQ(session->Write(nullptr, 0, nullptr), VI_SUCCESS);
}

TEST_F(SessionVXI11, ReadsOneRecord) {
    OpenIt();
    driver->incoming = ReadReply(0, 4, "hello");
    EXPECT_EQ(Read(*session, 100), Received("hello", VI_SUCCESS_TERM_CHAR));
    EXPECT_THAT(driver->log,
                ElementsAre("write 101 80000040" + Hex(CoreHeader(1003, 12)),
                            "write 101 " + Hex(std::string(LinkWords, 8) + Word(100) + Word(0) +
                                               Word(3000) + Word(0) + Zeros(24)),
                            "read 101 4", "read 101 24", "read 101 24", "read 101 5",
                            "read 101 3"));
    EXPECT_EQ(driver->incoming, "");
}

TEST_F(SessionVXI11, EndsOfAReadByReasonAndCount) {
    OpenIt();
    driver->incoming = ReadReply(0, 2, "ab");
    EXPECT_EQ(Read(*session, 10), Received("ab", VI_SUCCESS_TERM_CHAR));
    driver->incoming = ReadReply(0, 1, "abcd");
    EXPECT_EQ(Read(*session, 4), Received("abcd", VI_SUCCESS_MAX_CNT));
    driver->incoming = ReadReply(0, 0, "ab");
    EXPECT_EQ(Read(*session, 4), Received("ab"));
    driver->incoming = ReadReply(15, 4, "");
    EXPECT_EQ(Read(*session, 4), Received("", VI_ERROR_TMO));
    driver->incoming = ReadReply(17, 4, "");
    EXPECT_EQ(Read(*session, 4), Received("", VI_ERROR_IO));
    driver->incoming = ReadReply(11, 0, "ab");
    EXPECT_EQ(Read(*session, 4), Received("ab"));
}

TEST_F(SessionVXI11, AFailingDriversOwnStatusComesOut) {
    OpenIt();
    driver->statuses["read"] = {VI_ERROR_CONN_LOST, VI_ERROR_CONN_LOST, VI_ERROR_CONN_LOST,
                                VI_ERROR_INV_SETUP};
    EXPECT_EQ(Read(*session, 4), Received("", VI_ERROR_INV_SETUP));
    EXPECT_EQ(driver->log.size(), 6U) << "a rest that would be negative is not read";
}

TEST_F(SessionVXI11, MoreDataThanAskedForNeverPassTheBuffer) {
    OpenIt();
    driver->incoming = ReadReply(0, 0, "0123456789");
    EXPECT_EQ(Read(*session, 4), Received("0123", VI_SUCCESS_MAX_CNT));
    EXPECT_EQ(driver->incoming, "");
    const std::string lie =
        Mark(48) + Zeros(24) + Word(0) + Zeros(12) + Word(0xFFFFFFFF) + Zeros(4) + "abcd";
    driver->incoming = lie;
    EXPECT_EQ(Read(*session, 4), Received("abcd", VI_SUCCESS_MAX_CNT));
}

TEST_F(SessionVXI11, NullCountsAreTolerated) {
    OpenIt();
    driver->incoming = ReadReply(0, 4, "ab") + Mark(4) + Zeros(4);
    unsigned char buffer[8] = {'x'};
    EXPECT_EQ(session->Read(buffer, sizeof buffer, nullptr), VI_SUCCESS_TERM_CHAR);
    EXPECT_EQ(session->Write(buffer, 1, nullptr), VI_SUCCESS);
}

TEST_F(SessionVXI11, ClosesItsLink) {
    OpenIt();
    driver->incoming = Mark(24) + Zeros(24);
    EXPECT_EQ(session->CloseConnection(), VI_SUCCESS);
    EXPECT_THAT(driver->log,
                ElementsAre("write 101 8000002c" + Hex(CoreHeader(1006, 23)) + "01020304",
                            "read 101 4", "read 101 24", "close 101", "close 100"));
}

TEST_F(SessionVXI11, TheManagerIsClosedAgainByEveryCloseOnPurpose) {
    OpenIt();
    driver->statuses["write"] = {VI_ERROR_IO};
    driver->statuses["read"] = {VI_ERROR_IO, VI_ERROR_IO};
    driver->statuses["close"] = {VI_ERROR_IO, VI_ERROR_IO};
    EXPECT_EQ(session->CloseConnection(), VI_SUCCESS);
    driver->log.clear();
    EXPECT_EQ(session->CloseConnection(), VI_SUCCESS);
    session.reset();
    EXPECT_THAT(driver->log, ElementsAre("close 100", "close 100"));
}

TEST_F(SessionVXI11, TerminationReadsAsEnabledAlsoWhenClosedOnPurpose) {
    std::uint32_t value = 77;
    EXPECT_EQ(session->GetAttribute(VI_ATTR_TERMCHAR_EN, &value), VI_SUCCESS);
    EXPECT_EQ(value, 1U);
    EXPECT_EQ(session->GetAttribute(VI_ATTR_TERMCHAR_EN, nullptr), VI_ERROR_NSUP_ATTR_STATE);
    ViUInt32 other = 0;
    OpenIt();
    EXPECT_EQ(session->GetAttribute(VI_ATTR_TMO_VALUE, &other), VI_SUCCESS);
    EXPECT_EQ(other, 4711UL);
    EXPECT_THAT(driver->log, ElementsAre("get 101 1073676314"));
    EXPECT_EQ(session->SetAttribute(VI_ATTR_TMO_VALUE, 1), VI_ERROR_NIMPL_OPER);
    EXPECT_EQ(session->Clear(), VI_ERROR_NIMPL_OPER);
}

TEST_F(SessionVXI11, PortmapperIdentifiersRunFrom1000To1999) {
    char call[64];
    for (unsigned int i = 0; i < 2001; ++i) {
        ASSERT_EQ(session->FillRequest(call, sizeof call), 56);
        ASSERT_EQ(std::string(call, 4), Word(1000 + i % 1000)) << i;
    }
    EXPECT_EQ(session->FillRequest(call, 0), 56);
}

TEST_F(SessionVXI11, TooFewFieldsAreAnInvalidName) {
    EXPECT_EQ(Open(*session, "TCPIP0"), VI_ERROR_INV_RSRC_NAME);
    EXPECT_THAT(driver->log, ElementsAre());
}

TEST_F(SessionVXI11, AnUnloadedDriverIsNotCalledAgain) {
    OpenIt();
    Visa.Uninitialize();
    EXPECT_EQ(Read(*session, 4).status, VI_ERROR_LIBRARY_NFOUND);
    EXPECT_EQ(session->CloseConnection(), VI_ERROR_LIBRARY_NFOUND);
    EXPECT_THAT(driver->log, ElementsAre());
}
