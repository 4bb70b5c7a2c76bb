#include <gmock/gmock.h>

#include <clocale>
#include <cmath>
#include <cwchar>
#include <limits>

#include "tests/support/MockSession.h"
#include "uxvisa/visatype.h"

using testing::ElementsAre;
using uxvisa::test::MockSession;

namespace {

template <typename... Argument>
std::string Printed(const char* format, Argument... arguments) {
    MockSession session;
    EXPECT_EQ(session.PrintfWith(format, arguments...), VI_SUCCESS) << format;
    return session.Sent();
}

template <typename... Argument>
long Refused(const char* format, Argument... arguments) {
    MockSession session;
    const long status = session.PrintfWith(format, arguments...);
    EXPECT_THAT(session.writes, ElementsAre()) << format;
    return status;
}

constexpr double Nan = std::numeric_limits<double>::quiet_NaN();

} // namespace

TEST(FormattedOutput, EmptyFormatIsOneEmptyWrite) {
    MockSession session;
    session.writeStatuses = {VI_ERROR_IO};
    EXPECT_EQ(session.PrintfWith(""), VI_ERROR_IO);
    EXPECT_THAT(session.writes, ElementsAre(""));
}

TEST(FormattedOutput, NullFormatWritesNothing) {
    MockSession session;
    EXPECT_EQ(session.PrintfWith(nullptr), VI_ERROR_INV_FMT);
    EXPECT_THAT(session.writes, ElementsAre());
}

TEST(FormattedOutput, ReturnsTheStatusOfTheWriteWhateverItIs) {
    MockSession session;
    session.writeStatuses = {VI_SUCCESS_DEV_NPRESENT, VI_ERROR_CONN_LOST};
    EXPECT_EQ(session.PrintfWith("a"), VI_SUCCESS_DEV_NPRESENT);
    EXPECT_EQ(session.PrintfWith("a"), VI_ERROR_CONN_LOST);
}

TEST(FormattedOutput, AddsNothingOfItsOwn) {
    EXPECT_EQ(Printed("*IDN?"), "*IDN?");
    EXPECT_EQ(Printed("100%%"), "100%");
    EXPECT_EQ(Printed("%%%d%%\n", 5), "%5%\n");
}

TEST(FormattedOutput, PlainConversions) {
    EXPECT_EQ(Printed("FREQ %d;LEV %lf;NAME '%s'%c", 42, 1.5, "abc", '!'),
              "FREQ 42;LEV 1.500000;NAME 'abc'!");
    EXPECT_EQ(Printed("%+d|% d|%-5d|%05d|%8.3lf|%.2le", 7, 7, 7, 7, 3.14159, 12345.678),
              "+7| 7|7    |00007|   3.142|1.23e+04");
    EXPECT_EQ(Printed("%5s|%-5s|%.2s", "ab", "ab", "abcd"), "   ab|ab   |ab");
    EXPECT_EQ(Printed("%Lf %llf", 2.5, 3.5), "2.500000 3.500000");
    EXPECT_EQ(Printed("%hd %hhd", 65537, 257), "1 1");
}

TEST(FormattedOutput, StarsTakeNumbersFromTheArguments) {
    const int values[] = {1, 2};
    EXPECT_EQ(Printed("%*d|%-*d|%.*lf", 5, 42, 5, 42, 2, 3.14159), "   42|42   |3.14");
    EXPECT_EQ(Printed("%,*d", 2, values), "12");
    EXPECT_EQ(Printed("%*d|", -5, 42), "42   |");
}

TEST(FormattedOutput, StarIsReplacedBeforeTheGrammarIsLookedAtOnPurpose) {
    EXPECT_EQ(Printed("%@*lf", 1, 3.7), "3");
    EXPECT_EQ(Refused("%.*lf", 0, 1.0), VI_ERROR_INV_FMT);
    EXPECT_EQ(Refused("%.*lf", -1, 1.0), VI_ERROR_INV_FMT);
    EXPECT_EQ(Refused("%,*d", 0, nullptr), VI_ERROR_INV_FMT);
    EXPECT_EQ(Refused("%,*d", -2, nullptr), VI_ERROR_INV_FMT);
}

TEST(FormattedOutput, BadFormats) {
    EXPECT_EQ(Refused("%x", 1), VI_ERROR_INV_FMT);
    EXPECT_EQ(Refused("%5"), VI_ERROR_NSUP_FMT);
    EXPECT_EQ(Refused("%5\n"), VI_ERROR_INV_FMT);
    EXPECT_EQ(Refused("%"), VI_ERROR_NSUP_FMT);
    EXPECT_EQ(Refused("%T"), VI_ERROR_NSUP_FMT);
    EXPECT_EQ(Refused("%[ab]"), VI_ERROR_INV_FMT);
    EXPECT_EQ(Refused("%]"), VI_ERROR_NSUP_FMT);
    EXPECT_EQ(Refused("%5%"), VI_ERROR_NSUP_FMT);
    EXPECT_EQ(Refused("%.0d", 1), VI_ERROR_INV_FMT);
    EXPECT_EQ(Refused("%.d", 1), VI_ERROR_INV_FMT);
    EXPECT_EQ(Refused("%,0d", nullptr), VI_ERROR_INV_FMT);
    EXPECT_EQ(Refused("%,d", nullptr), VI_ERROR_INV_FMT);
    EXPECT_EQ(Refused("%@Xd", 1), VI_ERROR_INV_FMT);
    EXPECT_EQ(Refused("%5@2d", 1), VI_ERROR_INV_FMT);
    EXPECT_EQ(Refused("%#d", 1), VI_ERROR_INV_FMT);
}

