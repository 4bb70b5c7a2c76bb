#include <gmock/gmock.h>

#include <climits>
#include <cmath>
#include <cwchar>

#include "tests/support/MockSession.h"
#include "uxvisa/visatype.h"

using testing::Each;
using testing::ElementsAre;
using uxvisa::test::MockSession;

namespace {

// A session in byte mode that delivers `input` and is then silent.
MockSession Delivering(const std::string& input) {
    MockSession session;
    session.input = input;
    return session;
}

MockSession Block(const std::string& data, long status = VI_SUCCESS_TERM_CHAR) {
    MockSession session;
    session.UseBlocks();
    session.blocks = {{data, status}};
    return session;
}

} // namespace

TEST(FormattedInput, ByteModeReadsOneByteAtATimeUpToTheLineFeed) {
    MockSession session = Delivering("42\nrest");
    int value = 0;
    EXPECT_EQ(session.ScanfWith("%d", &value), VI_SUCCESS);
    EXPECT_EQ(value, 42);
    EXPECT_THAT(session.readSizes, ElementsAre(1UL, 1UL, 1UL));
}

TEST(FormattedInput, AnIntLeavesTheLineFeedOnPurpose) {
    MockSession session = Delivering("42\n");
    int value = 0;
    ASSERT_EQ(session.ScanfWith("%d", &value), VI_SUCCESS);
    EXPECT_EQ(session.Buffered(), "\n");
    char line[16] = {};
    EXPECT_EQ(session.ScanfWith("%T", line), VI_SUCCESS);
    EXPECT_STREQ(line, "\n");
}

TEST(FormattedInput, LeftOverLineFeedThenSilenceIsAnInvalidFormatOnPurpose) {
    MockSession session = Delivering("42\n");
    int value = 0;
    ASSERT_EQ(session.ScanfWith("%d", &value), VI_SUCCESS);
    EXPECT_EQ(session.ScanfWith("%d", &value), VI_ERROR_INV_FMT);
}

TEST(FormattedInput, NextFillAppendsInByteMode) {
    MockSession session = Delivering("42\n17\n");
    int value = 0;
    ASSERT_EQ(session.ScanfWith("%d", &value), VI_SUCCESS);
    ASSERT_EQ(session.ScanfWith("%d", &value), VI_SUCCESS);
    EXPECT_EQ(value, 17);
    EXPECT_EQ(session.Buffered(), "\n");
}

TEST(FormattedInput, SilenceIsATimeoutOnlyWithAnEmptyBuffer) {
    MockSession session = Delivering("");
    int value = 0;
    EXPECT_EQ(session.ScanfWith("%d", &value), VI_ERROR_TMO);
    session.input = "12";
    EXPECT_EQ(session.ScanfWith("%d", &value), VI_SUCCESS);
    EXPECT_EQ(value, 12);
}

TEST(FormattedInput, OnlyATimeoutIsForgivenInByteModeOnPurpose) {
    MockSession session = Delivering("12");
    session.whenEmpty = {"", VI_ERROR_CONN_LOST};
    int value = 0;
    EXPECT_EQ(session.ScanfWith("%d", &value), VI_ERROR_CONN_LOST);
    EXPECT_EQ(session.Buffered(), "12");
}

TEST(FormattedInput, ZeroBytesWithSuccessIsASuccess) {
    MockSession session = Delivering("");
    session.whenEmpty = {"", VI_SUCCESS};
    EXPECT_EQ(session.ScanfWith(""), VI_SUCCESS);
}

TEST(FormattedInput, StatusOfADeliveredByteIsNotLookedAt) {
    MockSession session = Delivering("7\n");
    session.deliveryStatus = VI_ERROR_IO;
    int value = 0;
    EXPECT_EQ(session.ScanfWith("%d", &value), VI_SUCCESS);
    EXPECT_EQ(value, 7);
}

TEST(FormattedInput, FillsFirstEvenForAnEmptyOrABadFormatOnPurpose) {
    MockSession session = Delivering("one\ntwo\n");
    EXPECT_EQ(session.ScanfWith(""), VI_SUCCESS);
    EXPECT_EQ(session.Buffered(), "one\n");
    EXPECT_EQ(session.ScanfWith("%x"), VI_ERROR_INV_FMT);
    EXPECT_EQ(session.Buffered(), "one\ntwo\n");
    MockSession silent;
    EXPECT_EQ(silent.ScanfWith("%x"), VI_ERROR_TMO);
}

