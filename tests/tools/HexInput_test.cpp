#include "tools/uxvisa/HexInput.h"

#include <gtest/gtest.h>

#include "tools/uxvisa/Failure.h"

using namespace uxvisa::tool;

namespace {

std::string Complaint(const std::string& text) {
    try {
        ParseHex(text);
        return "";
    } catch (const Failure& failure) {
        EXPECT_EQ(failure.Code(), ExitUsage);
        return failure.what();
    }
}

} // namespace

TEST(HexInput, TakesDigitsInAnyForm) {
    for (const auto* text : {"AA5503", "aa5503", "AA 55 03", "0xAA 0x55 0x03", "0XAA,0x55,03",
                             "0xAA55 03", "AA\n55\t03\r\n", "  AA5503  ", ",AA5503"}) {
        EXPECT_EQ(ParseHex(text), "\xAA\x55\x03") << text;
    }
}

TEST(HexInput, TakesEveryByte) {
    EXPECT_EQ(ParseHex("00FF7f80"), std::string("\0\xFF\x7F\x80", 4));
}

TEST(HexInput, RefusesWhatIsNoDigit) {
    EXPECT_EQ(Complaint("AA5G"), "\"G\" in \"AA5G\" is no hexadecimal digit");
    EXPECT_EQ(Complaint("AA -1"), "\"-\" in \"-1\" is no hexadecimal digit");
    EXPECT_EQ(Complaint("0x0xAA"), "\"x\" in \"0x0xAA\" is no hexadecimal digit");
    EXPECT_EQ(Complaint(std::string("\0", 1)), "\"\\x00\" in \"\\x00\" is no hexadecimal digit");
}

TEST(HexInput, RefusesHalfBytes) {
    for (const auto* text : {"AA5", "0xA", "0x", "AA 5 5"}) {
        EXPECT_NE(Complaint(text).find("has an odd number of digits, or none"), std::string::npos)
            << text;
    }
}

TEST(HexInput, RefusesNothing) {
    EXPECT_EQ(Complaint(""), "there are no bytes");
    EXPECT_EQ(Complaint(" \n"), "there are no bytes");
}

TEST(HexInput, ShortensLongWordsInMessages) {
    EXPECT_LT(Complaint(std::string(100000, 'A') + "G").size(), 200U);
}
