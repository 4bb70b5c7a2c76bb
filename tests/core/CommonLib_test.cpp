#include "core/CommonLib.h"

#include <gmock/gmock.h>

#include <ctime>
#include <limits>
#include <set>

using testing::ElementsAre;

TEST(Split, KeepsEmptyPiecesAndTheLast) {
    EXPECT_THAT(stdex::split("", "::"), ElementsAre(""));
    EXPECT_THAT(stdex::split("a::", "::"), ElementsAre("a", ""));
    EXPECT_THAT(stdex::split("::b", "::"), ElementsAre("", "b"));
    EXPECT_THAT(stdex::split("a::b::c", "::"), ElementsAre("a", "b", "c"));
    EXPECT_THAT(stdex::split("a:::b", "::"), ElementsAre("a", ":b"));
}

TEST(Split, DelimiterIsASubstringAndNotASet) {
    EXPECT_THAT(stdex::split("a:b::c", "::"), ElementsAre("a:b", "c"));
}

TEST(Split, EmptyOrNullDelimiterLeavesOnePiece) {
    EXPECT_THAT(stdex::split("abc", ""), ElementsAre("abc"));
    EXPECT_THAT(stdex::split("abc", nullptr), ElementsAre("abc"));
    EXPECT_THAT(stdex::split(nullptr, "::"), ElementsAre(""));
}

TEST(ParseAddress, CutsResourceStringsIntoFields) {
    EXPECT_THAT(ParseAddress("TCPIP0::host::5025::SOCKET"),
                ElementsAre("TCPIP0", "host", "5025", "SOCKET"));
    EXPECT_EQ(ParseAddress("USB0::0x1::0x2::SN::0::INSTR").size(), 6U);
    std::vector<std::string> out{"old"};
    const std::vector<std::string> fields = ParseAddress("a::b", &out);
    EXPECT_EQ(out, fields);
}

TEST(Trim, KeepsTabsOnPurpose) {
    EXPECT_EQ(stdex::trim(" \r\nabc\t\n"), "abc\t");
    EXPECT_EQ(stdex::trim("\tabc "), "\tabc");
    EXPECT_EQ(stdex::trim(" \n\r "), "");
    EXPECT_EQ(stdex::trim("a b"), "a b");
    EXPECT_EQ(stdex::trim(nullptr), "");
}

TEST(ToUpper, LeavesBytesOutsideAsciiAlone) {
    EXPECT_EQ(stdex::toupper("tcpip0::Host_1"), "TCPIP0::HOST_1");
    EXPECT_EQ(stdex::toupper("\xE4\xFF"), "\xE4\xFF");
    EXPECT_EQ(stdex::toupper(nullptr), "");
}

TEST(Itos, Base16OnlyPadsToAnEvenLengthOnPurpose) {
    EXPECT_EQ(stdex::itos(5, 16), "05");
    EXPECT_EQ(stdex::itos(255, 16), "0255");
    EXPECT_EQ(stdex::itos(10, 16), "10");
    EXPECT_EQ(stdex::itos(-5, 16), "-5");
    EXPECT_EQ(stdex::itos(-12, 16), "0-12");
    EXPECT_EQ(stdex::itos(1234, 16), "1234");
    EXPECT_EQ(stdex::itos(123, 10), "123");
    EXPECT_EQ(stdex::itos(std::numeric_limits<int>::min(), 10), "-2147483648");
}

TEST(Format, TakesFourTextsOrFourNumbers) {
    EXPECT_EQ(stdex::format("%s-%s-%s-%s", "a", "b", "c", "d"), "a-b-c-d");
    EXPECT_EQ(stdex::format("%g %g %g %g", 1.0, 2.5, 3.0, 4.0), "1 2.5 3 4");
}

TEST(Format, NeverOverflows) {
    const std::string text(5000, 'x');
    const std::string twice = stdex::format("%s%s%s%s", text.c_str(), text.c_str(), "", "");
    EXPECT_EQ(twice, text + text);
    const std::string exact(999, 'y');
    EXPECT_EQ(stdex::format("%s%s%s%s", exact.c_str(), "", "", ""), exact);
    EXPECT_EQ(stdex::format("%s%s%s%s", exact.c_str(), "z", "", ""), exact + "z");
}

TEST(GetParameter, PicksFieldsBySingleCharacter) {
    EXPECT_EQ(get_parameter("a,b,,d", 0, ','), "a");
    EXPECT_EQ(get_parameter("a,b,,d", 2, ','), "");
    EXPECT_EQ(get_parameter("a,b,,d", 3, ','), "d");
    EXPECT_EQ(get_parameter("a,b", 5, ','), "");
    EXPECT_EQ(get_parameter("", 0, ','), "");
    EXPECT_EQ(get_parameter(nullptr, 1, ','), "");
    EXPECT_EQ(get_parameter("a,b", -3, ','), "a");
    EXPECT_EQ(get_parameter("r\nm\n\n\nx", 4, '\n'), "x");
}

TEST(GetParameterCount, IsNeverZeroOnPurpose) {
    EXPECT_EQ(get_parameter_count("a,b,,d", ','), 4);
    EXPECT_EQ(get_parameter_count("", ','), 1);
    EXPECT_EQ(get_parameter_count(nullptr, ','), 1);
    EXPECT_EQ(get_parameter_count(",", ','), 2);
}

TEST(GetTickCount, FollowsTheWallClockOnPurpose) {
    const unsigned long before = static_cast<unsigned long>(std::time(nullptr)) * 1000;
    const unsigned long now = GetTickCount();
    EXPECT_GE(now + 1000, before);
    EXPECT_LT(now, before + 60000);
}

TEST(RandomUint32, StaysWithinOneAndMax) {
    EXPECT_EQ(random_uint32(1), 1U);
    EXPECT_EQ(random_uint32(0), 0U);
    std::set<unsigned int> seen;
    for (int i = 0; i < 200; ++i) {
        const unsigned int drawn = random_uint32(3);
        EXPECT_GE(drawn, 1U);
        EXPECT_LE(drawn, 3U);
        seen.insert(drawn);
    }
    EXPECT_EQ(seen.size(), 3U);
}

TEST(RandomUint32, DrawsAreIndependent) {
    std::set<unsigned int> seen;
    for (int i = 0; i < 100; ++i) {
        seen.insert(random_uint32(0xFFFFFFFFU));
    }
    EXPECT_GT(seen.size(), 98U);
}

TEST(Ws2s, ConvertsNothingOnPurpose) {
    EXPECT_EQ(ws2s(L"text"), "");
}
