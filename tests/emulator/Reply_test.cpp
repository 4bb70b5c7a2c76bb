#include "tools/emulator/Reply.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

using emulator::Reply;

namespace {

std::string Moved(Reply reply, std::size_t piece) {
    std::string out;
    while (!reply.Empty()) {
        const std::size_t before = out.size();
        reply.MoveTo(out, piece);
        EXPECT_LE(out.size() - before, piece);
        EXPECT_TRUE(reply.Empty() || out.size() - before == piece);
    }
    return out;
}

std::vector<double> Values(const std::string& text) {
    std::vector<double> values;
    std::istringstream stream(text);
    for (std::string value; std::getline(stream, value, ',');) {
        EXPECT_EQ(value.size(), 15U) << value;
        values.push_back(std::stod(value));
    }
    return values;
}

} // namespace

TEST(Reply, CommandsAnswerNothing) {
    Reply reply;
    EXPECT_TRUE(reply.Empty());
    std::string out = "x";
    reply.MoveTo(out, 10);
    EXPECT_EQ(out, "x");
}

TEST(Reply, TextIsAppendedInPieces) {
    Reply reply = Reply::Text("abcdef");
    std::string out = ">";
    reply.MoveTo(out, 4);
    EXPECT_EQ(out, ">abcd");
    EXPECT_FALSE(reply.Empty());
    reply.MoveTo(out, 4);
    EXPECT_EQ(out, ">abcdef");
    EXPECT_TRUE(reply.Empty());
}

TEST(Reply, NoRoomMovesNothing) {
    Reply reply = Reply::Block(3);
    std::string out;
    reply.MoveTo(out, 0);
    EXPECT_EQ(out, "");
    EXPECT_FALSE(reply.Empty());
}

TEST(Reply, BlockStartsWithItsLength) {
    EXPECT_EQ(Moved(Reply::Block(0), 100), "#10");
    EXPECT_EQ(Moved(Reply::Block(3), 100), std::string("#13\0\1\2", 6));
    EXPECT_EQ(Moved(Reply::Block(1000), 4096).substr(0, 6), "#41000");
}

TEST(Reply, BlockBytesCountUpWhateverThePieces) {
    constexpr std::size_t Length = 70000;
    const std::string whole = Moved(Reply::Block(Length), 1U << 20U);
    ASSERT_EQ(whole.size(), 7 + Length);
    EXPECT_EQ(whole.substr(0, 7), "#570000");
    for (std::size_t i = 0; i < Length; ++i) {
        ASSERT_EQ(static_cast<unsigned char>(whole[7 + i]), i & 0xFFU) << i;
    }
    for (const std::size_t piece : {1U, 2U, 255U, 257U, 16384U, 65536U}) {
        EXPECT_TRUE(Moved(Reply::Block(Length), piece) == whole) << piece;
    }
}

TEST(Reply, LargestBlockIsMadeWithoutHoldingIt) {
    Reply reply = Reply::Block(268435456);
    std::string out;
    std::size_t total = 0;
    std::size_t largest = 0;
    while (!reply.Empty()) {
        out.clear();
        reply.MoveTo(out, 65536);
        total += out.size();
        largest = std::max(largest, out.capacity());
    }
    EXPECT_EQ(total, 11U + 268435456U);
    EXPECT_LE(largest, 2U * 65536U);
}

TEST(Reply, TraceHasTheWantedPoints) {
    for (const std::size_t points : {1U, 2U, 63U, 64U, 65U, 1000U}) {
        EXPECT_EQ(Values(Moved(Reply::Trace(points, 1), 4096)).size(), points);
    }
}

TEST(Reply, TraceIsOnePeriodOfASine) {
    const auto values = Values(Moved(Reply::Trace(100, 1), 4096));
    EXPECT_NEAR(values[0], 0.0, 0.0011);
    EXPECT_NEAR(values[25], 1.0, 0.0011);
    EXPECT_NEAR(values[50], 0.0, 0.0011);
    EXPECT_NEAR(values[75], -1.0, 0.0011);
}

TEST(Reply, TraceDependsOnItsSeedOnly) {
    EXPECT_EQ(Moved(Reply::Trace(200, 1), 4096), Moved(Reply::Trace(200, 1), 7));
    EXPECT_NE(Moved(Reply::Trace(200, 1), 4096), Moved(Reply::Trace(200, 2), 4096));
}
