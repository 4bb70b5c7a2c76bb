#include "tools/uxvisa/Report.h"

#include <gtest/gtest.h>

using uxvisa::tool::IsUtf8;

TEST(IsUtf8, KnowsTextFromOtherBytes) {
    EXPECT_TRUE(IsUtf8(""));
    EXPECT_TRUE(IsUtf8("abc\n\x01"));
    EXPECT_TRUE(IsUtf8("\xC2\xB5V"));
    EXPECT_FALSE(IsUtf8("\xB5V"));
    EXPECT_FALSE(IsUtf8("\xC2"));
    EXPECT_FALSE(IsUtf8("\xC0\x80"));
}
