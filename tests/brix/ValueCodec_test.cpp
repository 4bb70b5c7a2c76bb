#include "brix/ValueCodec.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

#include "brix/Bytes.h"

using uxvisa::test::Bytes;
using uxvisa::test::Digits;

namespace {

constexpr double MostNegative = -9223372036854775808.0;

double Read(const char* bytes, unsigned int index, EValueSign sign, unsigned int size,
            unsigned int frac) {
    return ReadComplexValue2(Bytes(bytes).data(), 0, index, sign, size, frac);
}

// Value number 0 in an area filled with 5A, as hexadecimal digits.
std::string Written(unsigned int size, unsigned int frac, double value) {
    unsigned char area[20];
    std::fill(std::begin(area), std::end(area), static_cast<unsigned char>(0x5A));
    EXPECT_EQ(WriteComplexValue(area, size, frac, value, 0), static_cast<int>(size));
    EXPECT_EQ(area[size], 0x5A);
    return uxvisa::test::Hex(area, size);
}

} // namespace

TEST(WriteComplexValue, StoresLittleEndian) {
    EXPECT_EQ(Written(2, 1, -1.5), "80FE");
    EXPECT_EQ(Written(4, 2, 1.5), "00800100");
    EXPECT_EQ(Written(1, 0, 5), "05");
    EXPECT_EQ(Written(8, 0, -2), "FEFFFFFFFFFFFFFF");
}

TEST(WriteComplexValue, AnswersTheOffsetBehind) {
    unsigned char area[12] = {};
    EXPECT_EQ(WriteComplexValue(area, 3, 0, 0x010203, 2), 9);
    EXPECT_EQ(uxvisa::test::Hex(area, sizeof area), Digits("0000 0000 0000 030201 000000"));
}

TEST(WriteComplexValue, SizeZeroAnswersTheIndexOnPurpose) {
    unsigned char area[1] = {0x5A};
    EXPECT_EQ(WriteComplexValue(area, 0, 0, 1, 0), 0);
    EXPECT_EQ(WriteComplexValue(area, 0, 0, 1, 7), 7);
    EXPECT_EQ(area[0], 0x5A);
}

TEST(WriteComplexValue, RoundsHalfAwayFromZero) {
    EXPECT_EQ(Written(1, 0, 0.5), "01");
    EXPECT_EQ(Written(1, 0, 1.5), "02");
    EXPECT_EQ(Written(1, 0, -0.5), "FF");
    EXPECT_EQ(Written(1, 0, -2.5), "FD");
    EXPECT_EQ(Written(1, 0, 0.49), "00");
}

TEST(WriteComplexValue, RoundingIsAddingAHalfAndCuttingOffOnPurpose) {
    const double justBelowAHalf = std::nextafter(0.5, 0.0);
    EXPECT_EQ(std::lround(justBelowAHalf), 0);
    EXPECT_EQ(Written(1, 0, justBelowAHalf), "01");
    EXPECT_EQ(Written(1, 0, -justBelowAHalf), "FF");
}

TEST(WriteComplexValue, TheScaleCountsModulo32BitsOnPurpose) {
    EXPECT_EQ(Written(2, 4, 3), "0300");
    EXPECT_EQ(Written(2, 5, 1), "0001");
    EXPECT_EQ(Written(4, 7, 1), "00000001");
    EXPECT_EQ(Read("0300", 0, VS_SIGNED, 2, 4), 3.0);
    EXPECT_EQ(Read("0001", 0, VS_SIGNED, 2, 13), 1.0);
}

TEST(WriteComplexValue, WhatDoesNotFitIsCutOff) {
    EXPECT_EQ(Written(1, 0, 257), "01");
    EXPECT_EQ(Written(2, 0, -65537), "FFFF");
}

TEST(WriteComplexValue, BeyondTheIntegersIsTheMostNegativeOne) {
    const double infinity = std::numeric_limits<double>::infinity();
    for (const double value : {9223372036854775808.0, -9223372036854777856.0, 1e300, -1e300,
                               infinity, -infinity, std::nan("")}) {
        EXPECT_EQ(Written(8, 0, value), "0000000000000080") << value;
        EXPECT_EQ(Written(2, 0, value), "0000") << value;
    }
    EXPECT_EQ(Written(8, 0, MostNegative), "0000000000000080");
    EXPECT_EQ(Written(8, 0, 9223372036854774784.0), "00FCFFFFFFFFFF7F");
}

