#include "brix/SessionBRIX.h"

#include <gmock/gmock.h>

#include <unistd.h>

#include <memory>

#include "brix/Bytes.h"
#include "core/resourcemanager.h"
#include "drivers/LoadedProtocol.h"
#include "support/MockSession.h"
#include "support/ScriptedPeer.h"
#include "transports/SessionIO.h"
#include "uxvisa/visa.h"

using testing::ElementsAre;
using namespace uxvisa::test;

namespace {

constexpr unsigned long InnerId = 0x80000001;
constexpr unsigned long Direction = 0x3FFF00E8;
constexpr const char* Resource = "TCPIP::host::5025::SOCKET::BRIX";

const std::string Reset = BytesText("AA55 0100 0080 0000 00 00 0000 00000000");
const std::string Ident = BytesText("AA55 0200 0080 0000 00 00 0000 00000000");
const std::string SetByte5 = BytesText("AA55 0300 0080 0400 01 10 0000 00000000 0201 0500");
const std::string ResetReply = BytesText("AA55 0100 0000 0000 00 00 0000 00000000");
const std::string FreqReply = BytesText("AA55 0300 0000 0600 01 42 0000 00000000 0101 00800100");
const std::string FreqLine = "FREQ = 1.5\n";

// The transport.
class Inner : public MockSession {
public:
    Inner() { CBaseSession::SetID(InnerId); }

    long Clear() override {
        log.push_back("clear");
        return status;
    }
    long Flush(unsigned short mask) override {
        log.push_back("flush " + std::to_string(mask));
        return status;
    }
    long SetAttribute(unsigned long attribute, unsigned long value) override {
        log.push_back("set " + std::to_string(attribute) + " " + std::to_string(value));
        return status;
    }
    // Every read that was asked for is in `readSizes`; these are what they bring, in order.
    void Brings(std::string data, long readStatus = VI_SUCCESS) {
        blocks.push_back({std::move(data), readStatus});
    }

    std::vector<std::string> log;
    long status = VI_SUCCESS;
};

class Parent : public CBaseSession {
public:
    long Open(char* resource, unsigned long accessMode, unsigned long timeoutMs,
              ISession** session) override {
        libraryWasLoaded = IsLoaded(ProtocolPath("whole"));
        log.push_back(std::string("open ") + resource + " " + std::to_string(accessMode) + " " +
                      std::to_string(timeoutMs));
        if (openStatus >= VI_SUCCESS) {
            *session = &inner;
        }
        return openStatus;
    }
    long Close(unsigned long id) override {
        log.push_back("close " + std::to_string(id));
        return closeStatus;
    }

    Inner inner;
    std::vector<std::string> log;
    long openStatus = VI_SUCCESS;
    long closeStatus = VI_SUCCESS;
    bool libraryWasLoaded = false;
};

// Opened over a scripted transport.
class SessionBRIX : public ::testing::Test {
protected:
    SessionBRIX() { EXPECT_EQ(Open(session, Resource), VI_SUCCESS); }

    void Set(unsigned long attribute, unsigned long value) {
        EXPECT_EQ(session.SetAttribute(attribute, value), VI_SUCCESS);
    }
    void SetTerminator(char terminator) {
        Set(VI_ATTR_TERMCHAR, reinterpret_cast<unsigned long>(&terminator));
    }

    LoadedProtocol protocol;
    Parent parent;
    Inner& inner = parent.inner;
    CSessionBRIX session{&parent};
};

// Not opened yet.
class SessionBRIXOpening : public ::testing::Test {
protected:
    Parent parent;
    CSessionBRIX session{&parent};
};

std::string BlockReply(std::size_t bodyLen) {
    std::string packet = BytesText("AA55 0600 0000 0000 00 00 0000 00000000");
    packet[6] = static_cast<char>(bodyLen);
    packet[7] = static_cast<char>(bodyLen >> 8);
    for (std::size_t i = 0; i < bodyLen; ++i) {
        packet += static_cast<char>(i);
    }
    return packet;
}

void Bring(Inner& inner, const std::string& packet) {
    inner.Brings(packet.substr(0, 16));
    if (packet.size() > 16) {
        inner.Brings(packet.substr(16));
    }
}

} // namespace

TEST_F(SessionBRIX, OpensLibraryProtocolAndTransport) {
    EXPECT_THAT(protocol->log, ElementsAre("open 7", "load 7 Protocol.xml"));
    EXPECT_THAT(parent.log, ElementsAre("open TCPIP::host::5025::SOCKET 0 5000"));
}

TEST_F(SessionBRIX, ClosesTheTransportByItsIdentifier) {
    parent.closeStatus = VI_ERROR_CLOSING_FAILED;
    EXPECT_EQ(session.CloseConnection(), VI_ERROR_CLOSING_FAILED);
    EXPECT_EQ(parent.log.back(), "close 2147483649");
    EXPECT_EQ(protocol->log.back(), "close 7");
}

TEST_F(SessionBRIX, TheIdentifierIsTheOneOfTheOpening) {
    inner.SetID(5);
    EXPECT_EQ(session.CloseConnection(), VI_SUCCESS);
    EXPECT_EQ(parent.log.back(), "close 2147483649");
}

TEST_F(SessionBRIX, ASecondCloseAsksTheParentAgainOnPurpose) {
    EXPECT_EQ(session.CloseConnection(), VI_SUCCESS);
    parent.closeStatus = VI_ERROR_INV_OBJECT;
    EXPECT_EQ(session.CloseConnection(), VI_ERROR_INV_OBJECT);
    EXPECT_THAT(parent.log, ElementsAre(testing::_, "close 2147483649", "close 2147483649"));
    EXPECT_THAT(protocol->log, ElementsAre("open 7", "load 7 Protocol.xml", "close 7"));
}

TEST_F(SessionBRIX, TransfersAfterClosingTouchNothing) {
    Bring(inner, ResetReply);
    session.CloseConnection();
    EXPECT_EQ(Write(session, "RESET\n"), (Transfer{VI_ERROR_INV_OBJECT, 0}));
    EXPECT_EQ(Write(session, "RES"), (Transfer{VI_ERROR_INV_OBJECT, 0}));
    EXPECT_EQ(Read(session, 10), (Transfer{VI_ERROR_INV_OBJECT, 0}));
    session.SetAttribute(VI_ATTR_BRIX_RAW, 1);
    EXPECT_EQ(Write(session, "RESET\n"), (Transfer{VI_ERROR_INV_OBJECT, 0}));
    EXPECT_EQ(Read(session, 10), (Transfer{VI_ERROR_INV_OBJECT, 0}));
    ViUInt32 value = 0;
    EXPECT_EQ(session.Clear(), VI_ERROR_INV_OBJECT);
    EXPECT_EQ(session.Flush(1), VI_ERROR_INV_OBJECT);
    EXPECT_EQ(session.SetAttribute(VI_ATTR_TMO_VALUE, 1), VI_ERROR_INV_OBJECT);
    EXPECT_EQ(session.GetAttribute(VI_ATTR_TMO_VALUE, &value), VI_ERROR_INV_OBJECT);
    EXPECT_THAT(inner.log, ElementsAre());
    EXPECT_THAT(inner.writes, ElementsAre());
    EXPECT_THAT(inner.readSizes, ElementsAre());
}