TEST(FormattedInput, NullFormatReadsNothing) {
    MockSession session = Delivering("abc\n");
    EXPECT_EQ(session.ScanfWith(nullptr), VI_ERROR_INV_FMT);
    EXPECT_THAT(session.readSizes, ElementsAre());
}

TEST(FormattedInput, ByteModeStopsAtSixtyFiveThousandBytes) {
    MockSession session = Delivering(std::string(70000, 'a'));
    EXPECT_EQ(session.ScanfWith(""), VI_SUCCESS);
    EXPECT_EQ(session.Buffered().size(), 65000U);
    session.readSizes.clear();
    EXPECT_EQ(session.ScanfWith(""), VI_SUCCESS);
    EXPECT_THAT(session.readSizes, ElementsAre());
}

TEST(FormattedInput, BlockModeReadsOneBlockAndReplacesTheBuffer) {
    MockSession session;
    session.UseBlocks();
    session.blocks = {{"1 2\n", VI_SUCCESS_TERM_CHAR}, {"3\n", VI_SUCCESS_TERM_CHAR}};
    int value = 0;
    ASSERT_EQ(session.ScanfWith("%d", &value), VI_SUCCESS);
    EXPECT_EQ(session.Buffered(), " 2\n");
    ASSERT_EQ(session.ScanfWith("%d", &value), VI_SUCCESS);
    EXPECT_EQ(value, 3);
    EXPECT_THAT(session.readSizes, ElementsAre(65536UL, 65536UL));
}

TEST(FormattedInput, BlockModeKeepsTheDataOfATimedOutReadAndReturnsTheTimeoutOnPurpose) {
    MockSession session = Block("partial", VI_ERROR_TMO);
    int value = 0;
    EXPECT_EQ(session.ScanfWith("%d", &value), VI_ERROR_TMO);
    EXPECT_EQ(session.Buffered(), "partial");
}

TEST(FormattedInput, BlockModeEndsAtANul) {
    MockSession session = Block(std::string("ab\0cd\n", 6));
    EXPECT_EQ(session.ScanfWith(""), VI_SUCCESS);
    EXPECT_EQ(session.Buffered(), "ab");
}

TEST(FormattedInput, APositiveStatusOfTheBlockIsNotReported) {
    MockSession session = Block("5\n", VI_SUCCESS_MAX_CNT);
    int value = 0;
    EXPECT_EQ(session.ScanfWith("%d", &value), VI_SUCCESS);
    EXPECT_EQ(value, 5);
}

TEST(FormattedInput, OnlyTheLow32BitsOfTheAttributeCount) {
    MockSession session = Delivering("5\n");
    session.attributes[VI_ATTR_TERMCHAR_EN] = 2;
    int value = 0;
    EXPECT_EQ(session.ScanfWith("%d", &value), VI_SUCCESS);
    EXPECT_THAT(session.readSizes, Each(1UL));
}

TEST(FormattedInput, TextConversions) {
    char maker[32] = {};
    char rest[32] = {};
    char letter = 0;
    int number = 0;
    MockSession session = Block("Orvane,Emulator 12 x\n");
    EXPECT_EQ(session.ScanfWith("%[^,],%s%d %c", maker, rest, &number, &letter), VI_SUCCESS);
    EXPECT_STREQ(maker, "Orvane");
    EXPECT_STREQ(rest, "Emulator");
    EXPECT_EQ(number, 12);
    EXPECT_EQ(letter, 'x');
    EXPECT_EQ(session.Buffered(), "\n");
    MockSession again = Block("Orvane Emulator 12 x\n");
    EXPECT_EQ(again.ScanfWith("%6s%s%d %c", maker, rest, &number, &letter), VI_SUCCESS);
    EXPECT_STREQ(rest, "Emulator");
}

TEST(FormattedInput, ScanSets) {
    MockSession session = Block("1234abc\n");
    char digits[16] = {};
    char rest[16] = {};
    EXPECT_EQ(session.ScanfWith("%[0-9]%[^\n]", digits, rest), VI_SUCCESS);
    EXPECT_STREQ(digits, "1234");
    EXPECT_STREQ(rest, "abc");
}

