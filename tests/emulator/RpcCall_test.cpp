#include "tools/emulator/RpcCall.h"

#include "emulator/RpcRecords.h"

#include <gtest/gtest.h>

#include <string>

using namespace emulator;
using rpc_records::CallHeader;
using rpc_records::Zeros;

namespace {

constexpr std::uint32_t OneProgram = 300000;
constexpr std::uint32_t OneVersion = 2;

std::string Call(const std::string& authentication, const std::string& parameters = "parm") {
    return Word(7) + Word(0) + Word(2) + Word(OneProgram) + Word(OneVersion) + Word(5) +
           authentication + parameters;
}

RpcCall Decoded(std::uint32_t program, std::uint32_t version, std::uint32_t procedure) {
    const auto call = DecodeCall(CallHeader(9, program, version, procedure));
    return call.value_or(RpcCall());
}

} // namespace

TEST(WordReader, TakesWordsAndPaddedBytes) {
    WordReader words("\x01\x02\x03\x84"
                     "abcde___rest");
    EXPECT_EQ(words.Word(), 0x01020384U);
    EXPECT_EQ(words.Bytes(5), "abcde");
    EXPECT_EQ(words.Rest(), "rest");
    EXPECT_TRUE(words.Good());
}

TEST(WordReader, GivesZerosWhenTheBytesRanOut) {
    for (const std::size_t count : {5UL, 0xFFFFFFFFUL, 0xFFFFFFFFFFFFFFFDUL}) {
        WordReader words("1234");
        EXPECT_EQ(words.Bytes(count), "") << count;
        EXPECT_FALSE(words.Good());
        EXPECT_EQ(words.Word(), 0U);
    }
    WordReader unpadded("123");
    EXPECT_EQ(unpadded.Bytes(3), "");
    EXPECT_FALSE(unpadded.Good());
}

TEST(RpcCall, TakesTheHeaderApart) {
    const std::string bytes = Call(Zeros(16));
    const auto call = DecodeCall(bytes);
    ASSERT_TRUE(call);
    EXPECT_EQ(call->transaction, 7U);
    EXPECT_EQ(call->program, OneProgram);
    EXPECT_EQ(call->version, OneVersion);
    EXPECT_EQ(call->procedure, 5U);
    EXPECT_EQ(call->parameters, "parm");
}

TEST(RpcCall, PassesOverIdentification) {
    const std::string longest = Word(1) + Word(400) + std::string(400, 'x');
    const std::string odd = Word(1) + Word(5) + "abcde___";
    for (const std::string& authentication : {longest + longest, odd + Zeros(8), Zeros(8) + odd}) {
        const std::string bytes = Call(authentication);
        const auto call = DecodeCall(bytes);
        ASSERT_TRUE(call);
        EXPECT_EQ(call->parameters, "parm");
    }
}

TEST(RpcCall, RefusesWhatIsNoCall) {
    const std::string good = Call(Zeros(16), "");
    for (std::size_t length = 0; length < good.size(); ++length) {
        EXPECT_FALSE(DecodeCall(good.substr(0, length))) << length;
    }
    EXPECT_FALSE(DecodeCall(Word(7) + Word(1) + good.substr(8))) << "a reply";
    EXPECT_FALSE(DecodeCall(Word(7) + Word(0) + Word(3) + good.substr(12))) << "another RPC";
    EXPECT_FALSE(DecodeCall(Call(Word(1) + Word(404) + std::string(404, 'x') + Zeros(8))));
    EXPECT_FALSE(DecodeCall(Call(Zeros(8) + Word(1) + Word(0xFFFFFFFF))));
}

TEST(RpcCall, ReplyHeaderHasSixWords) {
    EXPECT_EQ(ReplyHeader(7, AcceptStatus::ProcedureUnavailable),
              Word(7) + Word(1) + Zeros(12) + Word(3));
}

TEST(RpcCall, CallsOfOtherProgramsAreAnswered) {
    EXPECT_EQ(GeneralReply(Decoded(1, OneVersion, 5), OneProgram, OneVersion),
              Word(9) + Word(1) + Zeros(12) + Word(1));
    EXPECT_EQ(GeneralReply(Decoded(OneProgram, 3, 5), OneProgram, OneVersion),
              Word(9) + Word(1) + Zeros(12) + Word(2) + Word(OneVersion) + Word(OneVersion));
    EXPECT_EQ(GeneralReply(Decoded(OneProgram, OneVersion, 0), OneProgram, OneVersion),
              Word(9) + Word(1) + Zeros(16));
    EXPECT_EQ(GeneralReply(Decoded(OneProgram, OneVersion, 5), OneProgram, OneVersion), "");
}

TEST(RpcCall, RecordsHaveOneFragment) {
    EXPECT_EQ(MarkedRecord("abcd"), rpc_records::Marked("abcd"));
    EXPECT_EQ(MarkedRecord(""), "");
    EXPECT_EQ(Padding(0) + Padding(4), "");
    EXPECT_EQ(Padding(1), Zeros(3));
    EXPECT_EQ(Padding(7), Zeros(1));
}