TEST_F(SessionBRIX, TextThatIsLeftIsNotReadAfterClosing) {
    Bring(inner, FreqReply);
    EXPECT_EQ(Read(session, 1), Received("F"));
    session.CloseConnection();
    EXPECT_EQ(Read(session, 10), (Transfer{VI_ERROR_INV_OBJECT, 0}));
}

TEST_F(SessionBRIX, TheDestructorCloses) {
    {
        CSessionBRIX other(&parent);
        Open(other, Resource);
    }
    EXPECT_EQ(parent.log.back(), "close 2147483649");
    EXPECT_EQ(protocol->log.back(), "close 8");
}

TEST_F(SessionBRIX, TwoSessionsHaveTheirOwnProtocols) {
    Parent otherParent;
    CSessionBRIX other(&otherParent);
    EXPECT_EQ(Open(other, Resource), VI_SUCCESS);
    EXPECT_EQ(Write(session, "RESET\n"), Sent(6));
    EXPECT_EQ(Write(other, "IDENT\n"), Sent(6));
    session.CloseConnection();
    EXPECT_EQ(Write(other, "RESET\n"), Sent(6));
    EXPECT_THAT(inner.writes, ElementsAre(Reset));
    EXPECT_THAT(otherParent.inner.writes, ElementsAre(Ident, Reset));
    EXPECT_THAT(protocol->log, ElementsAre("open 7", "load 7 Protocol.xml", "open 8",
                                           "load 8 Protocol.xml", "close 7"));
}

TEST_F(SessionBRIX, ASecondOpenUnloadsTheFirstLibrary) {
    Set(VI_ATTR_BRIX_RAW, 1);
    Set(VI_ATTR_BRIX_DECODE_MODE, 2);
    Set(VI_ATTR_BRIX_FULL_HEADER, 1);
    Set(VI_ATTR_BRIX_SPLIT_WRITE, 1);
    SetTerminator(';');
    EXPECT_EQ(Open(session, Resource), VI_SUCCESS);
    EXPECT_THAT(protocol->log, ElementsAre("open 7", "load 7 Protocol.xml", "close 7", "open 8",
                                           "load 8 Protocol.xml"));
    for (const auto& [attribute, expected] :
         {std::pair(VI_ATTR_BRIX_RAW, 0UL), std::pair(VI_ATTR_BRIX_DECODE_MODE, 0UL),
          std::pair(VI_ATTR_BRIX_FULL_HEADER, 0UL), std::pair(VI_ATTR_BRIX_SPLIT_WRITE, 0UL),
          std::pair(VI_ATTR_TERMCHAR, 10UL)}) {
        ViUInt32 value = 0;
        EXPECT_EQ(session.GetAttribute(attribute, &value), VI_SUCCESS);
        EXPECT_EQ(value, expected);
    }
}

TEST_F(SessionBRIX, OtherOperationsAreTheBases) {
    EXPECT_EQ(session.FindResources(nullptr, nullptr, nullptr), VI_ERROR_NIMPL_OPER);
    EXPECT_EQ(session.Close(1), VI_ERROR_NIMPL_OPER);
    EXPECT_EQ(session.EnableEvent(0, 0, 0), VI_ERROR_NIMPL_OPER);
    EXPECT_EQ(session.DisableEvent(0, 0), VI_SUCCESS);
    EXPECT_EQ(session.SetBuf(0, 0), VI_ERROR_NIMPL_OPER);
}

// ---- Opening ----

TEST_F(SessionBRIXOpening, NeedsTheLibraryInTheWorkingDirectory) {
    const WorkingDirectory elsewhere(UXVISA_TEST_DRIVERS);
    EXPECT_EQ(Open(session, Resource), VI_ERROR_LIBRARY_NFOUND);
    EXPECT_THAT(parent.log, ElementsAre());
    EXPECT_EQ(session.CloseConnection(), VI_SUCCESS);
}

TEST_F(SessionBRIXOpening, TheWorkingDirectoryIsThatOfTheOpeningOnPurpose) {
    const WorkingDirectory folder(ProtocolFolder("whole"));
    EXPECT_EQ(Open(session, Resource), VI_SUCCESS);
    const WorkingDirectory elsewhere(UXVISA_TEST_DRIVERS);
    EXPECT_EQ(Write(session, "RESET\n"), Sent(6));
}

TEST_F(SessionBRIXOpening, AWorkingDirectoryThatIsGoneHasNoLibrary) {
    char path[] = "/tmp/uxvisa-brix-XXXXXX";
    ASSERT_NE(mkdtemp(path), nullptr);
    const auto before = std::filesystem::current_path();
    std::filesystem::current_path(path);
    rmdir(path);
    EXPECT_EQ(Open(session, Resource), VI_ERROR_LIBRARY_NFOUND);
    std::filesystem::current_path(before);
}

TEST_F(SessionBRIXOpening, AFileThatIsNoLibraryPrintsNothing) {
    char path[] = "/tmp/uxvisa-brix-XXXXXX";
    ASSERT_NE(mkdtemp(path), nullptr);
    const std::string file = std::string(path) + "/libProtoDesc.so.1.0.0";
    std::fclose(std::fopen(file.c_str(), "w"));
    {
        const WorkingDirectory folder(path);
        testing::internal::CaptureStderr();
        EXPECT_EQ(Open(session, Resource), VI_ERROR_LIBRARY_NFOUND);
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    }
    std::filesystem::remove_all(path);
}

TEST_F(SessionBRIXOpening, TheLibraryIsLoadedBeforeTheParentIsAskedOnPurpose) {
    const WorkingDirectory folder(ProtocolFolder("whole"));
    ASSERT_FALSE(IsLoaded(ProtocolPath("whole")));
    parent.openStatus = VI_ERROR_RSRC_NFOUND;
    EXPECT_EQ(Open(session, Resource), VI_ERROR_RSRC_NFOUND);
    EXPECT_TRUE(parent.libraryWasLoaded);
    EXPECT_EQ(session.CloseConnection(), VI_SUCCESS);
    EXPECT_FALSE(IsLoaded(ProtocolPath("whole")));
    EXPECT_THAT(parent.log, ElementsAre("open TCPIP::host::5025::SOCKET 0 5000"));
}

class SessionBRIXMissing : public ::testing::TestWithParam<const char*> {};