TEST(FormattedInput, ScanSetIsCutAtAConversionLetterOnPurpose) {
    char text[16] = {};
    MockSession session = Block("abc\n");
    EXPECT_EQ(session.ScanfWith("%[abc]", text), VI_ERROR_INV_FMT);
    MockSession line = Block("abc\n");
    EXPECT_EQ(line.ScanfWith("%[A-T]", text), VI_ERROR_INV_FMT); // the ']' is left as a literal
    EXPECT_STREQ(text, "abc\n");
    MockSession number = Block("5\n");
    int value = 77;
    EXPECT_EQ(number.ScanfWith("%[a-d", &value), VI_ERROR_INV_FMT);
    EXPECT_EQ(value, 77);
}

TEST(FormattedInput, Literals) {
    int value = 0;
    MockSession session = Block("OK 5\n");
    EXPECT_EQ(session.ScanfWith("OK %d", &value), VI_SUCCESS);
    EXPECT_EQ(value, 5);
    MockSession wrong = Block("NO 5\n");
    EXPECT_EQ(wrong.ScanfWith("OK %d", &value), VI_ERROR_INV_FMT);
    EXPECT_EQ(wrong.Buffered(), "NO 5\n");
    MockSession blank = Block("5\n");
    EXPECT_EQ(blank.ScanfWith(" %d", &value), VI_ERROR_INV_FMT);
    MockSession percent = Block("50%\n");
    EXPECT_EQ(percent.ScanfWith("%d%%", &value), VI_SUCCESS);
    EXPECT_EQ(percent.Buffered(), "\n");
}

TEST(FormattedInput, WhatEarlierPiecesConsumedStaysConsumed) {
    MockSession session = Block("1 x\n");
    int value = 0;
    EXPECT_EQ(session.ScanfWith("%d%d", &value, &value), VI_ERROR_INV_FMT);
    EXPECT_EQ(session.Buffered(), " x\n");
    EXPECT_EQ(value, 1);
}

TEST(FormattedInput, IntArrays) {
    int values[3] = {};
    MockSession session = Block("1 2 3\n");
    EXPECT_EQ(session.ScanfWith("%,3d", values), VI_SUCCESS);
    EXPECT_THAT(values, ElementsAre(1, 2, 3));
    MockSession counted = Block("4 5 6\n");
    EXPECT_EQ(counted.ScanfWith("%,#d", 3, values), VI_SUCCESS);
    EXPECT_THAT(values, ElementsAre(4, 5, 6));
    EXPECT_EQ(counted.Buffered(), "\n");
}

TEST(FormattedInput, CommasDoNotSeparateArrayElements) {
    int values[3] = {7, 7, 7};
    MockSession session = Block("1,2,3\n");
    EXPECT_EQ(session.ScanfWith("%,3d", values), VI_ERROR_INV_FMT);
    EXPECT_THAT(values, ElementsAre(1, 7, 7));
    EXPECT_EQ(session.Buffered(), ",2,3\n");
}

TEST(FormattedInput, StridesDoNotFollowTheLettersOnPurpose) {
    short shorts[4] = {9, 9, 9, 9};
    MockSession narrow = Block("1 2\n");
    EXPECT_EQ(narrow.ScanfWith("%,2hd", shorts), VI_SUCCESS);
    EXPECT_THAT(shorts, ElementsAre(1, 9, 2, 9));

    int wide[3] = {9, 9, 9};
    MockSession longs = Block("1 2\n");
    EXPECT_EQ(longs.ScanfWith("%,2ld", wide), VI_SUCCESS);
    EXPECT_THAT(wide, ElementsAre(1, 2, 0));

    float floats[4] = {9, 9, 9, 9};
    MockSession reals = Block("1.5 2.5\n");
    EXPECT_EQ(reals.ScanfWith("%,2f", floats), VI_SUCCESS);
    EXPECT_THAT(floats, ElementsAre(1.5F, 9.0F, 2.5F, 9.0F));
}

TEST(FormattedInput, DoublesFloatsAndLongDoubles) {
    double value = 0;
    float single = 0;
    long double extended = 0;
    MockSession session = Block("+1.25E-3 2.5 0.1 inf nan 0x1p4\n");
    EXPECT_EQ(session.ScanfWith("%lf%f%Lf", &value, &single, &extended), VI_SUCCESS);
    EXPECT_EQ(value, 1.25e-3);
    EXPECT_EQ(single, 2.5F);
    EXPECT_EQ(extended, 0.1L);
    MockSession special = Block("inf nan 0x1p4\n");
    double values[3] = {};
    EXPECT_EQ(special.ScanfWith("%,3le", values), VI_SUCCESS);
    EXPECT_TRUE(std::isinf(values[0]));
    EXPECT_TRUE(std::isnan(values[1]));
    EXPECT_EQ(values[2], 16.0);
}

