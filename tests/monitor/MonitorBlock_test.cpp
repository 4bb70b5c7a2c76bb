#include "monitor/MonitorBlock.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <string>

namespace {

class MonitorBlock : public ::testing::Test {
protected:
    std::string Image() const { return {reinterpret_cast<const char*>(words.data()), 80}; }

    static uxvisa::MonitorPiece Piece(const std::string& data, bool written, unsigned int status) {
        uxvisa::MonitorPiece piece;
        piece.data = reinterpret_cast<const unsigned char*>(data.data());
        piece.length = static_cast<unsigned int>(data.size());
        piece.written = written;
        piece.status = status;
        return piece;
    }

    static std::string Bytes(const uxvisa::MonitorPiece& piece) {
        return {reinterpret_cast<const char*>(piece.data), piece.length};
    }

    // Two bytes more than the block has, to see that they stay.
    std::array<unsigned int, 20> words{};
    uxvisa::MonitorBlock block{words.data()};
};

} // namespace

TEST_F(MonitorBlock, HasEveryFieldAtItsPlace) {
    words[1] = 3;
    words[5] = 7;
    words[19] = 0xEEEE0000;
    const std::string data = "*IDN?\n";
    block.Put(Piece(data, true, 0xBFFF0030));
    std::string expected(
        "\x01\0\0\0\x03\0\0\0\x06\0\0\0\x03\0\0\0\x01\0\0\0\x07\0\0\0\x30\0\xff\xbf", 28);
    expected += data;
    expected.resize(78, '\0');
    expected += "\xEE\xEE";
    EXPECT_EQ(Image(), expected);
}

TEST_F(MonitorBlock, TheToggleFlipsWithEveryMessage) {
    EXPECT_EQ(words[0] & 0xFF, 0U);
    block.Put(Piece("a", true, 0));
    EXPECT_EQ(words[0] & 0xFF, 1U);
    block.Put(Piece("", false, 0));
    EXPECT_EQ(words[0] & 0xFF, 0U);
}

TEST_F(MonitorBlock, WithoutReadersNothingIsPending) {
    block.Put(Piece("a", true, 0));
    EXPECT_TRUE(block.IsFree());
}

TEST_F(MonitorBlock, AReaderTakesWhatIsPutAfterItJoined) {
    const unsigned char own = block.Join();
    EXPECT_FALSE(block.HoldsNews(own));
    block.Put(Piece("abc", false, 5));
    ASSERT_TRUE(block.HoldsNews(own));
    EXPECT_FALSE(block.IsFree());
    const uxvisa::MonitorPiece piece = block.Current();
    EXPECT_EQ(Bytes(piece), "abc");
    EXPECT_FALSE(piece.written);
    EXPECT_EQ(piece.status, 5U);
    const unsigned char next = block.Consume(own);
    EXPECT_TRUE(block.IsFree());
    EXPECT_FALSE(block.HoldsNews(next));
    block.Put(Piece("d", true, 0));
    EXPECT_TRUE(block.HoldsNews(next));
    EXPECT_TRUE(block.Current().written);
}

TEST_F(MonitorBlock, WhatOthersStillHaveToTakeIsNewsForWhoJoins) {
    const unsigned char first = block.Join();
    block.Put(Piece("a", true, 0));
    const unsigned char second = block.Join();
    EXPECT_EQ(words[1], 2U);
    EXPECT_EQ(words[3], 2U);
    EXPECT_TRUE(block.HoldsNews(second));
    block.Consume(first);
    EXPECT_TRUE(block.HoldsNews(second));
    block.Consume(second);
    EXPECT_TRUE(block.IsFree());
}

TEST_F(MonitorBlock, WhoLeavesTakesItsOwnShareAndNoOthers) {
    unsigned char first = block.Join();
    const unsigned char second = block.Join();
    block.Put(Piece("a", true, 0));
    first = block.Consume(first);
    block.Leave(first);
    EXPECT_EQ(words[1], 1U);
    EXPECT_TRUE(block.HoldsNews(second));
    block.Leave(second);
    EXPECT_EQ(words[1], 0U);
    EXPECT_TRUE(block.IsFree());
}

TEST_F(MonitorBlock, CountsStopAtZero) {
    block.Leave(0);
    block.Leave(1);
    block.Consume(0);
    EXPECT_EQ(words[1], 0U);
    EXPECT_EQ(words[3], 0U);
}

TEST_F(MonitorBlock, LengthsAreLimitedOnBothSides) {
    words[19] = 0xEEEE0000;
    block.Put(Piece(std::string(80, 'x'), true, 0));
    EXPECT_EQ(words[2], 50U);
    EXPECT_EQ(Image().substr(78), "\xEE\xEE");
    for (const unsigned int length : {51U, 1000000U, 0xFFFFFFFFU}) {
        words[2] = length;
        EXPECT_EQ(block.Current().length, 50U) << length;
    }
}

TEST_F(MonitorBlock, PiecesKnowTheirPlaceAndWholeMessagesLeaveThePaddingEmpty) {
    const std::string data = "a";
    uxvisa::MonitorPiece piece = Piece(data, true, 0);
    block.Put(piece);
    EXPECT_EQ(words[0], 1U);
    for (const bool continues : {false, true}) {
        for (const bool goesOn : {false, true}) {
            piece.continues = continues;
            piece.goesOn = goesOn;
            block.Put(piece);
            EXPECT_EQ(block.Current().continues, continues);
            EXPECT_EQ(block.Current().goesOn, goesOn);
            EXPECT_EQ(words[0] >> 16, 0U);
        }
    }
}

TEST_F(MonitorBlock, AnyToggleThatWasFoundWorks) {
    words[0] = 0x55;
    const unsigned char own = block.Join();
    EXPECT_FALSE(block.HoldsNews(own));
    block.Put(Piece("a", true, 0));
    EXPECT_TRUE(block.HoldsNews(own));
    EXPECT_FALSE(block.HoldsNews(block.Consume(own)));
}

TEST_F(MonitorBlock, ForgettingReadersLeavesTheMessage) {
    block.Join();
    block.Put(Piece("a", true, 9));
    block.ForgetReaders();
    EXPECT_TRUE(block.IsFree());
    EXPECT_EQ(words[1], 0U);
    EXPECT_EQ(Bytes(block.Current()), "a");
}

TEST_F(MonitorBlock, TheDirectionTurnsUntilItIsSeen) {
    EXPECT_FALSE(block.DirectionTurned());
    block.Put(Piece("a", true, 0));
    EXPECT_TRUE(block.DirectionTurned());
    EXPECT_EQ(block.SeenDirection(), 0U);
    block.SeeDirection();
    EXPECT_FALSE(block.DirectionTurned());
    EXPECT_EQ(block.SeenDirection(), 1U);
}