TEST_P(SessionBRIXMissing, EveryFunctionIsNeeded) {
    const std::string name = std::string("without_") + GetParam();
    {
        LoadedProtocol protocol(name);
        Parent parent;
        {
            CSessionBRIX session(&parent);
            EXPECT_EQ(Open(session, Resource), VI_ERROR_LIBRARY_NFOUND);
            EXPECT_EQ(session.CloseConnection(), VI_SUCCESS);
        }
        EXPECT_THAT(parent.log, ElementsAre());
        EXPECT_THAT(protocol->log, ElementsAre());
    }
    EXPECT_FALSE(IsLoaded(ProtocolPath(name)));
}

TEST_P(SessionBRIXMissing, AnIncompleteLibraryStaysLoadedUntilTheClose) {
    const std::string name = std::string("without_") + GetParam();
    const WorkingDirectory folder(ProtocolFolder(name));
    CSessionBRIX session(nullptr);
    EXPECT_EQ(Open(session, Resource), VI_ERROR_LIBRARY_NFOUND);
    EXPECT_TRUE(IsLoaded(ProtocolPath(name)));
    EXPECT_EQ(session.CloseConnection(), VI_SUCCESS);
    EXPECT_FALSE(IsLoaded(ProtocolPath(name)));
}

INSTANTIATE_TEST_SUITE_P(Functions, SessionBRIXMissing,
                         ::testing::Values("OpenSession", "ProtLoadFromFile", "GetErrorName",
                                           "GetCommandName", "GetParameterName", "GetCommandID",
                                           "GetParameterFract", "GetParameterSize",
                                           "GetParameterID", "CloseSession"));

TEST_F(SessionBRIXOpening, WhatTheLibraryAnswersIsNotCheckedOnPurpose) {
    LoadedProtocol protocol;
    protocol->openResult = -1;
    protocol->loadResult = -2;
    EXPECT_EQ(Open(session, Resource), VI_SUCCESS);
    EXPECT_THAT(protocol->log, ElementsAre("open 7", "load 7 Protocol.xml"));
    session.CloseConnection();
    EXPECT_EQ(protocol->log.back(), "close 7");
}

TEST_F(SessionBRIXOpening, TheFirstSuffixGoesWhereverItStandsOnPurpose) {
    LoadedProtocol protocol;
    for (const auto& [resource, stripped] :
         {std::pair("TCPIP::h::BRIX::5::SOCKET", "TCPIP::h::5::SOCKET"),
          std::pair("TCPIP::BRIXTON::5::SOCKET::BRIX", "TCPIPTON::5::SOCKET::BRIX"),
          std::pair("TCPIP::h::brix", "TCPIP::h"), std::pair("tcpip::h::bRiX::x", "tcpip::h::x"),
          std::pair("TCPIP::brix::h::BRIX", "TCPIP::brix::h")}) {
        EXPECT_EQ(Open(session, resource), VI_SUCCESS);
        EXPECT_EQ(parent.log.back(), std::string("open ") + stripped + " 0 5000");
    }
}

TEST_F(SessionBRIXOpening, WithoutTheSuffixNothingHappens) {
    LoadedProtocol protocol;
    for (const char* resource : {"", "TCPIP::h::5::SOCKET", "TCPIP::h:BRIX", "BRIX"}) {
        EXPECT_EQ(Open(session, resource), VI_ERROR_INV_RSRC_NAME) << resource;
    }
    EXPECT_EQ(session.OpenConnection(nullptr, 0, 0), VI_ERROR_INV_RSRC_NAME);
    EXPECT_THAT(parent.log, ElementsAre());
    EXPECT_THAT(protocol->log, ElementsAre());
}

TEST_F(SessionBRIXOpening, TheCallersNameIsLeftAlone) {
    LoadedProtocol protocol;
    char resource[] = "TCPIP::h::5::SOCKET::BRIX";
    EXPECT_EQ(session.OpenConnection(resource, 3, 4), VI_SUCCESS);
    EXPECT_STREQ(resource, "TCPIP::h::5::SOCKET::BRIX");
    EXPECT_EQ(parent.log.back(), "open TCPIP::h::5::SOCKET 3 4");
}

TEST_F(SessionBRIXOpening, AParentThatCannotOpen) {
    LoadedProtocol protocol;
    CBaseSession base;
    CSessionBRIX unable(&base);
    EXPECT_EQ(Open(unable, Resource), VI_ERROR_NSUP_OPER);
    EXPECT_EQ(unable.CloseConnection(), VI_SUCCESS);
    CSessionBRIX orphan(nullptr);
    EXPECT_EQ(Open(orphan, Resource), VI_ERROR_NSUP_OPER);
    EXPECT_EQ(orphan.CloseConnection(), VI_SUCCESS);
}

TEST_F(SessionBRIXOpening, AParentThatCannotClose) {
    class OpensOnly : public CBaseSession {
    public:
        long Open(char*, unsigned long, unsigned long, ISession** session) override {
            *session = &inner;
            return VI_SUCCESS;
        }
        Inner inner;
    };
    LoadedProtocol protocol;
    OpensOnly opens;
    CSessionBRIX unable(&opens);
    EXPECT_EQ(Open(unable, Resource), VI_SUCCESS);
    EXPECT_EQ(unable.CloseConnection(), VI_ERROR_NIMPL_OPER);
    EXPECT_EQ(protocol->log.back(), "close 7");
}

TEST_F(SessionBRIXOpening, NothingWorksBeforeIt) {
    EXPECT_EQ(Write(session, "RESET\n"), (Transfer{VI_ERROR_INV_OBJECT, 0}));
    EXPECT_EQ(Read(session, 1), (Transfer{VI_ERROR_INV_OBJECT, 0}));
    EXPECT_EQ(session.Clear(), VI_ERROR_INV_OBJECT);
    EXPECT_EQ(session.CloseConnection(), VI_SUCCESS);
}

TEST_F(SessionBRIXOpening, AFailedSecondOpenKeepsTheFirstTransportClosable) {
    LoadedProtocol protocol;
    Open(session, Resource);
    parent.openStatus = VI_ERROR_RSRC_NFOUND;
    EXPECT_EQ(Open(session, Resource), VI_ERROR_RSRC_NFOUND);
    EXPECT_EQ(session.CloseConnection(), VI_SUCCESS);
    EXPECT_EQ(parent.log.back(), "close 2147483649");
}

// ---- Writing ----

TEST_F(SessionBRIX, EachLineIsAPacketOfItsOwn) {
    EXPECT_EQ(Write(session, "RESET\nBYTE=5\nIDENT\n"), Sent(19));
    EXPECT_THAT(inner.writes, ElementsAre(Reset, SetByte5, Ident));
}

TEST_F(SessionBRIX, AFragmentWaitsForItsEnd) {
    EXPECT_EQ(Write(session, "RESET\nID"), Sent(8));
    EXPECT_THAT(inner.writes, ElementsAre(Reset));
    EXPECT_EQ(Write(session, ""), Sent(0));
    EXPECT_EQ(Write(session, "EN"), Sent(2));
    EXPECT_EQ(Write(session, "T\n"), Sent(2));
    EXPECT_THAT(inner.writes, ElementsAre(Reset, Ident));
}

