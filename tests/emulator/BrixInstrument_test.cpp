#include "tools/emulator/BrixInstrument.h"

#include "brix/Packet.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using emulator::BrixInstrument;
using namespace std::string_literals;

protodesc::ProtocolDescription Description() {
    protodesc::ProtocolDescription description;
    description.commands.Add(0x10, {0x10, "RESET"});
    description.commands.Add(0x13, {0x13, "TRIGGER"});
    description.parameters.Add(1, {1, "FREQ", 4, 2});
    description.parameters.Add(4, {4, "CHANNEL", 1, 0});
    description.parameters.Add(10, {10, "IDENTITY", 0, 0});
    description.parameters.Add(11, {11, "SEGMENT", 0, 0});
    return description;
}

std::string Packet(char command, const std::string& body = "", char flag_a = 0, char flag_b = 0,
                   const std::string& status = "\x00\x80"s) {
    std::string packet = "\xAA\x55"s + command + '\0' + status;
    packet += static_cast<char>(body.size() & 0xFFU);
    packet += static_cast<char>(body.size() >> 8U);
    packet += flag_a;
    packet += flag_b;
    return packet + std::string(6, '\0') + body;
}

std::string Reply(char command, const std::string& body = "", char flag_a = 0, char flag_b = 0,
                  const std::string& status = "\0\0"s) {
    return Packet(command, body, flag_a, flag_b, status);
}

class BrixInstrumentTest : public testing::Test {
protected:
    BrixInstrument instrument{Description(), 4};
};

const std::string Freq = "\x01\x00"s;
const std::string OneAndAHalf = "\x00\x80\x01\x00"s;

} // namespace

TEST_F(BrixInstrumentTest, AQueryIsAnsweredAsASet) {
    EXPECT_EQ(instrument.Answer(Packet(4, Freq, 0, 0x42)), Reply(3, Freq + "\0\0\0\0"s, 1, 0x42));
}

TEST_F(BrixInstrumentTest, ASetStoresAndIsAcknowledged) {
    EXPECT_EQ(instrument.Answer(Packet(3, Freq + OneAndAHalf, 1, 0x42)), Reply(3, Freq));
    EXPECT_EQ(instrument.Answer(Packet(4, Freq, 0, 0x42)), Reply(3, Freq + OneAndAHalf, 1, 0x42));
}

TEST_F(BrixInstrumentTest, KeepsSeveralValues) {
    const std::string channels = "\x04\x00\x05\x06\x07\x00"s;
    EXPECT_EQ(instrument.Answer(Packet(3, channels, 3, 0x10)), Reply(3, "\x04\x00"s));
    EXPECT_EQ(instrument.Answer(Packet(4, "\x04\x00"s, 0, 0x10)), Reply(3, channels, 3, 0x10));
}

TEST_F(BrixInstrumentTest, AStepAddsAndTellsTheNewValue) {
    EXPECT_EQ(instrument.Answer(Packet(7, "\x04\x00"s)), Reply(7, "\x04\x00\x01\x00"s, 1, 0x10));
    EXPECT_EQ(instrument.Answer(Packet(7, "\x04\x00\x05\x00"s, 1, 0x10)),
              Reply(7, "\x04\x00\x06\x00"s, 1, 0x10));
}

TEST_F(BrixInstrumentTest, TextFollowsTheIdentifier) {
    EXPECT_EQ(instrument.Answer(Packet(4, "\x0A\x00"s)),
              Reply(3, "\x0A\x00Orvane,Emulator,0,2.0.0\0"s));
}

TEST_F(BrixInstrumentTest, AParameterWithoutASizeKeepsWhatItGets) {
    EXPECT_EQ(instrument.Answer(Packet(4, "\x0B\x00"s)), Reply(3, "\x0B\x00"s));
    instrument.Answer(Packet(3, "\x0B\x00\x01\x00\x02\x00"s, 2, 0x20));
    EXPECT_EQ(instrument.Answer(Packet(4, "\x0B\x00"s)),
              Reply(3, "\x0B\x00\x01\x00\x02\x00"s, 2, 0x20));
}

TEST_F(BrixInstrumentTest, ABlockHasItsStatusBehindIt) {
    EXPECT_EQ(instrument.Answer(Packet(6)), Reply(6, "\0\1\2\3\0\0"s));
    BrixInstrument longest(Description(), 100000);
    EXPECT_EQ(longest.Answer(Packet(6)).size(), 16 + 65534U);
}

TEST_F(BrixInstrumentTest, PlainCommandsAreAcknowledged) {
    EXPECT_EQ(instrument.Answer(Packet(0x13)), Reply(0x13));
}

TEST_F(BrixInstrumentTest, ResetForgetsTheValues) {
    instrument.Answer(Packet(3, Freq + OneAndAHalf, 1, 0x42));
    EXPECT_EQ(instrument.Answer(Packet(0x10)), Reply(0x10));
    EXPECT_EQ(instrument.Answer(Packet(4, Freq, 0, 0x42)), Reply(3, Freq + "\0\0\0\0"s, 1, 0x42));
}

TEST_F(BrixInstrumentTest, RefusesWhatItDoesNotKnow) {
    EXPECT_EQ(instrument.Answer(Packet(0x21)), Reply(0x21, "", 0, 0, "\x01\x80"s));
    EXPECT_EQ(instrument.Answer(Packet(4, "\x63\x00"s)), Reply(4, "\x63\x00"s, 0, 0, "\x02\x80"s));
}

TEST_F(BrixInstrumentTest, RefusesABadSignature) {
    std::string packet = Packet(4, Freq);
    packet[0] = '\x00';
    EXPECT_EQ(instrument.Answer(packet), Reply(4, Freq, 0, 0, "\x0E\x80"s));
}

TEST_F(BrixInstrumentTest, RefusesAnOddLength) {
    EXPECT_EQ(instrument.Answer(Packet(4, Freq + "x")), Reply(4, Freq, 0, 0, "\x0D\x80"s));
}

TEST_F(BrixInstrumentTest, RefusesABodyThatIsTooShort) {
    EXPECT_EQ(instrument.Answer(Packet(4)), Reply(4, "", 0, 0, "\x05\x80"s));
    EXPECT_EQ(instrument.Answer(Packet(3, Freq)), Reply(3, Freq, 0, 0, "\x05\x80"s));
    EXPECT_EQ(instrument.Answer(Packet(7)), Reply(7, "", 0, 0, "\x05\x80"s));
    EXPECT_EQ(instrument.Answer(Packet(3, Freq + OneAndAHalf, 2, 0x42)),
              Reply(3, Freq, 0, 0, "\x05\x80"s));
}

TEST_F(BrixInstrumentTest, RefusesValuesOfAnotherSize) {
    EXPECT_EQ(instrument.Answer(Packet(3, Freq + "\1\0"s, 1, 0x20)),
              Reply(3, Freq, 0, 0, "\x03\x80"s));
    EXPECT_EQ(instrument.Answer(Packet(3, Freq + OneAndAHalf, 1, 0x41)),
              Reply(3, Freq, 0, 0, "\x03\x80"s));
}

TEST_F(BrixInstrumentTest, AnswersTheLongestPacket) {
    const std::string reply = instrument.Answer(Packet(3, std::string(65534, 'x'), 1, 0x42));
    EXPECT_GE(reply.size(), 16U);
}
