#include "tools/uxvisa/Quantity.h"

#include <gtest/gtest.h>

using namespace uxvisa::tool;

TEST(ByteAmount, PicksTheUnit) {
    EXPECT_EQ(ByteAmount(0), "0 B");
    EXPECT_EQ(ByteAmount(1023), "1023 B");
    EXPECT_EQ(ByteAmount(1024), "1.0 KiB");
    EXPECT_EQ(ByteAmount(1536), "1.5 KiB");
    EXPECT_EQ(ByteAmount(64.0 * 1024 * 1024), "64.0 MiB");
    EXPECT_EQ(ByteAmount(5.0 * 1024 * 1024 * 1024), "5.0 GiB");
}

TEST(ByteAmount, NeverRoundsUpToTheNextUnit) {
    EXPECT_EQ(ByteAmount(1024 * 1024 - 1), "1.0 MiB");
    EXPECT_EQ(ByteAmount(1023.9 * 1024), "1023.9 KiB");
}

TEST(ByteAmount, HasNoUnitAboveTheLast) {
    EXPECT_EQ(ByteAmount(2048.0 * 1024 * 1024 * 1024), "2048.0 GiB");
}

TEST(ByteRate, IsPerSecond) {
    EXPECT_EQ(ByteRate(2048, 2), "1.0 KiB/s");
    EXPECT_EQ(ByteRate(10, 0), "-");
}

TEST(Duration, IsInMillisecondsUpToTenSeconds) {
    EXPECT_EQ(Duration(0.0123456), "12.346 ms");
    EXPECT_EQ(Duration(9.5), "9500.000 ms");
    EXPECT_EQ(Duration(12.5), "12.500 s");
}