TEST_F(SessionBRIX, OneByteAtATime) {
    for (const char c : std::string("BYTE=5\n")) {
        EXPECT_EQ(Write(session, std::string(1, c)), Sent(1));
    }
    EXPECT_THAT(inner.writes, ElementsAre(SetByte5));
}

TEST_F(SessionBRIX, ANulActsLikeTheTerminatorOnPurpose) {
    EXPECT_EQ(Write(session, std::string("RESET\0IDENT\0ID", 14)), Sent(14));
    EXPECT_THAT(inner.writes, ElementsAre(Reset, Ident));
}

TEST_F(SessionBRIX, AnEmptyLineFailsOnPurpose) {
    EXPECT_EQ(Write(session, "\n"), (Transfer{VI_ERROR_INP_PROT_VIOL, 0}));
    EXPECT_EQ(Write(session, "RESET\n\nRESET\n"), (Transfer{VI_ERROR_INP_PROT_VIOL, 6}));
    EXPECT_THAT(inner.writes, ElementsAre(Reset));
}

TEST_F(SessionBRIX, AnEncodingErrorDropsTheRestOnPurpose) {
    EXPECT_EQ(Write(session, "RESET\nNOBODY\nIDENT\nID"), (Transfer{VI_ERROR_INP_PROT_VIOL, 6}));
    EXPECT_EQ(Write(session, "IDENT\n"), Sent(6));
    EXPECT_THAT(inner.writes, ElementsAre(Reset, Ident));
}

TEST_F(SessionBRIX, AnEncodingErrorDropsTheFragmentBeforeIt) {
    EXPECT_EQ(Write(session, "NOB"), Sent(3));
    EXPECT_EQ(Write(session, "ODY\n"), (Transfer{VI_ERROR_INP_PROT_VIOL, 0}));
    EXPECT_EQ(Write(session, "RESET\n"), Sent(6));
}

TEST_F(SessionBRIX, ALineCountsBeforeItIsSentOnPurpose) {
    inner.writeStatuses = {VI_SUCCESS, VI_ERROR_TMO};
    EXPECT_EQ(Write(session, "RESET\nIDENT\nRESET\n"), (Transfer{VI_ERROR_TMO, 12}));
    EXPECT_THAT(inner.writes, ElementsAre(Reset, Ident));
    EXPECT_EQ(Write(session, "BYTE=5\n"), Sent(7));
    EXPECT_EQ(inner.writes.back(), SetByte5);
}

TEST_F(SessionBRIX, WarningsOfTheTransportEndTheWriteToo) {
    inner.writeStatuses = {VI_SUCCESS_MAX_CNT};
    EXPECT_EQ(Write(session, "RESET\nIDENT\n"), (Transfer{VI_SUCCESS_MAX_CNT, 6}));
}

TEST_F(SessionBRIX, ALineEndBeforeTheTerminatorIsNoHarm) {
    EXPECT_EQ(Write(session, "BYTE=5\r\n"), Sent(8));
    EXPECT_EQ(Write(session, "RESET\r\n"), Sent(7));
    EXPECT_THAT(inner.writes, ElementsAre(SetByte5, Reset));
}

TEST_F(SessionBRIX, AnotherTerminator) {
    SetTerminator(';');
    EXPECT_EQ(Write(session, "BYTE=5\n;RESET;ID"), Sent(16));
    EXPECT_THAT(inner.writes, ElementsAre(SetByte5, Reset));
    EXPECT_EQ(Write(session, "\nENT;"), (Transfer{VI_ERROR_INP_PROT_VIOL, 0}));
}

TEST_F(SessionBRIX, SplitPackets) {
    Set(VI_ATTR_BRIX_SPLIT_WRITE, 7);
    EXPECT_EQ(Write(session, "BYTE=5\n"), Sent(7));
    EXPECT_THAT(inner.writes, ElementsAre(SetByte5.substr(0, 16), SetByte5.substr(16)));
}

TEST_F(SessionBRIX, SplitModeSendsTheBodyAlsoWhenItIsEmptyOnPurpose) {
    Set(VI_ATTR_BRIX_SPLIT_WRITE, 1);
    EXPECT_EQ(Write(session, "RESET\n"), Sent(6));
    EXPECT_THAT(inner.writes, ElementsAre(Reset, ""));
}

TEST_F(SessionBRIX, SplitModeSendsNoBodyAfterAFailedHeader) {
    Set(VI_ATTR_BRIX_SPLIT_WRITE, 1);
    inner.writeStatuses = {VI_ERROR_CONN_LOST};
    EXPECT_EQ(Write(session, "BYTE=5\n"), (Transfer{VI_ERROR_CONN_LOST, 7}));
    EXPECT_THAT(inner.writes, ElementsAre(SetByte5.substr(0, 16)));
}

TEST_F(SessionBRIX, CountsMayBeNull) {
    unsigned char line[] = "RESET\n";
    EXPECT_EQ(session.Write(line, 6, nullptr), VI_SUCCESS);
    Bring(inner, ResetReply);
    unsigned char buffer[16];
    EXPECT_EQ(session.Read(buffer, 6, nullptr), VI_SUCCESS);
    EXPECT_EQ(std::memcmp(buffer, "RESET\n", 6), 0);
}

TEST_F(SessionBRIX, TheLargestPacketIsSentWhole) {
    EXPECT_EQ(Write(session, "RESET (bodylen=65535)\n"), Sent(22));
    ASSERT_EQ(inner.writes.size(), 1U);
    EXPECT_EQ(inner.writes[0].size(), 16U + 65535U);
}

// ---- Reading ----

TEST_F(SessionBRIX, APacketIsALine) {
    Bring(inner, FreqReply);
    EXPECT_EQ(Read(session, 100), Received(FreqLine));
    EXPECT_THAT(inner.readSizes, ElementsAre(16UL, 6UL));
}

TEST_F(SessionBRIX, APacketWithoutABodyTakesOneRead) {
    Bring(inner, ResetReply);
    EXPECT_EQ(Read(session, 100), Received("RESET\n"));
    EXPECT_THAT(inner.readSizes, ElementsAre(16UL));
}

TEST_F(SessionBRIX, ALineIsHandedOutInPiecesBeforeTheTransportIsAskedAgain) {
    Bring(inner, FreqReply);
    EXPECT_EQ(Read(session, 5), Received("FREQ "));
    EXPECT_EQ(Read(session, 0), Received(""));
    EXPECT_EQ(Read(session, 5), Received("= 1.5"));
    EXPECT_EQ(Read(session, 5), Received("\n"));
    EXPECT_EQ(inner.readSizes.size(), 2U);
    EXPECT_EQ(Read(session, 5), (Transfer{VI_ERROR_TMO, 0}));
    EXPECT_EQ(inner.readSizes.size(), 3U);
}

