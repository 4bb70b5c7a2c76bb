#include "tools/emulator/Number.h"

#include <gtest/gtest.h>

#include <limits>
#include <string_view>

using emulator::ErrorCode;
using emulator::FormatNumber;
using emulator::ParseNumber;

namespace {

double Parsed(std::string_view text) {
    double value = -999.0;
    EXPECT_EQ(ParseNumber(text, value), ErrorCode::NoError) << text;
    return value;
}

ErrorCode Failure(std::string_view text) {
    double value = 4.0;
    const ErrorCode code = ParseNumber(text, value);
    EXPECT_EQ(value, 4.0) << text;
    return code;
}

} // namespace

TEST(Number, ParsesEveryDecimalForm) {
    EXPECT_EQ(Parsed("0"), 0.0);
    EXPECT_EQ(Parsed("+5"), 5.0);
    EXPECT_EQ(Parsed("-5."), -5.0);
    EXPECT_EQ(Parsed(".25"), 0.25);
    EXPECT_EQ(Parsed("1.5E3"), 1500.0);
    EXPECT_EQ(Parsed("1.5e+3"), 1500.0);
    EXPECT_EQ(Parsed("-25E-2"), -0.25);
}

TEST(Number, RefusesWhatIsNoDecimalNumber) {
    for (const char* text : {"", "+", "-", ".", "+-5", "--5", "-+5", "1.2.3", "5x", "x5", "1E",
                             "inf", "nan", "-inf", "0x10", "5 ", "\"5\"", "1e5.0"}) {
        EXPECT_EQ(Failure(text), ErrorCode::DataTypeError) << text;
    }
}

TEST(Number, RefusesWhatNoDoubleHolds) {
    EXPECT_EQ(Failure("1E999"), ErrorCode::DataOutOfRange);
    EXPECT_EQ(Failure("-1E999"), ErrorCode::DataOutOfRange);
    EXPECT_EQ(Failure("1E99999999999999999999"), ErrorCode::DataOutOfRange);
}

TEST(Number, FormatsWithSignAndExponent) {
    EXPECT_EQ(FormatNumber(1.00012345), "+1.00012345E+00");
    EXPECT_EQ(FormatNumber(-0.25), "-2.50000000E-01");
    EXPECT_EQ(FormatNumber(0.0), "+0.00000000E+00");
    EXPECT_EQ(FormatNumber(1e100, 2), "+1.00E+100");
    EXPECT_EQ(FormatNumber(1e9 + 0.125, 14), "+1.00000000012500E+09");
}

TEST(Number, FormatsTheExtremes) {
    EXPECT_EQ(FormatNumber(std::numeric_limits<double>::max()), "+1.79769313E+308");
    EXPECT_EQ(FormatNumber(-std::numeric_limits<double>::denorm_min()), "-4.94065646E-324");
}
