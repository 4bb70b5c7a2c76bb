#include "brix/TextNumbers.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <limits>
#include <ostream>
#include <string>

namespace {

struct Taken {
    double value;
    unsigned int consumed;
    bool operator==(const Taken&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Taken& taken) {
    return out << taken.value << " with " << taken.consumed << " consumed";
}

Taken Integer(const char* text, bool allowHex) {
    unsigned int consumed = 99;
    const int value = str2int(text, &consumed, allowHex);
    return {static_cast<double>(value), consumed};
}

Taken Real(const char* text) {
    unsigned int consumed = 99;
    const double value = str2double(text, &consumed);
    return {value, consumed};
}

} // namespace

TEST(Str2Int, Decimal) {
    EXPECT_EQ(Integer("0", false), (Taken{0, 1}));
    EXPECT_EQ(Integer("1234x", false), (Taken{1234, 4}));
    EXPECT_EQ(Integer("-17", true), (Taken{-17, 3}));
    EXPECT_EQ(Integer("007", true), (Taken{7, 3}));
}

TEST(Str2Int, Hexadecimal) {
    EXPECT_EQ(Integer("0x1F", true), (Taken{31, 4}));
    EXPECT_EQ(Integer("0xaBcG", true), (Taken{0xABC, 5}));
    EXPECT_EQ(Integer("0xFFFFFFFF", true), (Taken{-1, 10}));
    EXPECT_EQ(Integer("0x", true), (Taken{0, 2}));
}

TEST(Str2Int, HexadecimalIsReadOnlyWhereAllowed) {
    EXPECT_EQ(Integer("0x1F", false), (Taken{0, 1}));
}

TEST(Str2Int, OnlyALowerCaseXMarksHexadecimalOnPurpose) {
    EXPECT_EQ(Integer("0X10", true), (Taken{0, 1}));
}

TEST(Str2Int, HexadecimalHasNoSign) {
    EXPECT_EQ(Integer("-0x10", true), (Taken{0, 2}));
}

TEST(Str2Int, NoDigits) {
    EXPECT_EQ(Integer("", true), (Taken{0, 0}));
    EXPECT_EQ(Integer("abc", true), (Taken{0, 0}));
    EXPECT_EQ(Integer("+5", true), (Taken{0, 0}));
    EXPECT_EQ(Integer(" 5", true), (Taken{0, 0}));
    EXPECT_EQ(Integer("--5", true), (Taken{0, 1}));
}

TEST(Str2Int, ALoneSignIsConsumedOnPurpose) {
    EXPECT_EQ(Integer("-", false), (Taken{0, 1}));
}

TEST(Str2Int, OverflowWraps) {
    EXPECT_EQ(Integer("2147483648", false), (Taken{-2147483648.0, 10}));
    EXPECT_EQ(Integer("4294967297", false), (Taken{1, 10}));
    EXPECT_EQ(Integer("-2147483648", false), (Taken{-2147483648.0, 11}));
    EXPECT_EQ(Integer("0x123456789", true), (Taken{0x23456789, 11}));
}

TEST(Str2Int, TheCountMayBeNull) {
    EXPECT_EQ(str2int("12", nullptr, true), 12);
    EXPECT_EQ(str2int(nullptr, nullptr, true), 0);
}

TEST(Str2Double, Decimal) {
    EXPECT_EQ(Real("-1.25e2"), (Taken{-125, 7}));
    EXPECT_EQ(Real("15"), (Taken{15, 2}));
    EXPECT_EQ(Real("5."), (Taken{5, 2}));
    EXPECT_EQ(Real(".5"), (Taken{0.5, 2}));
    EXPECT_EQ(Real("-.5e1x"), (Taken{-5, 5}));
    EXPECT_EQ(Real("1e2.5"), (Taken{100, 3}));
    EXPECT_EQ(Real("1,2"), (Taken{1, 1}));
    EXPECT_EQ(Real("1-2"), (Taken{1, 1}));
}

TEST(Str2Double, Hexadecimal) {
    EXPECT_EQ(Real("0x1F"), (Taken{31, 4}));
    EXPECT_EQ(Real("0xffffffffff."), (Taken{1099511627775.0, 12}));
    EXPECT_EQ(Real("0x"), (Taken{0, 2}));
    EXPECT_EQ(Real("0X1"), (Taken{0, 1}));
    EXPECT_EQ(Real("-0x1"), (Taken{0, 2}));
}

TEST(Str2Double, NoNumber) {
    for (const char* text : {"", "abc", "+1", " 1", "e5", ",", "x"}) {
        EXPECT_EQ(Real(text), (Taken{0, 0})) << text;
    }
}

TEST(Str2Double, SignAndPointAloneAreNumbersOnPurpose) {
    EXPECT_EQ(Real("-"), (Taken{0, 1}));
    EXPECT_EQ(Real("."), (Taken{0, 1}));
    EXPECT_EQ(Real("-."), (Taken{0, 2}));
    EXPECT_EQ(Real("-e3"), (Taken{0, 3}));
    EXPECT_EQ(Real(".e3"), (Taken{0, 3}));
}

TEST(Str2Double, AnExponentWithoutAnythingFailsTheWholeOnPurpose) {
    EXPECT_EQ(Real("2e"), (Taken{0, 0}));
    EXPECT_EQ(Real("-2.5ex"), (Taken{0, 0}));
    EXPECT_EQ(Real("1e+5"), (Taken{0, 0}));
    EXPECT_EQ(Real("1e 5"), (Taken{0, 0}));
}

TEST(Str2Double, AnExponentOfALoneSignIsZeroOnPurpose) {
    EXPECT_EQ(Real("1e-"), (Taken{1, 3}));
}

TEST(Str2Double, AnUpperCaseExponentIsNoneOnPurpose) {
    EXPECT_EQ(Real("1E5"), (Taken{1, 1}));
}

TEST(Str2Double, TheExponentIsNeverHexadecimal) {
    EXPECT_EQ(Real("1e0x1"), (Taken{1, 3}));
}

TEST(Str2Double, TheSignComesLast) {
    unsigned int consumed = 0;
    EXPECT_TRUE(std::signbit(str2double("-0", &consumed)));
}

TEST(Str2Double, ItsLastBitIsItsOwnOnPurpose) {
    // The sum of the digits, each over its own power, then times a power: not the nearest double.
    EXPECT_EQ(Real("1.15").value, 1.0 + 1 / std::pow(10, 1) + 5 / std::pow(10, 2));
    EXPECT_EQ(Real("0.123456").value,
              1 / 10.0 + 2 / 100.0 + 3 / 1000.0 + 4 / 10000.0 + 5 / 100000.0 + 6 / 1000000.0);
    EXPECT_EQ(Real("3e-5").value, 3 * std::pow(10, -5));
    int differing = 0;
    for (int i = 1; i < 1000; ++i) {
        const std::string text = "1." + std::to_string(i) + "e-7";
        differing += Real(text.c_str()).value == std::strtod(text.c_str(), nullptr) ? 0 : 1;
    }
    EXPECT_GT(differing, 0);
}

TEST(Str2Double, HugeAndTinyExponents) {
    EXPECT_EQ(Real("1e400").value, std::numeric_limits<double>::infinity());
    EXPECT_EQ(Real("1e-400").value, 0.0);
    EXPECT_EQ(Real("1e2147483647").value, std::numeric_limits<double>::infinity());
    EXPECT_TRUE(std::isnan(Real("0e400").value));
    EXPECT_EQ(Real(("0." + std::string(1000, '0') + "1").c_str()), (Taken{0, 1003}));
    EXPECT_EQ(Real(std::string(400, '9').c_str()).value, std::numeric_limits<double>::infinity());
}

TEST(Str2Double, TheCountMayBeNull) {
    EXPECT_EQ(str2double("1.5", nullptr), 1.5);
    EXPECT_EQ(str2double(nullptr, nullptr), 0.0);
}

TEST(PowerOfTen, IsWhatPowGives) {
    for (int exponent = -700; exponent <= 700; ++exponent) {
        EXPECT_EQ(uxvisa::brix::PowerOfTen(exponent), std::pow(10, exponent)) << exponent;
    }
}

TEST(ReadReal, TakesNothingBehindTheText) {
    const std::string text = "12e5";
    EXPECT_EQ(uxvisa::brix::ReadReal(std::string_view(text).substr(0, 2)).value, 12.0);
    EXPECT_EQ(uxvisa::brix::ReadReal(std::string_view(text).substr(0, 3)).consumed, 0U);
    EXPECT_EQ(uxvisa::brix::ReadInteger(std::string_view("-9").substr(0, 1), true).consumed, 1U);
}