TEST(FormattedOutput, AnErrorDropsWhatWasRendered) {
    EXPECT_EQ(Refused("abc %d %x", 1, 2), VI_ERROR_INV_FMT);
}

TEST(FormattedOutput, NumberFormsOfInts) {
    EXPECT_EQ(Printed("%@2d", 5), "5.000000");
    EXPECT_EQ(Printed("%@3d", 5), "5.000000e+00");
    EXPECT_EQ(Printed("%@Hd", 255), "FF");
    EXPECT_EQ(Printed("%@2@Hd", 1), "0X1P+0");
    EXPECT_EQ(Printed("%@2@3d", 5), "5.000000");
    EXPECT_EQ(Printed("%@3@Hd", 5), "5.000000e+00");
}

TEST(FormattedOutput, ModifierOneDoesNothingToIntsOnPurpose) {
    EXPECT_EQ(Printed("%@1d", 5), "5");
}

TEST(FormattedOutput, ModifierTwoDoesNothingToDoublesOnPurpose) {
    EXPECT_EQ(Printed("%@2le", 5.0), "5.000000e+00");
    EXPECT_EQ(Printed("%@2lf", 5.0), "5.000000");
}

TEST(FormattedOutput, OctalAndBinaryStayDecimalOnPurpose) {
    EXPECT_EQ(Printed("%@Qd", 8), "8");
    EXPECT_EQ(Printed("%@Bd", 8), "8");
    EXPECT_EQ(Printed("%@H@Qd", 255), "255");
}

TEST(FormattedOutput, NumberFormsOfDoubles) {
    EXPECT_EQ(Printed("%@1lf", -3.7), "-3");
    EXPECT_EQ(Printed("%@3lf", 5.0), "5.000000e+00");
    EXPECT_EQ(Printed("%@1@Hlf", 255.7), "#HFF");
    EXPECT_EQ(Printed("%@Hlf", 1.0), "#H0X1P+0");
    EXPECT_EQ(Printed("%@Hle", 5.0), "#H5.000000e+00");
    EXPECT_EQ(Printed("%@1lf", 5000000000.0), "5000000000");
}

TEST(FormattedOutput, HexadecimalMarkStandsBeforeThePaddingOncePerElementOnPurpose) {
    const double values[] = {10.0, 11.0};
    EXPECT_EQ(Printed("%@1@H5lf", 255.0), "#H   FF");
    EXPECT_EQ(Printed("%@1@H,2f", values), "#HA#HB");
    EXPECT_EQ(Printed("%@1@H3,2lf", values), "#H  A#H  B");
}

TEST(FormattedOutput, WidthAndPrecisionSurviveAChangeOfLetterOnPurpose) {
    EXPECT_EQ(Printed("%@1.2lf", 3.7), "03");
    EXPECT_EQ(Printed("%@2.2d", 3), "3.00");
}

TEST(FormattedOutput, LongIntsAreZeroExtendedOnPurpose) {
    const int values[] = {-5, 7};
    EXPECT_EQ(Printed("%ld", -5), "4294967291");
    EXPECT_EQ(Printed("%,2ld", values), "42949672917");
    EXPECT_EQ(Printed("%d", -5), "-5");
    EXPECT_EQ(Printed("%@Hld", -1), "FFFFFFFF");
}

TEST(FormattedOutput, LongArraysOfDoublesAsIntegersAreZeroExtended) {
    const double values[] = {-5.9, 7.9};
    EXPECT_EQ(Printed("%@1,2lf", values), "42949672917");
    EXPECT_EQ(Printed("%@1,2f", values), "-57");
}

TEST(FormattedOutput, DoublesOutOfRangeGiveTheMostNegativeInteger) {
    const double values[] = {1e10, Nan, -1e10, 2147483647.5};
    EXPECT_EQ(Printed("%@1lf", 1e300), "-9223372036854775808");
    EXPECT_EQ(Printed("%@1lf", Nan), "-9223372036854775808");
    EXPECT_EQ(Printed("% @1,4f", values), "-2147483648-2147483648-2147483648 2147483647");
}