TEST(FormattedInput, LongLongLettersAndUnknownCombinations) {
    long long value = 0;
    MockSession session = Block("123456789012\n");
    EXPECT_EQ(session.ScanfWith("%lld", &value), VI_SUCCESS);
    EXPECT_EQ(value, 123456789012LL);
    MockSession odd = Block("1\n");
    EXPECT_EQ(odd.ScanfWith("%hld", &value), VI_ERROR_INV_FMT);
}

TEST(FormattedInput, NumbersOutOfRangeGiveWhatTheCLibraryGives) {
    const std::string text = "99999999999999999999";
    int expected = 0;
    std::sscanf(text.c_str(), "%d", &expected);
    int value = 0;
    MockSession session = Block(text + "\n");
    EXPECT_EQ(session.ScanfWith("%d", &value), VI_SUCCESS);
    EXPECT_EQ(value, expected);
}

TEST(FormattedInput, UnalignedTargets) {
    alignas(double) char bytes[1 + sizeof(double)];
    MockSession session = Block("2.5\n");
    EXPECT_EQ(session.ScanfWith("%lf", bytes + 1), VI_SUCCESS);
    double value = 0;
    std::memcpy(&value, bytes + 1, sizeof value);
    EXPECT_EQ(value, 2.5);
}

TEST(FormattedInput, SuppressedNumbersStillTakeAnArgumentOnPurpose) {
    int unused = 77;
    int value = 0;
    MockSession session = Block("1 2\n");
    EXPECT_EQ(session.ScanfWith("%*d%d", &unused, &value), VI_SUCCESS);
    EXPECT_EQ(unused, 77);
    EXPECT_EQ(value, 2);
    MockSession array = Block("1 2\n");
    EXPECT_EQ(array.ScanfWith("%*,5lf%d", &unused, &value), VI_SUCCESS);
    EXPECT_EQ(value, 2);
}

TEST(FormattedInput, SuppressedTextTakesNoArgumentOnPurpose) {
    int value = 0;
    MockSession session = Block("ab:c 12 5\n");
    EXPECT_EQ(session.ScanfWith("%*[a-b]:%*c%*s%d", &value), VI_SUCCESS);
    EXPECT_EQ(value, 5);
}

TEST(FormattedInput, SuppressedConversionThatConsumesNothingFails) {
    int value = 0;
    MockSession session = Block("x\n");
    EXPECT_EQ(session.ScanfWith("%*d", &value), VI_ERROR_INV_FMT);
    MockSession set = Block("x\n");
    EXPECT_EQ(set.ScanfWith("%*[0-9]"), VI_ERROR_INV_FMT);
}

TEST(FormattedInput, LinesWithAndWithoutWidth) {
    char line[64] = {};
    MockSession session = Block("abc\ndef\n");
    EXPECT_EQ(session.ScanfWith("%T", line), VI_SUCCESS);
    EXPECT_STREQ(line, "abc\n");
    EXPECT_EQ(session.Buffered(), "def\n");
    MockSession cut = Block("abc\ndef\n");
    EXPECT_EQ(cut.ScanfWith("%2T", line), VI_SUCCESS);
    EXPECT_STREQ(line, "ab");
    EXPECT_EQ(cut.Buffered(), "def\n");
}

TEST(FormattedInput, ALineWithoutItsEndIsSkippedWhenItArrivesOnPurpose) {
    char line[64] = {};
    MockSession session = Delivering("abcdefgh");
    EXPECT_EQ(session.ScanfWith("%5T", line), VI_SUCCESS);
    EXPECT_STREQ(line, "abcde");
    EXPECT_EQ(session.Buffered(), "");
    EXPECT_EQ(session.SkipUntil(), '\n');
    session.input = "tail\nnext\n";
    EXPECT_EQ(session.ScanfWith("%T", line), VI_SUCCESS);
    EXPECT_STREQ(line, "next\n");
    EXPECT_EQ(session.SkipUntil(), 0);
}

