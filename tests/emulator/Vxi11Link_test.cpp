#include "tools/emulator/Vxi11Link.h"

#include "emulator/RpcRecords.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <string>

using namespace rpc_records;
using emulator::Instrument;
using emulator::Pacing;
using emulator::RpcReply;
using emulator::Vxi11Link;
using std::chrono::milliseconds;
using testing::StartsWith;

namespace {

const std::string Words = Word(3) + Word(65536);
const std::string OtherWords = Word(4) + Word(65536);

class Vxi11LinkTest : public testing::Test {
protected:
    explicit Vxi11LinkTest(const Pacing& pacing = {}) : link(instrument, pacing, {3, 65536}) {}

    // The reply without its mark, which must fit.
    std::string Answer(const std::string& call) {
        reply = link.Answer(call, now);
        if (reply.bytes.empty()) {
            return {};
        }
        EXPECT_EQ(reply.bytes.substr(0, 4), Mark(reply.bytes.size() - 4));
        return reply.bytes.substr(4);
    }

    void Open() { ASSERT_EQ(Answer(CreateLink("inst0")), Accepted(1001) + Zeros(8) + Words); }

    void Send(const std::string& message) {
        const auto size = static_cast<std::uint32_t>(message.size());
        EXPECT_EQ(Answer(DeviceWrite(Words, message)), WriteReply(0, size));
    }

    Instrument instrument;
    Vxi11Link link;
    Vxi11Link::Time now{milliseconds(1000000)};
    RpcReply reply;
};

class DelayedVxi11Link : public Vxi11LinkTest {
protected:
    DelayedVxi11Link() : Vxi11LinkTest({.delay = milliseconds(100)}) {}
};

} // namespace

TEST_F(Vxi11LinkTest, RepliesHaveTheSizesThatSessionsExpect) {
    EXPECT_EQ(Answer(CreateLink("inst0")).size(), 40U);
    EXPECT_EQ(Answer(DeviceWrite(Words, "*OPC?")).size(), 32U);
    EXPECT_EQ(Answer(DeviceRead(Words, 100)).size(), 48U + 4U);
    EXPECT_EQ(Answer(DestroyLink(Words)).size(), 28U);
}

TEST_F(Vxi11LinkTest, AnswersAQuery) {
    Open();
    Send("SYST:VERS?\n");
    EXPECT_EQ(Answer(DeviceRead(Words, 100)), ReadReply(0, 4, "1999.0\n"));
    EXPECT_EQ(reply.pause, milliseconds(0));
}

TEST_F(Vxi11LinkTest, AResponseIsReadInPieces) {
    Open();
    Send("SYST:VERS?");
    EXPECT_EQ(Answer(DeviceRead(Words, 4)), ReadReply(0, 1, "1999"));
    EXPECT_EQ(Answer(DeviceRead(Words, 3)), ReadReply(0, 4, ".0\n")) << "the end is what counts";
}

TEST_F(Vxi11LinkTest, AReplyNeverHasMoreThanItsMarkCanTell) {
    Open();
    Send("CURV:LENG 100000;:CURV?");
    const std::string first = Answer(DeviceRead(Words, 0xFFFFFFFF));
    EXPECT_EQ(first.size(), 48U + 65484U);
    EXPECT_EQ(first.substr(24, 24), Zeros(16) + Word(65484) + Zeros(4));
    EXPECT_THAT(first.substr(48), StartsWith("#6100000"));
    const std::string second = Answer(DeviceRead(Words, 0xFFFFFFFF));
    EXPECT_EQ(second.substr(24, 24), Zeros(8) + Word(4) + Zeros(4) + Word(34525) + Zeros(4));
}

TEST_F(Vxi11LinkTest, AReadOfNothingTimesOutSoon) {
    Open();
    EXPECT_EQ(Answer(DeviceRead(Words, 100)), ReadReply(15, 0, ""));
    EXPECT_GT(reply.pause, milliseconds(0));
    EXPECT_LT(reply.pause, milliseconds(1000));
    EXPECT_EQ(Answer(DeviceRead(Words, 100, 0)), ReadReply(15, 0, ""));
    EXPECT_EQ(reply.pause, milliseconds(0));
    Send("SYST:ERR?");
    EXPECT_EQ(Answer(DeviceRead(Words, 100)), ReadReply(0, 4, "-420,\"Query UNTERMINATED\"\n"));
}

