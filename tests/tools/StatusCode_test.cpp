#include "tools/uxvisa/StatusCode.h"

#include <gtest/gtest.h>

using namespace uxvisa::tool;

TEST(StatusNumber, IsTakenInEveryFormThatProgramsPrint) {
    for (const auto* text :
         {"0xBFFF0015", "0xbfff0015", "0XBFFF0015", "0xFFFFFFFFBFFF0015", "0x00000000BFFF0015",
          "3221159957", "-1073807339", "18446744072635744277"}) {
        EXPECT_EQ(ParseStatusNumber(text), VI_ERROR_TMO) << text;
    }
}

TEST(StatusNumber, IsTakenForCompletionCodes) {
    EXPECT_EQ(ParseStatusNumber("0"), VI_SUCCESS);
    EXPECT_EQ(ParseStatusNumber("0x3FFF0005"), VI_SUCCESS_TERM_CHAR);
    EXPECT_EQ(ParseStatusNumber("1073676293"), VI_SUCCESS_TERM_CHAR);
}

TEST(StatusNumber, IsNotCutToThirtyTwoBits) {
    EXPECT_NE(ParseStatusNumber("0x1BFFF0015"), VI_ERROR_TMO);
    EXPECT_EQ(ParseStatusNumber("0x1BFFF0015"), 0x1BFFF0015);
}

TEST(StatusNumber, IsRefusedWhenMalformed) {
    for (const auto* text :
         {"", "-", "0x", "BFFF0015", "0xBFFF0015L", " 1", "1 ", "1.5", "--1", "+1", "0x-1", "-0x1",
          "0x1FFFFFFFFFFFFFFFF", "18446744073709551616", "-9223372036854775809", "VI_ERROR_TMO"}) {
        EXPECT_EQ(ParseStatusNumber(text), std::nullopt) << text;
    }
}

TEST(StatusName, IsToldFromANumber) {
    EXPECT_TRUE(LooksLikeStatusName("VI_ERROR_TMO"));
    EXPECT_TRUE(LooksLikeStatusName("vi_error_tmo"));
    EXPECT_TRUE(LooksLikeStatusName("VI_NO_SUCH_STATUS"));
    EXPECT_FALSE(LooksLikeStatusName("0xBFFF0015"));
    EXPECT_FALSE(LooksLikeStatusName("VI_"));
    EXPECT_FALSE(LooksLikeStatusName("VI_ERROR TMO"));
    EXPECT_FALSE(LooksLikeStatusName("ERROR_TMO"));
}