TEST_F(SessionBRIX, OnePacketIsReceivedAtATimeOnPurpose) {
    Bring(inner, ResetReply);
    Bring(inner, FreqReply);
    EXPECT_EQ(Read(session, 1000), Received("RESET\n"));
    EXPECT_THAT(inner.readSizes, ElementsAre(16UL));
    EXPECT_EQ(Read(session, 1000), Received(FreqLine));
}

TEST_F(SessionBRIX, TheTerminatorEndsTheLine) {
    SetTerminator('\r');
    Bring(inner, ResetReply);
    EXPECT_EQ(Read(session, 100), Received("RESET\r"));
    SetTerminator('\0');
    Bring(inner, ResetReply);
    EXPECT_EQ(Read(session, 100), Received(std::string("RESET\0", 6)));
}

TEST_F(SessionBRIX, APartialHeaderIsLostOnPurpose) {
    inner.Brings(ResetReply.substr(0, 7), VI_ERROR_TMO);
    Bring(inner, FreqReply);
    EXPECT_EQ(Read(session, 100), (Transfer{VI_ERROR_TMO, 0}));
    EXPECT_EQ(Read(session, 100), Received(FreqLine));
}

TEST_F(SessionBRIX, AShortHeaderWithSuccessIsASuccessWithoutBytes) {
    inner.Brings(ResetReply.substr(0, 15));
    inner.Brings("", VI_SUCCESS);
    EXPECT_EQ(Read(session, 100), Received(""));
    EXPECT_EQ(Read(session, 100), Received(""));
    EXPECT_THAT(inner.readSizes, ElementsAre(16UL, 16UL));
}

TEST_F(SessionBRIX, AShortHeaderGivesTheTransportsStatus) {
    for (const long status : {VI_ERROR_RSRC_BUSY, VI_ERROR_CONN_LOST, VI_SUCCESS_TERM_CHAR}) {
        inner.Brings(ResetReply.substr(0, 5), status);
        EXPECT_EQ(Read(session, 100), (Transfer{status, 0}));
    }
}

TEST_F(SessionBRIX, ACompleteHeaderGoesOnWhateverItsStatusOnPurpose) {
    for (const long status : {VI_ERROR_TMO, VI_ERROR_RSRC_BUSY, VI_ERROR_CONN_LOST}) {
        inner.Brings(FreqReply.substr(0, 16), status);
        inner.Brings(FreqReply.substr(16));
        EXPECT_EQ(Read(session, 100), Received(FreqLine));
    }
    // Without a body the header's read is the last one.
    inner.Brings(ResetReply, VI_ERROR_TMO);
    EXPECT_EQ(Read(session, 100), Received("RESET\n", VI_ERROR_TMO));
}

TEST_F(SessionBRIX, APartialBodySurvivesATimeoutOnPurpose) {
    inner.Brings(FreqReply.substr(0, 16));
    inner.Brings(FreqReply.substr(16, 2), VI_ERROR_TMO);
    inner.Brings("", VI_ERROR_TMO);
    inner.Brings(FreqReply.substr(18, 1), VI_ERROR_TMO);
    inner.Brings(FreqReply.substr(19));
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(Read(session, 100), (Transfer{VI_ERROR_TMO, 0}));
    }
    EXPECT_EQ(Read(session, 100), Received(FreqLine));
    EXPECT_THAT(inner.readSizes, ElementsAre(16UL, 6UL, 4UL, 4UL, 3UL));
}

TEST_F(SessionBRIX, ABodyThatIsCompleteIsHandedOutWithTheLastStatus) {
    inner.Brings(FreqReply.substr(0, 16));
    inner.Brings(FreqReply.substr(16), VI_ERROR_TMO);
    EXPECT_EQ(Read(session, 4), Received("FREQ", VI_ERROR_TMO));
    EXPECT_EQ(Read(session, 100), Received(" = 1.5\n"));
}

TEST_F(SessionBRIX, OnlyABusyTransportIsAskedAgainOnPurpose) {
    inner.Brings(FreqReply.substr(0, 16));
    for (std::size_t i = 16; i < 21; ++i) {
        inner.Brings(FreqReply.substr(i, 1), VI_ERROR_RSRC_BUSY);
    }
    inner.Brings("", VI_ERROR_RSRC_BUSY);
    inner.Brings(FreqReply.substr(21));
    EXPECT_EQ(Read(session, 100), Received(FreqLine));
    EXPECT_THAT(inner.readSizes, ElementsAre(16UL, 6UL, 5UL, 4UL, 3UL, 2UL, 1UL, 1UL));
}

TEST_F(SessionBRIX, ABusyTransportThatHasGivenAllIsNotAskedAgain) {
    inner.Brings(FreqReply.substr(0, 16));
    inner.Brings(FreqReply.substr(16), VI_ERROR_RSRC_BUSY);
    EXPECT_EQ(Read(session, 100), Received(FreqLine, VI_ERROR_RSRC_BUSY));
    EXPECT_THAT(inner.readSizes, ElementsAre(16UL, 6UL));
}

TEST_F(SessionBRIX, AShortBodyWithSuccessDropsThePacketOnPurpose) {
    inner.Brings(FreqReply.substr(0, 16));
    inner.Brings(FreqReply.substr(16, 3));
    Bring(inner, ResetReply);
    EXPECT_EQ(Read(session, 100), Received(""));
    EXPECT_EQ(Read(session, 100), Received("RESET\n"));
}

TEST_F(SessionBRIX, OtherErrorsDropThePacket) {
    inner.Brings(FreqReply.substr(0, 16));
    inner.Brings(FreqReply.substr(16, 3), VI_ERROR_CONN_LOST);
    Bring(inner, ResetReply);
    EXPECT_EQ(Read(session, 100), (Transfer{VI_ERROR_CONN_LOST, 0}));
    EXPECT_EQ(Read(session, 100), Received("RESET\n"));
}

TEST_F(SessionBRIX, ClearForgetsThePacketUnderWay) {
    inner.Brings(FreqReply.substr(0, 16));
    inner.Brings(FreqReply.substr(16, 3), VI_ERROR_TMO);
    Bring(inner, ResetReply);
    EXPECT_EQ(Read(session, 100), (Transfer{VI_ERROR_TMO, 0}));
    inner.status = VI_ERROR_IO;
    EXPECT_EQ(session.Clear(), VI_ERROR_IO);
    EXPECT_THAT(inner.log, ElementsAre("clear"));
    EXPECT_EQ(Read(session, 100), Received("RESET\n"));
}

TEST_F(SessionBRIX, ClearForgetsNothingElseOnPurpose) {
    Set(VI_ATTR_BRIX_DECODE_MODE, 2);
    Bring(inner, BlockReply(4));
    EXPECT_EQ(Read(session, 5), Received("BLOCK"));
    EXPECT_EQ(Write(session, "RES"), Sent(3));
    EXPECT_EQ(session.Clear(), VI_SUCCESS);
    EXPECT_EQ(Read(session, 100), Received(" ( BodyLen=4 ID=50462976 )\n"));
    EXPECT_EQ(Read(session, 100), Received(std::string("#12\0\1", 5)));
    EXPECT_EQ(Write(session, "ET\n"), Sent(3));
    EXPECT_THAT(inner.writes, ElementsAre(Reset));
}

