#include "tools/emulator/LineAssembler.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

using emulator::LineAssembler;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const std::string Overrun = "<overrun>";

void Feed(LineAssembler& lines, std::string_view input, std::vector<std::string>& seen) {
    std::string_view line;
    for (;;) {
        switch (lines.Take(input, line)) {
        case LineAssembler::Outcome::NeedMore:
            return;
        case LineAssembler::Outcome::Line:
            seen.emplace_back(line);
            break;
        case LineAssembler::Outcome::Overrun:
            seen.push_back(Overrun);
            break;
        }
    }
}

std::vector<std::string> Lines(std::string_view text, std::size_t split, std::size_t max_length) {
    LineAssembler lines(max_length);
    std::vector<std::string> seen;
    for (std::size_t at = 0; at < text.size(); at += split) {
        // An exact-size copy, so that a view kept for too long is seen by the sanitizers.
        const std::string piece(text.substr(at, split));
        Feed(lines, piece, seen);
    }
    return seen;
}

} // namespace

TEST(LineAssembler, NothingInNothingOut) {
    EXPECT_THAT(Lines("", 1, 8), IsEmpty());
}

TEST(LineAssembler, TextWithoutLineFeedIsNoLine) {
    EXPECT_THAT(Lines("*IDN?", 5, 8), IsEmpty());
    EXPECT_THAT(Lines("*IDN?\r", 6, 8), IsEmpty());
}

TEST(LineAssembler, GivesSeveralLinesOfOnePiece) {
    EXPECT_THAT(Lines("one\ntwo\n\nthree\n", 100, 8), ElementsAre("one", "two", "", "three"));
}

TEST(LineAssembler, DropsOneCarriageReturnBeforeTheLineFeed) {
    EXPECT_THAT(Lines("one\r\n\r\ntwo\r\r\n", 100, 8), ElementsAre("one", "", "two\r"));
}

TEST(LineAssembler, KeepsCarriageReturnsInside) {
    EXPECT_THAT(Lines("a\rb\n", 100, 8), ElementsAre("a\rb"));
}

TEST(LineAssembler, KeepsNulBytes) {
    const std::string text("a\0b\n", 4);
    EXPECT_THAT(Lines(text, 1, 8), ElementsAre(std::string("a\0b", 3)));
}

TEST(LineAssembler, EverySplitGivesTheSameLines) {
    const std::string text = "*IDN?\r\n\nSYST:ERR?\n\r\nlonger than that\nx\n";
    const auto whole = Lines(text, text.size(), 12);
    ASSERT_THAT(whole, ElementsAre("*IDN?", "", "SYST:ERR?", "", Overrun, "x"));
    for (std::size_t split = 1; split < text.size(); ++split) {
        EXPECT_EQ(Lines(text, split, 12), whole) << "split " << split;
    }
}

TEST(LineAssembler, LongestLinePasses) {
    EXPECT_THAT(Lines("12345678\n", 3, 8), ElementsAre("12345678"));
    EXPECT_THAT(Lines("12345678\r\n", 3, 8), ElementsAre("12345678"));
    EXPECT_THAT(Lines("12345678\r\n", 100, 8), ElementsAre("12345678"));
}

TEST(LineAssembler, OneByteMoreIsAnOverrun) {
    EXPECT_THAT(Lines("123456789\nok\n", 100, 8), ElementsAre(Overrun, "ok"));
    EXPECT_THAT(Lines("12345678\r\r\nok\n", 1, 8), ElementsAre(Overrun, "ok"));
    EXPECT_THAT(Lines("12345678\rx\nok\n", 1, 8), ElementsAre(Overrun, "ok"));
}

TEST(LineAssembler, OverrunIsReportedOncePerLine) {
    const std::string text = std::string(100, 'x') + "\n" + std::string(100, 'y') + "\nok\n";
    for (const std::size_t split : {1U, 7U, 50U, 300U}) {
        EXPECT_THAT(Lines(text, split, 8), ElementsAre(Overrun, Overrun, "ok")) << split;
    }
}

TEST(LineAssembler, OverrunIsReportedBeforeTheLineEnds) {
    EXPECT_THAT(Lines("123456789", 1, 8), ElementsAre(Overrun));
}

TEST(LineAssembler, LimitIsOneMebibyteUnlessSetOtherwise) {
    LineAssembler lines;
    std::vector<std::string> seen;
    Feed(lines, std::string(1048576, 'x') + "\n", seen);
    Feed(lines, std::string(1048577, 'x') + "\n", seen);
    ASSERT_EQ(seen.size(), 2U);
    EXPECT_EQ(seen[0].size(), 1048576U);
    EXPECT_EQ(seen[1], Overrun);
}
