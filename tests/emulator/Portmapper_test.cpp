#include "tools/emulator/Portmapper.h"

#include "emulator/RpcRecords.h"

#include <gtest/gtest.h>

#include <string>

using emulator::AnswerPortmapper;
using namespace rpc_records;

namespace {

constexpr std::uint16_t CorePort = 40000;
constexpr std::uint32_t Tcp = 6;
constexpr std::uint32_t Udp = 17;

std::string GetPort(std::uint32_t program, std::uint32_t version, std::uint32_t protocol) {
    return CallHeader(1000, 100000, 2, 3) + Word(program) + Word(version) + Word(protocol) +
           Word(0);
}

std::string Port(std::uint32_t port) {
    return Accepted(1000) + Word(port);
}

} // namespace

TEST(Portmapper, TellsThePortOfTheCoreChannel) {
    EXPECT_EQ(AnswerPortmapper(uxvisa::rpc::GetPortCall(1000), CorePort), Port(CorePort));
    EXPECT_EQ(Port(CorePort).size(), 28U);
    EXPECT_EQ(AnswerPortmapper(uxvisa::rpc::GetPortCall(1999), CorePort),
              Accepted(1999) + Word(CorePort));
}

TEST(Portmapper, KnowsNothingElse) {
    EXPECT_EQ(AnswerPortmapper(GetPort(0x0607B0, 1, Tcp), CorePort), Port(0));
    EXPECT_EQ(AnswerPortmapper(GetPort(0x0607AF, 2, Tcp), CorePort), Port(0));
    EXPECT_EQ(AnswerPortmapper(GetPort(0x0607AF, 1, Udp), CorePort), Port(0));
}

TEST(Portmapper, OtherCallsAreAnsweredAsUnavailable) {
    EXPECT_EQ(AnswerPortmapper(CallHeader(1, 100000, 2, 4), CorePort),
              Word(1) + Word(1) + Zeros(12) + Word(3));
    EXPECT_EQ(AnswerPortmapper(CallHeader(1, 100000, 4, 3), CorePort),
              Word(1) + Word(1) + Zeros(12) + Word(2) + Word(2) + Word(2));
    EXPECT_EQ(AnswerPortmapper(CallHeader(1, 100003, 2, 3), CorePort),
              Word(1) + Word(1) + Zeros(12) + Word(1));
    EXPECT_EQ(AnswerPortmapper(CallHeader(1, 100000, 2, 0), CorePort), Accepted(1));
}

TEST(Portmapper, HalfACallIsNotAnswered) {
    const std::string call = uxvisa::rpc::GetPortCall(1000);
    for (std::size_t length = 0; length < call.size(); ++length) {
        EXPECT_EQ(AnswerPortmapper(call.substr(0, length), CorePort), "") << length;
    }
}