TEST_F(SessionBRIX, TheLargestPacket) {
    const std::string packet = BlockReply(65535);
    Bring(inner, packet);
    EXPECT_EQ(Read(session, 100), Received("BLOCK ( BodyLen=65535 ID=50462976 )\n"));
    EXPECT_THAT(inner.readSizes, ElementsAre(16UL, 65535UL));
    Set(VI_ATTR_BRIX_DECODE_MODE, 2);
    Bring(inner, packet);
    EXPECT_EQ(Read(session, 100), Received("BLOCK ( BodyLen=65535 ID=50462976 )\n"));
    EXPECT_EQ(Read(session, 100000), Received("#565533" + packet.substr(16, 65533)));
}

TEST_F(SessionBRIX, ALongLineOneByteAtATime) {
    Set(VI_ATTR_BRIX_DECODE_MODE, 1);
    Bring(inner, BlockReply(19900));
    std::string line;
    for (Transfer next = Read(session, 1); next.count == 1; next = Read(session, 1)) {
        line += next.data;
    }
    EXPECT_EQ(line.substr(0, 48), "BLOCK ( BodyLen=19900 ID=50462976 ) 0x00 0x01 0x");
    EXPECT_EQ(line.size(), 36U + 19900 * 5);
    EXPECT_EQ(line.back(), '\n');
}

TEST_F(SessionBRIX, ALongLineInPiecesOfEverySize) {
    Set(VI_ATTR_BRIX_DECODE_MODE, 1);
    const std::string packet = BlockReply(19990);
    Bring(inner, packet);
    const std::string whole = Read(session, 200000).data;
    ASSERT_GT(whole.size(), 99980U);
    for (const std::size_t size : {777U, 32768U, 40000U, 65535U, 65536U, 99000U}) {
        Bring(inner, packet);
        std::string line;
        while (line.size() < whole.size()) {
            line += Read(session, size).data;
        }
        EXPECT_TRUE(line == whole) << size;
    }
}

// ---- Blocks ----

TEST_F(SessionBRIX, ModeTwoDeliversTheBodyAsABlock) {
    Set(VI_ATTR_BRIX_DECODE_MODE, 2);
    const std::string packet = BlockReply(102);
    Bring(inner, packet);
    EXPECT_EQ(Read(session, 1000), Received("BLOCK ( BodyLen=102 ID=50462976 )\n"));
    EXPECT_EQ(Read(session, 3), Received("#31"));
    EXPECT_EQ(Read(session, 3), Received(std::string("00\0", 3)));
    EXPECT_EQ(Read(session, 1000), Received(packet.substr(17, 99)));
    EXPECT_EQ(inner.readSizes.size(), 2U);
    EXPECT_EQ(Read(session, 1), (Transfer{VI_ERROR_TMO, 0}));
}

TEST_F(SessionBRIX, TextAndBlockNeverShareAReadOnPurpose) {
    Set(VI_ATTR_BRIX_DECODE_MODE, 2);
    Bring(inner, BlockReply(4));
    EXPECT_EQ(Read(session, 20), Received("BLOCK ( BodyLen=4 ID"));
    EXPECT_EQ(Read(session, 100), Received("=50462976 )\n"));
    EXPECT_EQ(Read(session, 100), Received(std::string("#12\0\1", 5)));
}

TEST_F(SessionBRIX, BodiesOfTwoBytesAreNoBlock) {
    Set(VI_ATTR_BRIX_DECODE_MODE, 2);
    for (const std::size_t bodyLen : {1U, 2U}) {
        Bring(inner, BlockReply(bodyLen));
        EXPECT_EQ(Read(session, 1000).data.substr(0, 17),
                  "BLOCK ( BodyLen=" + std::to_string(bodyLen));
        EXPECT_EQ(Read(session, 1), (Transfer{VI_ERROR_TMO, 0}));
    }
    Bring(inner, BlockReply(3));
    EXPECT_EQ(Read(session, 1000).data, "BLOCK ( BodyLen=3 ID=131328 )\n");
    EXPECT_EQ(Read(session, 1000), Received(std::string("#11\0", 4)));
}

TEST_F(SessionBRIX, OtherModesAndCommandsGiveNoBlock) {
    Bring(inner, BlockReply(4));
    EXPECT_EQ(Read(session, 1000), Received("BLOCK ( BodyLen=4 ID=50462976 )\n"));
    Set(VI_ATTR_BRIX_DECODE_MODE, 2);
    Bring(inner, FreqReply);
    EXPECT_EQ(Read(session, 1000), Received(FreqLine));
    EXPECT_EQ(Read(session, 1000), (Transfer{VI_ERROR_TMO, 0}));
}

TEST_F(SessionBRIX, APacketAfterABlock) {
    Set(VI_ATTR_BRIX_DECODE_MODE, 2);
    Bring(inner, BlockReply(4));
    Bring(inner, FreqReply);
    Read(session, 100);
    EXPECT_EQ(Read(session, 100), Received(std::string("#12\0\1", 5)));
    EXPECT_EQ(Read(session, 100), Received(FreqLine));
}

// ---- Raw mode ----

TEST_F(SessionBRIX, RawModePassesBytesThrough) {
    Set(VI_ATTR_BRIX_RAW, 1);
    EXPECT_EQ(Write(session, "NOBODY\nx"), Sent(8));
    EXPECT_THAT(inner.writes, ElementsAre("NOBODY\nx"));
    inner.Brings("abc", VI_ERROR_TMO);
    EXPECT_EQ(Read(session, 50), Received("abc", VI_ERROR_TMO));
    EXPECT_THAT(inner.readSizes, ElementsAre(50UL));
}

TEST_F(SessionBRIX, RawModeLeavesPacketsAlone) {
    inner.Brings(FreqReply.substr(0, 16));
    inner.Brings(FreqReply.substr(16, 3), VI_ERROR_TMO);
    Read(session, 100);
    Write(session, "RES");
    Set(VI_ATTR_BRIX_RAW, 1);
    inner.Brings("abc");
    EXPECT_EQ(Read(session, 3), Received("abc"));
    EXPECT_EQ(Write(session, "x\n"), Sent(2));
    Set(VI_ATTR_BRIX_RAW, 0);
    inner.Brings(FreqReply.substr(19));
    EXPECT_EQ(Read(session, 100), Received(FreqLine));
    EXPECT_EQ(Write(session, "ET\n"), Sent(3));
    EXPECT_EQ(inner.writes.back(), Reset);
}

// ---- Attributes ----

