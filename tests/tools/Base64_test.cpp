#include "tools/uxvisa/Base64.h"

#include <gtest/gtest.h>

#include <string>

using uxvisa::tool::Base64;

TEST(Base64, EncodesEveryLengthOfTheLastGroup) {
    EXPECT_EQ(Base64(""), "");
    EXPECT_EQ(Base64("f"), "Zg==");
    EXPECT_EQ(Base64("fo"), "Zm8=");
    EXPECT_EQ(Base64("foo"), "Zm9v");
    EXPECT_EQ(Base64("foob"), "Zm9vYg==");
    EXPECT_EQ(Base64("fooba"), "Zm9vYmE=");
    EXPECT_EQ(Base64("foobar"), "Zm9vYmFy");
}

TEST(Base64, EncodesBytesWithTheHighBit) {
    EXPECT_EQ(Base64("\xFF\xFE\xFD"), "//79");
    EXPECT_EQ(Base64("\xFB\xEF\xBE"), "++++");
}

TEST(Base64, EncodesZeroBytes) {
    EXPECT_EQ(Base64(std::string(4, '\0')), "AAAAAA==");
}
