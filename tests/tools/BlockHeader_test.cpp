#include "tools/uxvisa/BlockHeader.h"

#include <gtest/gtest.h>

#include <memory>
#include <string_view>

using uxvisa::tool::BlockHeader;
using Kind = BlockHeader::Kind;

namespace {

// On the heap with nothing behind it, so that a look past the end is seen by a sanitizer.
BlockHeader Parse(std::string_view text) {
    const auto copy = std::make_unique<char[]>(text.size());
    text.copy(copy.get(), text.size());
    return uxvisa::tool::ParseBlockHeader(copy.get(), text.size());
}

} // namespace

TEST(BlockHeader, TellsHowManyBytesAreMissing) {
    EXPECT_EQ(Parse("").missing, 2U);
    EXPECT_EQ(Parse("#").missing, 1U);
    EXPECT_EQ(Parse("#3").missing, 3U);
    EXPECT_EQ(Parse("#312").missing, 1U);
    for (const auto* text : {"", "#", "#3", "#312"}) {
        EXPECT_EQ(Parse(text).kind, Kind::Incomplete) << text;
    }
}

TEST(BlockHeader, GivesTheLength) {
    const BlockHeader header = Parse("#3125");
    EXPECT_EQ(header.kind, Kind::Definite);
    EXPECT_EQ(header.length, 125U);
    EXPECT_EQ(header.missing, 0U);
}

TEST(BlockHeader, TakesTheLargestLength) {
    const BlockHeader header = Parse("#9999999999");
    EXPECT_EQ(header.kind, Kind::Definite);
    EXPECT_EQ(header.length, 999999999U);
}

TEST(BlockHeader, TakesLeadingZerosAndAnEmptyBlock) {
    EXPECT_EQ(Parse("#500005").length, 5U);
    EXPECT_EQ(Parse("#10").kind, Kind::Definite);
    EXPECT_EQ(Parse("#10").length, 0U);
}

TEST(BlockHeader, DoesNotTakeDataForLengthDigits) {
    EXPECT_EQ(Parse("#159999").length, 5U);
}

TEST(BlockHeader, KnowsTheIndefiniteForm) {
    EXPECT_EQ(Parse("#0").kind, Kind::Indefinite);
    EXPECT_EQ(Parse("#0abc").kind, Kind::Indefinite);
}

TEST(BlockHeader, RejectsOtherAnswers) {
    for (const auto* text : {"1", "1.25", "CURV #14", " #14", "#A", "#-", "##", "#2x", "#21x",
                             "#2 1", "#1\n", "#\n", "\n", "\xFF", "#\xB2"}) {
        EXPECT_EQ(Parse(text).kind, Kind::Malformed) << text;
    }
}

TEST(BlockHeader, RejectsABadDigitBeforeTheHeaderIsComplete) {
    EXPECT_EQ(Parse("#9x").kind, Kind::Malformed);
}