TEST_F(SessionBRIX, OwnAttributesAre32BitsWideOnPurpose) {
    for (const unsigned long attribute :
         {VI_ATTR_BRIX_SPLIT_WRITE, VI_ATTR_BRIX_FULL_HEADER, VI_ATTR_BRIX_RAW}) {
        Set(attribute, 0x100000000);
        ViUInt32 value = 0x5A5A5A5A5A5A5A5A;
        EXPECT_EQ(session.GetAttribute(attribute, &value), VI_SUCCESS);
        EXPECT_EQ(value, 0x5A5A5A5A00000001);
        Set(attribute, 0);
        EXPECT_EQ(session.GetAttribute(attribute, &value), VI_SUCCESS);
        EXPECT_EQ(value, 0x5A5A5A5A00000000);
    }
    Set(VI_ATTR_BRIX_DECODE_MODE, 0x1FFFFFFFE);
    ViUInt32 value = 0x5A5A5A5A5A5A5A5A;
    EXPECT_EQ(session.GetAttribute(VI_ATTR_BRIX_DECODE_MODE, &value), VI_SUCCESS);
    EXPECT_EQ(value, 0x5A5A5A5AFFFFFFFE);
    EXPECT_THAT(inner.log, ElementsAre());
}

TEST_F(SessionBRIX, TheTerminatorIsSetThroughItsAddressOnPurpose) {
    const char terminator[] = {static_cast<char>(0x80), 'x'};
    Set(VI_ATTR_TERMCHAR, reinterpret_cast<unsigned long>(terminator));
    ViUInt32 value = 0x5A5A5A5A5A5A5A5A;
    EXPECT_EQ(session.GetAttribute(VI_ATTR_TERMCHAR, &value), VI_SUCCESS);
    EXPECT_EQ(value, 0x5A5A5A5AFFFFFF80); // sign-extended
    for (const unsigned long number : {0UL, 10UL, 13UL, 255UL, 4095UL}) {
        EXPECT_EQ(session.SetAttribute(VI_ATTR_TERMCHAR, number), VI_ERROR_NSUP_ATTR_STATE);
    }
    session.GetAttribute(VI_ATTR_TERMCHAR, &value);
    EXPECT_EQ(value, 0x5A5A5A5AFFFFFF80);
}

TEST_F(SessionBRIX, NullDestinationsOfOwnAttributesAreRefused) {
    for (const unsigned long attribute :
         {VI_ATTR_BRIX_SPLIT_WRITE, VI_ATTR_BRIX_FULL_HEADER, VI_ATTR_BRIX_DECODE_MODE,
          VI_ATTR_BRIX_RAW, VI_ATTR_TERMCHAR, Direction}) {
        EXPECT_EQ(session.GetAttribute(attribute, nullptr), VI_ERROR_NSUP_ATTR_STATE);
    }
}

TEST_F(SessionBRIX, TermcharEnIsReadFromTheTransportAndNeverSet) {
    EXPECT_EQ(session.SetAttribute(VI_ATTR_TERMCHAR_EN, 1), VI_ERROR_NSUP_ATTR);
    ViUInt32 value = 0;
    EXPECT_EQ(session.GetAttribute(VI_ATTR_TERMCHAR_EN, &value), VI_ERROR_NSUP_ATTR);
    inner.attributes[VI_ATTR_TERMCHAR_EN] = 1;
    EXPECT_EQ(session.GetAttribute(VI_ATTR_TERMCHAR_EN, &value), VI_SUCCESS);
    EXPECT_EQ(value, 1UL);
    EXPECT_THAT(inner.log, ElementsAre());
}

TEST_F(SessionBRIX, OtherAttributesAreTheTransports) {
    inner.status = VI_ERROR_NSUP_ATTR_STATE;
    EXPECT_EQ(session.SetAttribute(VI_ATTR_TMO_VALUE, 500), VI_ERROR_NSUP_ATTR_STATE);
    EXPECT_EQ(session.SetAttribute(Direction, 1), VI_ERROR_NSUP_ATTR_STATE);
    EXPECT_THAT(inner.log, ElementsAre("set 1073676314 500", "set 1073676520 1"));
    inner.attributes[VI_ATTR_TMO_VALUE] = 777;
    ViUInt32 value = 0;
    EXPECT_EQ(session.GetAttribute(VI_ATTR_TMO_VALUE, &value), VI_SUCCESS);
    EXPECT_EQ(value, 777UL);
}

TEST_F(SessionBRIX, FlushGoesToTheTransport) {
    inner.status = VI_ERROR_IO;
    EXPECT_EQ(session.Flush(5), VI_ERROR_IO);
    EXPECT_THAT(inner.log, ElementsAre("flush 5"));
}

TEST_F(SessionBRIX, TheDirectionSaysWhichStatusIsExpected) {
    ViUInt32 value = 0x5A5A5A5A5A5A5A5A;
    EXPECT_EQ(session.GetAttribute(Direction, &value), VI_SUCCESS);
    EXPECT_EQ(value, 0x5A5A5A5A00000002);
    inner.attributes[static_cast<unsigned int>(Direction)] = 1;
    Bring(inner, Reset);
    EXPECT_EQ(Read(session, 100), Received("RESET\n"));
    session.GetAttribute(Direction, &value);
    EXPECT_EQ(value, 0x5A5A5A5A00000001);
    inner.attributes[static_cast<unsigned int>(Direction)] = 0;
    Bring(inner, Reset);
    EXPECT_EQ(Read(session, 100), Received("RESET ( Status=REQUEST )\n"));
    // Asked for anew with every packet.
    inner.attributes.clear();
    Bring(inner, ResetReply);
    EXPECT_EQ(Read(session, 100), Received("RESET\n"));
    session.GetAttribute(Direction, &value);
    EXPECT_EQ(value, 0x5A5A5A5A00000002);
}

TEST_F(SessionBRIX, TheFullHeader) {
    Set(VI_ATTR_BRIX_FULL_HEADER, 1);
    Bring(inner, ResetReply);
    EXPECT_EQ(Read(session, 200),
              Received("RESET ( Signature=0x021930 Status=OK BodyLen=0 FlagA=0x00 FlagB=0x00 "
                       "Dummy=0 ID=0 )\n"));
}

TEST_F(SessionBRIX, NothingOfAnEarlierPacketIsSeen) {
    Set(VI_ATTR_BRIX_FULL_HEADER, 1);
    std::string full = BlockReply(64);
    Bring(inner, full);
    Read(session, 1000);
    Bring(inner, BytesText("AA55 0600 0000 0200 00 00 0000 00000000 0000"));
    EXPECT_EQ(Read(session, 1000),
              Received("BLOCK ( Signature=0x021930 Status=OK BodyLen=2 FlagA=0x00 FlagB=0x00 "
                       "BodyStatus=OK Dummy=0 ID=0 )\n"));
}

TEST_F(SessionBRIX, NamesThatAreNullAreEmpty) {
    protocol->namesAreNull = true;
    Bring(inner, Reset);
    EXPECT_EQ(Read(session, 100), Received("0x01 ( Status=0x032768 )\n"));
}

// ---- The operations of its own ----