TEST(WriteComplexValue, Above8BytesTheSignFills) {
    EXPECT_EQ(Written(9, 0, -2), Digits("FEFFFFFFFFFFFFFF FF"));
    EXPECT_EQ(Written(15, 0, -2), Digits("FEFFFFFFFFFFFFFF FFFFFFFFFFFFFF"));
    EXPECT_EQ(Written(15, 0, 2), Digits("0200000000000000 00000000000000"));
}

TEST(ReadComplexValue2, SignModes) {
    EXPECT_EQ(Read("FFFF", 0, VS_UNSIGNED, 2, 0), 65535.0);
    EXPECT_EQ(Read("FFFF", 0, VS_SIGNED_IF_FRACTION, 2, 0), 65535.0);
    EXPECT_EQ(Read("FFFF", 0, VS_SIGNED, 2, 0), -1.0);
    EXPECT_EQ(Read("FFFF", 0, VS_SIGNED_IF_FRACTION, 2, 1), -1.0 / 256);
    EXPECT_EQ(Read("FFFF", 0, VS_UNSIGNED, 2, 1), 65535.0 / 256);
}

TEST(ReadComplexValue2, UnknownSignModesAreUnsigned) {
    for (const int mode : {3}) {
        EXPECT_EQ(Read("80", 0, static_cast<EValueSign>(mode), 1, 1), 0.5) << mode;
    }
}

TEST(ReadComplexValue2, FindsTheValue) {
    EXPECT_EQ(ReadComplexValue2(Bytes("AABB 0100 0200 FEFF").data(), 2, 2, VS_SIGNED, 2, 0), -2.0);
    EXPECT_EQ(Read("80FE", 0, VS_SIGNED, 2, 1), -1.5);
    EXPECT_EQ(Read("010203 040506", 1, VS_SIGNED, 3, 0), 0x060504);
}

TEST(ReadComplexValue2, SizeZeroReadsTheByteAtTheStartOnPurpose) {
    EXPECT_EQ(Read("FE01", 0, VS_SIGNED, 0, 0), -2.0);
    EXPECT_EQ(Read("FE01", 9, VS_SIGNED, 0, 0), -2.0);
    EXPECT_EQ(Read("FE01", 9, VS_UNSIGNED, 0, 0), 254.0);
}

TEST(ReadComplexValue2, EightBytesAreSignedWhateverTheModeOnPurpose) {
    EXPECT_EQ(Read("FFFFFFFFFFFFFFFF", 0, VS_UNSIGNED, 8, 0), -1.0);
    EXPECT_EQ(Read("0000000000000080", 0, VS_UNSIGNED, 8, 0), MostNegative);
}

TEST(ReadComplexValue2, BytesFromTheNinthOnDoNotCount) {
    EXPECT_EQ(Read("0100000000000000 FF", 0, VS_SIGNED, 9, 0), 1.0);
    EXPECT_EQ(Read("FEFFFFFFFFFFFFFF 01020304050607", 0, VS_SIGNED, 15, 0), -2.0);
    EXPECT_EQ(Read("0000000000000080 00", 0, VS_SIGNED, 9, 0), MostNegative);
}

TEST(ValueCodec, ReadsBackWhatItWrote) {
    std::mt19937_64 random(1);
    for (int i = 0; i < 100000; ++i) {
        const auto size = static_cast<unsigned int>(random() % 15 + 1);
        const auto frac = static_cast<unsigned int>(random() % 16);
        // A number that fits the size, and a double whatever the size.
        const unsigned int bits = std::min(8 * size, 53U);
        const auto number = static_cast<std::int64_t>(random()) >> (64 - bits);
        const double value = static_cast<double>(number) / std::ldexp(1, 8 * (frac % 4));
        unsigned char area[15];
        WriteComplexValue(area, size, frac, value, 0);
        ASSERT_EQ(ReadComplexValue2(area, 0, 0, VS_SIGNED, size, frac), value)
            << "size " << size << ", fraction " << frac;
    }
}
