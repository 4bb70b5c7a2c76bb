#include "brix/PacketText.h"

#include <gtest/gtest.h>

#include <bit>
#include <clocale>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <random>

#include "brix/Bytes.h"

using uxvisa::test::Bytes;

namespace {

std::string Quoted(const char* hexadecimal) {
    std::vector<unsigned char> bytes = Bytes(hexadecimal);
    return bin_to_str(bytes.data(), static_cast<int>(bytes.size()));
}

std::string Number(double value) {
    std::string text;
    uxvisa::brix::AppendNumber(text, value);
    return text;
}

std::string Printed(double value) {
    char text[64];
    std::snprintf(text, sizeof text, "%.13g", value);
    return text;
}

} // namespace

TEST(BinToStr, QuotesAndEscapes) {
    EXPECT_EQ(Quoted("61 22 00 1B"), R"("a"\0\27")");
    EXPECT_EQ(Quoted("5C 0A 0D 00 09"), R"("\\\n\r\0\t")");
    EXPECT_EQ(Quoted(""), R"("")");
    EXPECT_EQ(Quoted("20 7F 80 FF"), "\" \x7F\x80\xFF\"");
}

TEST(BinToStr, OtherControlsAreDecimalOnPurpose) {
    EXPECT_EQ(Quoted("01 1F"), R"("\01\31")");
}

TEST(BinToStr, DoubleQuotesAreNotEscapedOnPurpose) {
    EXPECT_EQ(Quoted("22 22"), "\"\"\"\"");
}

TEST(BinToStr, NothingOfANegativeLength) {
    EXPECT_EQ(bin_to_str(nullptr, 0), "\"\"");
    EXPECT_EQ(bin_to_str(nullptr, -1), "\"\"");
}

TEST(ArgLabel, BeginsWithABlankAndEndsWithASign) {
    EXPECT_EQ(Arg("Status"), " Status=");
    EXPECT_EQ(Arg(""), " =");
    EXPECT_EQ(Arg(nullptr), " =");
}

TEST(AppendPadded, IsDecimalBehindAHexadecimalPrefixOnPurpose) {
    std::string text;
    uxvisa::brix::AppendPadded(text, 33);
    uxvisa::brix::AppendPadded(text, 5);
    uxvisa::brix::AppendPadded(text, 255);
    EXPECT_EQ(text, "0x330x050x0255");
}

TEST(AppendNumber, EqualsThirteenDigitsOfPrintf) {
    for (const double value : {0.0, -0.0, 1.5, 0.1, 1e13, 9999999999999.0, 99999999999995.0, 1e-5,
                               1e-4, 123456789012345678.0, 5e-324, 1.7976931348623157e308,
                               9223372036854775808.0, -9223372036854775808.0}) {
        EXPECT_EQ(Number(value), Printed(value));
    }
    EXPECT_EQ(Number(std::numeric_limits<double>::infinity()), "inf");
    EXPECT_EQ(Number(-std::numeric_limits<double>::infinity()), "-inf");
}

TEST(AppendNumber, EqualsPrintfForValuesOfEveryCodecScale) {
    std::mt19937_64 random(2);
    for (int i = 0; i < 400000; ++i) {
        const auto number = static_cast<std::int64_t>(random()) >> (random() % 64);
        const double value = static_cast<double>(number) / std::ldexp(1, 8 * (i % 4));
        ASSERT_EQ(Number(value), Printed(value)) << number << " scale " << i % 4;
    }
}

TEST(AppendNumber, EqualsPrintfForAnyFiniteDouble) {
    std::mt19937_64 random(3);
    for (int i = 0; i < 400000; ++i) {
        const auto value = std::bit_cast<double>(random());
        if (std::isfinite(value)) {
            ASSERT_EQ(Number(value), Printed(value));
        }
    }
}

TEST(AppendNumber, IgnoresTheLocale) {
    // Where no locale with a comma is installed, only the C locale is left to look at.
    for (const char* name : {"de_DE.UTF-8", "fr_FR.UTF-8", "C"}) {
        if (std::setlocale(LC_NUMERIC, name) != nullptr) {
            EXPECT_EQ(Number(1.5), "1.5") << name;
        }
    }
    std::setlocale(LC_NUMERIC, "C");
}
