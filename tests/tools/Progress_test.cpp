#include "tools/uxvisa/Progress.h"

#include <gtest/gtest.h>

using uxvisa::tool::ProgressLine;

TEST(ProgressLine, ShowsShareAmountAndRate) {
    EXPECT_EQ(ProgressLine(16 << 20, 64 << 20, 0.5),
              "[######                  ]  25%  16.0 MiB of 64.0 MiB  32.0 MiB/s");
}

TEST(ProgressLine, ShowsTheStart) {
    EXPECT_EQ(ProgressLine(0, 1 << 20, 0), "[                        ]   0%  0 B of 1.0 MiB  -");
}

TEST(ProgressLine, ShowsTheEnd) {
    EXPECT_EQ(ProgressLine(1 << 20, 1 << 20, 2),
              "[########################] 100%  1.0 MiB of 1.0 MiB  512.0 KiB/s");
}

TEST(ProgressLine, IsNotFullBeforeTheEnd) {
    const auto line = ProgressLine((1 << 20) - 1, 1 << 20, 1);
    EXPECT_EQ(line.substr(0, 31), "[####################### ]  99%");
}

TEST(ProgressLine, FitsInOneRowOfATerminal) {
    EXPECT_LT(ProgressLine(1047527424, 1047527424, 0.999).size(), 80U);
}
