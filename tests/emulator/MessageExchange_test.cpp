#include "tools/emulator/MessageExchange.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

using emulator::Instrument;
using emulator::MessageExchange;
using testing::StartsWith;

namespace {

class MessageExchangeTest : public testing::Test {
protected:
    std::string Take(std::size_t limit = 1000) {
        std::string out;
        exchange.Read(out, limit);
        return out;
    }

    std::string Ask(const std::string& message) {
        exchange.Write(message, true);
        return Take();
    }

    Instrument instrument;
    MessageExchange exchange{instrument};
};

} // namespace

TEST_F(MessageExchangeTest, AMessageEndsWithALineFeedOrWithEnd) {
    EXPECT_TRUE(exchange.Write("*OPC?\n", false));
    EXPECT_EQ(Take(), "1\n");
    EXPECT_TRUE(exchange.Write("*TST?", true));
    EXPECT_EQ(Take(), "0\n");
    EXPECT_TRUE(exchange.Write("*OPC?\n", true));
    EXPECT_EQ(Take(), "1\n");
    EXPECT_EQ(Ask("SYST:ERR:COUN?"), "0\n");
}

TEST_F(MessageExchangeTest, AMessageMayComeInPieces) {
    EXPECT_FALSE(exchange.Write("*O", false));
    EXPECT_FALSE(exchange.HasResponse());
    EXPECT_TRUE(exchange.Write("PC?", true));
    EXPECT_EQ(Take(), "1\n");
}

TEST_F(MessageExchangeTest, CommandsHaveNoResponse) {
    EXPECT_FALSE(exchange.Write("*ESE 4\n", true));
    EXPECT_FALSE(exchange.HasResponse());
    EXPECT_EQ(Take(), "");
    EXPECT_EQ(Ask("*ESE?"), "4\n");
    EXPECT_FALSE(exchange.Write("", true));
    EXPECT_FALSE(exchange.Write("\n", true));
}

TEST_F(MessageExchangeTest, AResponseIsReadInPieces) {
    exchange.Write("SYST:VERS?;*OPC?", true);
    EXPECT_EQ(Take(4), "1999");
    EXPECT_TRUE(exchange.HasResponse());
    EXPECT_EQ(Take(0), "");
    EXPECT_EQ(Take(4), ".0;1");
    EXPECT_TRUE(exchange.HasResponse()) << "the line feed is left";
    EXPECT_EQ(Take(1), "\n");
    EXPECT_FALSE(exchange.HasResponse());
}

TEST_F(MessageExchangeTest, ALongResponseIsMadeWhileItIsRead) {
    exchange.Write("CURV:LENG 300000;:CURV?;*OPC?", true);
    std::string all;
    while (exchange.HasResponse()) {
        all += Take(1000);
    }
    EXPECT_EQ(all.size(), 8U + 300000U + 3U);
    EXPECT_THAT(all, StartsWith("#6300000"));
    EXPECT_EQ(all.substr(all.size() - 3), ";1\n");
}

TEST_F(MessageExchangeTest, AResponseOfExactlyTheAmountMadeAheadEnds) {
    exchange.Write("CURV:LENG 65528;:CURV?", true);
    EXPECT_EQ(Take(65535).size(), 65535U);
    EXPECT_TRUE(exchange.HasResponse());
    EXPECT_EQ(Take(1), "\n");
    EXPECT_FALSE(exchange.HasResponse());
}

TEST_F(MessageExchangeTest, ANewMessageDropsAnUnreadResponse) {
    exchange.Write("*IDN?", true);
    Take(3);
    EXPECT_TRUE(exchange.Write("*OPC?", true));
    EXPECT_EQ(Take(), "1\n");
    EXPECT_EQ(Ask("SYST:ERR?"), "-410,\"Query INTERRUPTED\"\n");
    EXPECT_EQ(Ask("SYST:ERR?"), "0,\"No error\"\n");
}

TEST_F(MessageExchangeTest, OfTwoQueriesInOneWriteTheLastIsAnswered) {
    EXPECT_TRUE(exchange.Write("*IDN?\n*OPC?\n", true));
    EXPECT_EQ(Take(), "1\n");
    EXPECT_EQ(Ask("SYST:ERR?"), "-410,\"Query INTERRUPTED\"\n");
}

TEST_F(MessageExchangeTest, AnOverlongMessageIsAnError) {
    const std::string piece(65536, 'x');
    for (int i = 0; i < 17; ++i) {
        exchange.Write(piece, false);
    }
    EXPECT_FALSE(exchange.Write("*OPC?", true));
    EXPECT_EQ(Ask("SYST:ERR?"), "-363,\"Input buffer overrun\"\n");
    EXPECT_EQ(Ask("*OPC?"), "1\n");
}

TEST_F(MessageExchangeTest, ClearForgetsHalfMessagesAndResponses) {
    exchange.Write("*IDN?", true);
    exchange.Clear();
    EXPECT_FALSE(exchange.HasResponse());
    exchange.Write("*ESE 4;*ID", false);
    exchange.Clear();
    EXPECT_EQ(Ask("*ESE?"), "0\n");
    EXPECT_EQ(Ask("SYST:ERR?"), "0,\"No error\"\n");
}