TEST_F(SessionBRIX, TextToBinaryGivesAnArray) {
    unsigned char* packet = nullptr;
    EXPECT_EQ(session.TextToBinary("BYTE=5", 7, &packet), 0);
    const std::unique_ptr<unsigned char[]> owner(packet);
    EXPECT_EQ(Hex(packet, SetByte5.size()), Hex(SetByte5));
}

TEST_F(SessionBRIX, TextToBinaryLeavesThePointerWhenItFails) {
    unsigned char* packet = nullptr;
    EXPECT_EQ(session.TextToBinary("NOBODY", 7, &packet), static_cast<int>(0xBFFF0037));
    EXPECT_EQ(session.TextToBinary(nullptr, 7, &packet), static_cast<int>(0xBFFF0037));
    EXPECT_EQ(packet, nullptr);
}

TEST_F(SessionBRIX, BinaryToTextAndExGetErrorName) {
    std::string packet = FreqReply;
    EXPECT_EQ(session.BinaryToText(reinterpret_cast<unsigned char*>(packet.data()), false, 0, 7, 0),
              "FREQ = 1.5");
    EXPECT_EQ(session.ExGetErrorName(7, -32765), "BAD_VALUES");
    EXPECT_EQ(session.ExGetErrorName(7, 65536 + 12), "0x12");
}

// ---- With the resource manager and a real transport ----

TEST(SessionBRIXOverTcp, LinesBecomePacketsAndBack) {
    LoadedProtocol protocol;
    ScriptedPeer peer;
    peer.Accept()
        .Expect(BytesText("AA55 0400 0080 0200 00 42 0000 00000000 0101"))
        .SendPieces(FreqReply, {1})
        .ExpectEnd()
        .Start();
    ViSession manager = 0;
    ViSession vi = 0;
    ViUInt32 count = 0;
    ASSERT_EQ(viOpenDefaultRM(&manager), VI_SUCCESS);
    ASSERT_EQ(viOpen(manager, (peer.Resource() + "::BRIX").c_str(), 0, 0, &vi), VI_SUCCESS);
    EXPECT_EQ(viWrite(vi, reinterpret_cast<ViConstBuf>("FREQ?\n"), 6, &count), VI_SUCCESS);
    char text[32] = {};
    EXPECT_EQ(viScanf(vi, "%T", text), VI_SUCCESS);
    EXPECT_STREQ(text, FreqLine.c_str());
    EXPECT_EQ(viClose(vi), VI_SUCCESS);
    peer.Finish();
    EXPECT_EQ(protocol->log.back(), "close 7");
}

TEST(SessionBRIXOverTcp, APartialBodySurvivesATimeout) {
    LoadedProtocol protocol;
    ScriptedPeer peer;
    peer.Accept().Send(FreqReply.substr(0, 19)).Await("rest").Send(FreqReply.substr(19)).Start();
    CResourceManager manager(nullptr);
    std::string resource = peer.Resource() + "::brix";
    ISession* session = nullptr;
    ASSERT_EQ(manager.Open(resource.data(), 0, 0, &session), VI_SUCCESS);
    session->SetAttribute(VI_ATTR_TMO_VALUE, 200);
    EXPECT_EQ(Read(*session, 100), (Transfer{VI_ERROR_TMO, 0}));
    peer.Signal("rest");
    session->SetAttribute(VI_ATTR_TMO_VALUE, 20000);
    EXPECT_EQ(Read(*session, 100), Received(FreqLine));
    peer.Finish();
}

TEST(SessionBRIXOverTcp, ClosingTheOneLeavesTheOther) {
    LoadedProtocol protocol;
    ScriptedPeer first;
    ScriptedPeer second;
    first.Accept().Expect(Reset).ExpectEnd().Start();
    second.Accept().Expect(Ident).Await("closed").Expect(Reset).ExpectEnd().Start();
    CResourceManager manager(nullptr);
    std::string firstName = first.Resource() + "::BRIX";
    std::string secondName = second.Resource() + "::BRIX";
    ISession* one = nullptr;
    ISession* other = nullptr;
    ASSERT_EQ(manager.Open(firstName.data(), 0, 0, &one), VI_SUCCESS);
    ASSERT_EQ(manager.Open(secondName.data(), 0, 0, &other), VI_SUCCESS);
    EXPECT_EQ(Write(*one, "RESET\n"), Sent(6));
    EXPECT_EQ(Write(*other, "IDENT\n"), Sent(6));
    EXPECT_EQ(manager.Close(one->GetID()), VI_SUCCESS);
    first.Finish();
    second.Signal("closed");
    EXPECT_EQ(Write(*other, "RESET\n"), Sent(6));
    EXPECT_EQ(manager.Close(other->GetID()), VI_SUCCESS);
    second.Finish();
}

TEST(SessionBRIXOverTcp, TheManagersEndClosesSessionsAndTransports) {
    LoadedProtocol protocol;
    ScriptedPeer first;
    ScriptedPeer second;
    first.Accept().ExpectEnd().Start();
    second.Accept().ExpectEnd().Start();
    {
        CResourceManager manager(nullptr);
        for (const ScriptedPeer* peer : {&first, &second}) {
            std::string resource = peer->Resource() + "::BRIX";
            ISession* session = nullptr;
            EXPECT_EQ(manager.Open(resource.data(), 0, 0, &session), VI_SUCCESS);
        }
    }
    first.Finish();
    second.Finish();
    EXPECT_THAT(protocol->log, ElementsAre("open 7", "load 7 Protocol.xml", "open 8",
                                           "load 8 Protocol.xml", "close 8", "close 7"));
}

TEST(SessionBRIXOverTcp, AFailedTransportLeavesNothing) {
    {
        const WorkingDirectory folder(ProtocolFolder("whole"));
        CResourceManager manager(nullptr);
        char resource[] = "TCPIP::127.0.0.1::1::SOCKET::BRIX";
        ISession* session = nullptr;
        EXPECT_EQ(manager.Open(resource, 0, 0, &session), VI_ERROR_RSRC_NFOUND);
        EXPECT_EQ(session, nullptr);
    }
    EXPECT_FALSE(IsLoaded(ProtocolPath("whole")));
}

TEST(SessionBRIXOverTcp, SuffixesOverSuffixesDoNotRecurse) {
    LoadedProtocol protocol;
    CResourceManager manager(nullptr);
    std::string resource = "TCPIP::127.0.0.1::1::SOCKET";
    for (int i = 0; i < 20000; ++i) {
        resource += i % 2 == 0 ? "::BRIX" : "::brix";
    }
    ISession* session = nullptr;
    EXPECT_EQ(manager.Open(resource.data(), 0, 0, &session), VI_ERROR_INV_RSRC_NAME);
    EXPECT_THAT(protocol->log, ElementsAre("open 7", "load 7 Protocol.xml", "close 7"));
    // And the next session opens again.
    char single[] = "TCPIP::127.0.0.1::1::SOCKET::brix";
    EXPECT_EQ(manager.Open(single, 0, 0, &session), VI_ERROR_RSRC_NFOUND);
}
