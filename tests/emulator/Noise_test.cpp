#include "tools/emulator/Noise.h"

#include <gtest/gtest.h>

using emulator::Noise;

TEST(Noise, DependsOnSeedAndIndexOnly) {
    EXPECT_EQ(Noise(1, 7), Noise(1, 7));
    EXPECT_NE(Noise(1, 7), Noise(1, 8));
    EXPECT_NE(Noise(1, 7), Noise(2, 7));
}

TEST(Noise, StaysInItsRangeAndAveragesToZero) {
    double sum = 0.0;
    double least = 1.0;
    double most = -1.0;
    for (unsigned i = 0; i < 10000; ++i) {
        const double value = Noise(3, i);
        ASSERT_GE(value, -1.0);
        ASSERT_LT(value, 1.0);
        sum += value;
        least = value < least ? value : least;
        most = value > most ? value : most;
    }
    EXPECT_NEAR(sum / 10000, 0.0, 0.05);
    EXPECT_LT(least, -0.99);
    EXPECT_GT(most, 0.99);
}
