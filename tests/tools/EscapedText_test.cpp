#include "tools/uxvisa/EscapedText.h"

#include <gtest/gtest.h>

#include <string>

using uxvisa::tool::EscapedText;
using uxvisa::tool::HexEscape;

TEST(EscapedText, LeavesPrintableTextAlone) {
    EXPECT_EQ(EscapedText("+1.5E-3, ~x"), "\"+1.5E-3, ~x\"");
}

TEST(EscapedText, ShowsLineEndsAndTabs) {
    EXPECT_EQ(EscapedText("a\r\n\tb"), "\"a\\r\\n\\tb\"");
}

TEST(EscapedText, ShowsQuotesAndBackslashesUnambiguously) {
    EXPECT_EQ(EscapedText("\"\\n"), "\"\\\"\\\\n\"");
}

TEST(EscapedText, ShowsOtherBytesInHexadecimal) {
    EXPECT_EQ(EscapedText(std::string("\0\x1B\x7F\xFF", 4)), "\"\\x00\\x1B\\x7F\\xFF\"");
}

TEST(EscapedText, WritesAnyByteInHexadecimal) {
    EXPECT_EQ(HexEscape(' '), "\\x20");
    EXPECT_EQ(HexEscape('\xAF'), "\\xAF");
}
