#include "core/FormatPieces.h"

#include <gmock/gmock.h>

#include <vector>

#include "uxvisa/visatype.h"

using uxvisa::FormatCutter;
using uxvisa::FormatPiece;

namespace {

std::vector<std::string> Cut(const char* format) {
    FormatCutter cutter(format);
    std::vector<std::string> pieces;
    for (FormatPiece piece; cutter.Next(piece);) {
        pieces.emplace_back(piece.text);
    }
    return pieces;
}

long OutputStatus(std::string_view piece) {
    uxvisa::OutputConversion conversion;
    return uxvisa::AnalyseOutput(piece, conversion);
}

long InputStatus(std::string_view piece) {
    uxvisa::InputConversion conversion;
    return uxvisa::AnalyseInput(piece, conversion);
}

} // namespace

TEST(FormatCutter, CutsLiteralsAndConversions) {
    using testing::ElementsAre;
    EXPECT_THAT(Cut(""), ElementsAre());
    EXPECT_THAT(Cut("FREQ %d;%%x"), ElementsAre("FREQ ", "%d", ";", "%%", "x"));
    EXPECT_THAT(Cut("%5.3lf%s"), ElementsAre("%5.3lf", "%s"));
    EXPECT_THAT(Cut("%[0-9]a"), ElementsAre("%[0-9]", "a"));
}

TEST(FormatCutter, UnservedLettersRunOnToTheNextTerminator) {
    EXPECT_THAT(Cut("%x and d"), testing::ElementsAre("%x and", " d"));
    EXPECT_THAT(Cut("%[abc]"), testing::ElementsAre("%[abc", "]"));
    EXPECT_THAT(Cut("%[A-T]"), testing::ElementsAre("%[A-T", "]"));
}

TEST(FormatCutter, UnterminatedConversionTakesTheNul) {
    EXPECT_THAT(Cut("a%5"), testing::ElementsAre("a", std::string("%5\0", 3)));
    EXPECT_THAT(Cut("%"), testing::ElementsAre(std::string("%\0", 2)));
}

TEST(WithNumbers, ReplacesEveryMarkLeftToRight) {
    int next = 0;
    EXPECT_EQ(uxvisa::WithNumbers("%*.*,*d", '*', [&] { return ++next * -5; }), "%-5.-10,-15d");
}

TEST(AnalyseOutput, AcceptsTheGrammarInItsOrderOnly) {
    EXPECT_EQ(OutputStatus("%+- @1@H10.3,5lLhf"), VI_SUCCESS);
    EXPECT_EQ(OutputStatus("%5@2d"), VI_ERROR_INV_FMT);
    EXPECT_EQ(OutputStatus("%.3-d"), VI_ERROR_INV_FMT);
    EXPECT_EQ(OutputStatus("%#d"), VI_ERROR_INV_FMT);
    EXPECT_EQ(OutputStatus("%l5d"), VI_ERROR_INV_FMT);
    EXPECT_EQ(OutputStatus("%@Xd"), VI_ERROR_INV_FMT);
    EXPECT_EQ(OutputStatus("%@d"), VI_ERROR_INV_FMT);
}

TEST(AnalyseOutput, ZeroPrecisionAndZeroCountFail) {
    EXPECT_EQ(OutputStatus("%.d"), VI_ERROR_INV_FMT);
    EXPECT_EQ(OutputStatus("%.00d"), VI_ERROR_INV_FMT);
    EXPECT_EQ(OutputStatus("%,d"), VI_ERROR_INV_FMT);
    EXPECT_EQ(OutputStatus("%,0d"), VI_ERROR_INV_FMT);
    EXPECT_EQ(OutputStatus("%.99999999999999999999d"), VI_SUCCESS);
}

TEST(AnalyseOutput, LeavesTheConversionCharacterToTheEngine) {
    EXPECT_EQ(OutputStatus("%T"), VI_SUCCESS);
    EXPECT_EQ(OutputStatus(std::string_view("%5\0", 3)), VI_SUCCESS);
    EXPECT_EQ(OutputStatus(std::string_view("%5\n\0", 4)), VI_ERROR_INV_FMT);
}

TEST(AnalyseOutput, LaterRadixModifiersOverwrite) {
    uxvisa::OutputConversion conversion;
    ASSERT_EQ(uxvisa::AnalyseOutput("%@H@Bd", conversion), VI_SUCCESS);
    EXPECT_EQ(conversion.radix, 2);
}

TEST(AnalyseInput, RemovesTheArrayCountAndAsksForTheConsumedCount) {
    uxvisa::InputConversion conversion;
    ASSERT_EQ(uxvisa::AnalyseInput("%*12,30lf", conversion), VI_SUCCESS);
    EXPECT_EQ(conversion.scan, "%*12lf%n");
    EXPECT_TRUE(conversion.suppressed);
    EXPECT_EQ(conversion.width, 12U);
    EXPECT_EQ(conversion.count, 30U);
    EXPECT_EQ(conversion.letters, "l");
}

TEST(AnalyseInput, AcceptsTheGrammarInItsOrderOnly) {
    EXPECT_EQ(InputStatus("%[0-9]"), VI_SUCCESS);
    EXPECT_EQ(InputStatus("%l[0-9]"), VI_SUCCESS);
    EXPECT_EQ(InputStatus("%.2f"), VI_ERROR_INV_FMT);
    EXPECT_EQ(InputStatus("%5*d"), VI_ERROR_INV_FMT);
    EXPECT_EQ(InputStatus("%-5d"), VI_ERROR_INV_FMT);
    EXPECT_EQ(InputStatus("%,0d"), VI_ERROR_INV_FMT);
}