TEST_F(Vxi11LinkTest, AMessageCanComeInSeveralWrites) {
    Open();
    EXPECT_EQ(Answer(DeviceWrite(Words, "*O", 0)), WriteReply(0, 2));
    Send("PC?");
    EXPECT_EQ(Answer(DeviceRead(Words, 100)), ReadReply(0, 4, "1\n"));
}

TEST_F(Vxi11LinkTest, LinksThatAreNotOpenAreInvalid) {
    EXPECT_EQ(Answer(DeviceWrite(Words, "*ESE 4")), WriteReply(4, 0));
    EXPECT_EQ(Answer(DeviceRead(Words, 9)), ReadReply(4, 0, ""));
    EXPECT_EQ(Answer(DestroyLink(Words)), Accepted(1006) + Word(4));
    Open();
    EXPECT_EQ(Answer(DeviceWrite(OtherWords, "*ESE 4")), WriteReply(4, 0));
    EXPECT_EQ(Answer(DeviceRead(OtherWords, 9)), ReadReply(4, 0, ""));
    EXPECT_EQ(Answer(DestroyLink(OtherWords)), Accepted(1006) + Word(4));
    Send("*ESE?");
    EXPECT_EQ(Answer(DeviceRead(Words, 9)), ReadReply(0, 4, "0\n"));
}

TEST_F(Vxi11LinkTest, ADestroyedLinkForgetsItsResponse) {
    Open();
    Send("*IDN?");
    EXPECT_EQ(Answer(DestroyLink(Words)), Accepted(1006) + Zeros(4));
    EXPECT_EQ(Answer(DeviceRead(Words, 9)), ReadReply(4, 0, ""));
    Open();
    EXPECT_EQ(Answer(DeviceRead(Words, 9)), ReadReply(15, 0, ""));
}

TEST_F(Vxi11LinkTest, DevicesOfTheInstrumentAndOfItsBusAreAccessible) {
    const std::string refused = Accepted(1001) + Word(3) + Zeros(12);
    for (const char* device : {"inst0", "gpib0,5"}) {
        EXPECT_EQ(Answer(CreateLink(device)), Accepted(1001) + Zeros(8) + Words) << device;
    }
    for (const char* device : {"", "inst1", "inst00", "INST0", "gpib0", "gpib0,"}) {
        EXPECT_EQ(Answer(CreateLink(device)), refused) << device;
    }
    EXPECT_EQ(Answer(CreateLink("inst0", 1)), Accepted(1001) + Word(8) + Zeros(12));
}

TEST_F(Vxi11LinkTest, OtherCallsAreAnsweredAsUnavailable) {
    EXPECT_EQ(Answer(CallHeader(1, 0x0607AF, 1, 15)), Word(1) + Word(1) + Zeros(12) + Word(3));
    EXPECT_EQ(Answer(CallHeader(1, 0x0607B0, 1, 10)), Word(1) + Word(1) + Zeros(12) + Word(1));
    EXPECT_EQ(Answer(CallHeader(1, 0x0607AF, 1, 0)), Accepted(1));
}

TEST_F(Vxi11LinkTest, WhatIsNoCallIsNotAnswered) {
    EXPECT_EQ(Answer(""), "");
    EXPECT_EQ(Answer("garbage"), "");
    const std::string write = DeviceWrite(Words, "*RST\n");
    EXPECT_EQ(Answer(write.substr(0, write.size() - 1)), "");
}

TEST_F(DelayedVxi11Link, AResponseIsThereAfterTheDelay) {
    Open();
    Send("*OPC?");
    EXPECT_EQ(reply.pause, milliseconds(0)) << "writes are not delayed";
    now += milliseconds(30);
    EXPECT_EQ(Answer(DeviceRead(Words, 9)), ReadReply(0, 4, "1\n"));
    EXPECT_EQ(reply.pause, milliseconds(70));
    Send("*OPC?");
    now += milliseconds(300);
    EXPECT_EQ(Answer(DeviceRead(Words, 9)), ReadReply(0, 4, "1\n"));
    EXPECT_EQ(reply.pause, milliseconds(0));
}

TEST_F(DelayedVxi11Link, AReadThatEndsBeforeTheDelayTimesOutAndTheResponseStays) {
    Open();
    Send("*OPC?");
    EXPECT_EQ(Answer(DeviceRead(Words, 9, 60)), ReadReply(15, 0, ""));
    EXPECT_EQ(reply.pause, milliseconds(60));
    now += milliseconds(60);
    EXPECT_EQ(Answer(DeviceRead(Words, 9, 60)), ReadReply(0, 4, "1\n"));
    EXPECT_EQ(reply.pause, milliseconds(40));
}