TEST(FormattedInput, SkippingCountsTowardsTheRoom) {
    char line[64] = {};
    MockSession session = Delivering("a");
    ASSERT_EQ(session.ScanfWith("%T", line), VI_SUCCESS);
    session.input = std::string(64999, 'x') + "\nrest\n";
    EXPECT_EQ(session.ScanfWith(""), VI_SUCCESS);
    EXPECT_EQ(session.input, "rest\n");
    EXPECT_EQ(session.Buffered(), "");
}

TEST(FormattedInput, BlockWithTerminationForgetsTheSkip) {
    char line[64] = {};
    MockSession session = Delivering("a");
    ASSERT_EQ(session.ScanfWith("%T", line), VI_SUCCESS);
    session.UseBlocks();
    session.blocks = {{"b\n", VI_SUCCESS_TERM_CHAR}};
    EXPECT_EQ(session.ScanfWith("%T", line), VI_SUCCESS);
    EXPECT_STREQ(line, "b\n");
    EXPECT_EQ(session.SkipUntil(), 0);
}

TEST(FormattedInput, SuppressedLineIsRemovedAndFailsOnPurpose) {
    MockSession session = Block("abc\ndef\n");
    EXPECT_EQ(session.ScanfWith("%*T"), VI_ERROR_INV_FMT);
    EXPECT_EQ(session.Buffered(), "def\n");
}

TEST(FormattedInput, EmptyLinesFail) {
    char line[8] = "old";
    MockSession session = Block("", VI_SUCCESS_TERM_CHAR);
    EXPECT_EQ(session.ScanfWith("%T", line), VI_ERROR_INV_FMT);
    MockSession zero = Block("abc\n");
    EXPECT_EQ(zero.ScanfWith("%0T", line), VI_ERROR_INV_FMT);
    EXPECT_STREQ(line, "old");
}

TEST(FormattedInput, LineFollowedByALiteralFailsWhenTheLineEndsTheBufferOnPurpose) {
    char line[16] = {};
    MockSession session = Block("abc\n");
    EXPECT_EQ(session.ScanfWith("%T\n", line), VI_ERROR_INV_FMT);
    EXPECT_STREQ(line, "abc\n");
}

TEST(FormattedInput, LineWithANulKeepsItsBytes) {
    char line[16] = {};
    MockSession session = Delivering(std::string("a\0b\n", 4));
    EXPECT_EQ(session.ScanfWith("%T", line), VI_SUCCESS);
    EXPECT_EQ(std::string(line, 5), std::string("a\0b\n\0", 5));
}

TEST(FormattedInput, BadFormats) {
    int value = 0;
    EXPECT_EQ(Block("1\n").ScanfWith("%x", &value), VI_ERROR_INV_FMT);
    EXPECT_EQ(Block("1\n").ScanfWith("%.2f", &value), VI_ERROR_INV_FMT);
    EXPECT_EQ(Block("1\n").ScanfWith("%,0d", &value), VI_ERROR_INV_FMT);
    EXPECT_EQ(Block("1\n").ScanfWith("%5"), VI_ERROR_NSUP_FMT);
    EXPECT_EQ(Block("1\n").ScanfWith("%"), VI_ERROR_NSUP_FMT);
    EXPECT_EQ(Block("1\n").ScanfWith("%["), VI_ERROR_NSUP_FMT);
    EXPECT_EQ(Block("1\n").ScanfWith("%5%"), VI_ERROR_NSUP_FMT);
}

TEST(FormattedInput, WidthsLimitNumbers) {
    int first = 0;
    int second = 0;
    double third = 0;
    MockSession session = Block("123456.75\n");
    EXPECT_EQ(session.ScanfWith("%2d%#d%3lf", &first, 2, &second, &third), VI_SUCCESS);
    EXPECT_EQ(first, 12);
    EXPECT_EQ(second, 34);
    EXPECT_EQ(third, 56.0);
}

TEST(FormattedInput, LongArraysStayLinear) {
    std::string text;
    for (int i = 0; i < 8000; ++i) {
        text += "1.25e0 ";
    }
    MockSession session = Block(text + "\n");
    std::vector<double> values(8000);
    EXPECT_EQ(session.ScanfWith("%,8000lf", values.data()), VI_SUCCESS);
    EXPECT_THAT(values, Each(1.25));
}