TEST(FormattedOutput, ArraysHaveNoSeparator) {
    const int ints[] = {1, 2, 3};
    const double doubles[] = {0.5, 1.5};
    EXPECT_EQ(Printed("%,3d", ints), "123");
    EXPECT_EQ(Printed("% ,3d", ints), " 1 2 3");
    EXPECT_EQ(Printed("%.1,2f|%.1,2lf|%.1,2e", doubles, doubles, doubles),
              "0.51.5|0.51.5|5.0e-011.5e+00");
    EXPECT_EQ(Printed("%@2.1,3d", ints), "1.02.03.0");
}

TEST(FormattedOutput, ArrayCountOfTextIsIgnored) {
    EXPECT_EQ(Printed("%,3s|%,2c", "ab", 'x'), "ab|x");
}

TEST(FormattedOutput, UnalignedArraysAreRead) {
    alignas(double) char bytes[1 + 2 * sizeof(double)];
    const double values[] = {1.5, 2.5};
    std::memcpy(bytes + 1, values, sizeof values);
    EXPECT_EQ(Printed("%.1,2f", bytes + 1), "1.52.5");
}

TEST(FormattedOutput, NulCharacterIsSent) {
    EXPECT_EQ(Printed("a%cb", 0), std::string("a\0b", 3));
}

TEST(FormattedOutput, AFormatterFailureIsAnInvalidFormat) {
    const wchar_t wide[] = {static_cast<wchar_t>(0x110000), 0};
    EXPECT_EQ(Refused("%ls", wide), VI_ERROR_INV_FMT);
    EXPECT_EQ(Printed("%ls", L"ok"), "ok");
    EXPECT_EQ(Refused("%.99999999999d", 1), VI_ERROR_INV_FMT);
}

TEST(FormattedOutput, ArgumentsFollowEachOtherAcrossRegistersAndStack) {
    EXPECT_EQ(Printed("%d%d%d%d%d%d%d%d%lf%lf%lf%lf%lf%lf%lf%lf%lf%lf", 1, 2, 3, 4, 5, 6, 7, 8, 1.0,
                      2.0, 3.0, 4.0, 5.0, 6.0, 7.0, 8.0, 9.0, 10.0)
                  .substr(0, 16),
              "123456781.000000");
}

TEST(FormattedOutputDeath, DoubleWithoutLongAbortsOnPurpose) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(Printed("%f", 1.0), testing::KilledBySignal(SIGABRT), "");
    EXPECT_EXIT(Printed("%hf", 1.0), testing::KilledBySignal(SIGABRT), "");
    EXPECT_EXIT(Printed("%@1f", 1.0), testing::KilledBySignal(SIGABRT), "");
    EXPECT_EXIT(Printed("%e", 1.0), testing::KilledBySignal(SIGABRT), "");
    EXPECT_EQ(Refused("%.0f", 1.0), VI_ERROR_INV_FMT);
}

TEST(FormattedOutput, SixtyFourThousandAndOneBytesGoInTwoWritesOnPurpose) {
    MockSession session;
    const std::string text(64001, 'x');
    session.writeStatuses = {VI_ERROR_IO, VI_SUCCESS};
    EXPECT_EQ(session.PrintfWith("%s", text.c_str()), VI_SUCCESS);
    EXPECT_THAT(session.writes, ElementsAre(text, ""));
}

TEST(FormattedOutput, SixtyFourThousandBytesGoInOne) {
    MockSession session;
    const std::string text(64000, 'x');
    session.writeStatuses = {VI_ERROR_IO};
    EXPECT_EQ(session.PrintfWith("%s", text.c_str()), VI_ERROR_IO);
    EXPECT_THAT(session.writes, ElementsAre(text));
}

TEST(FormattedOutput, RenderingsBeyondTheBufferAreSplitInOrder) {
    MockSession session;
    std::string text;
    for (int i = 0; i < 40000; ++i) {
        text += std::to_string(i);
    }
    EXPECT_EQ(session.PrintfWith("%s%s", std::string(60000, 'a').c_str(), text.c_str()),
              VI_SUCCESS);
    EXPECT_EQ(session.Sent(), std::string(60000, 'a') + text);
    for (const std::string& write : session.writes) {
        EXPECT_LE(write.size(), 65000U);
    }
}

TEST(FormattedOutput, LongLiteralsAndArraysAreSplitInOrder) {
    MockSession session;
    const std::string literal(200000, 'q');
    const std::vector<int> numbers(40000, 12345);
    std::string rendered;
    for (const int number : numbers) {
        rendered += std::to_string(number);
    }
    EXPECT_EQ(session.PrintfWith((literal + "%,40000d").c_str(), numbers.data()), VI_SUCCESS);
    EXPECT_EQ(session.Sent(), literal + rendered);
    for (const std::string& write : session.writes) {
        EXPECT_LE(write.size(), 65000U);
    }
}

TEST(FormattedOutput, WhatAnIntermediateWriteSentStaysSent) {
    MockSession session;
    const std::string text(64500, 'x');
    EXPECT_EQ(session.PrintfWith("%sabc%x", text.c_str()), VI_ERROR_INV_FMT);
    EXPECT_THAT(session.writes, ElementsAre(text));
}
