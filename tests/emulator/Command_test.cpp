#include "tools/emulator/Command.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

using emulator::Command;
using emulator::ErrorCode;
using emulator::MatchesHeader;
using emulator::MatchesMnemonic;
using emulator::ParseCommand;
using emulator::TakeUnit;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

std::vector<std::string> Units(std::string_view message) {
    std::vector<std::string> units;
    std::string_view unit;
    while (TakeUnit(message, unit)) {
        units.emplace_back(unit);
    }
    return units;
}

Command Parsed(std::string_view unit) {
    Command command;
    EXPECT_EQ(ParseCommand(unit, command), ErrorCode::NoError) << unit;
    return command;
}

ErrorCode Failure(std::string_view unit) {
    Command command;
    return ParseCommand(unit, command);
}

} // namespace

TEST(Command, MessageIsCutAtSemicolons) {
    EXPECT_THAT(Units("*IDN?"), ElementsAre("*IDN?"));
    EXPECT_THAT(Units("*RST;*CLS;*IDN?"), ElementsAre("*RST", "*CLS", "*IDN?"));
}

TEST(Command, BlankUnitsArePassedOver) {
    EXPECT_THAT(Units(""), IsEmpty());
    EXPECT_THAT(Units(" \t "), IsEmpty());
    EXPECT_THAT(Units(";; ;"), IsEmpty());
    EXPECT_THAT(Units(" *RST ; ;\t*CLS;"), ElementsAre("*RST", "*CLS"));
}

TEST(Command, NulBytesCountAsBlanks) {
    EXPECT_THAT(Units(std::string_view("\0*RST\0;\0", 8)), ElementsAre("*RST"));
}

TEST(Command, SemicolonsInQuotesDoNotCut) {
    EXPECT_THAT(Units("A \"x;y\";B 'z;\";';C"), ElementsAre("A \"x;y\"", "B 'z;\";'", "C"));
    EXPECT_THAT(Units("A \"x\"\";\";B"), ElementsAre("A \"x\"\";\"", "B"));
}

TEST(Command, OpenQuoteReachesToTheEnd) {
    EXPECT_THAT(Units("A;B \"x;C"), ElementsAre("A", "B \"x;C"));
}

TEST(Command, QuestionMarkMakesAQuery) {
    EXPECT_EQ(Parsed("*IDN?").header, "*IDN");
    EXPECT_TRUE(Parsed("*IDN?").query);
    EXPECT_EQ(Parsed(":SYST:ERR?").header, ":SYST:ERR");
    EXPECT_FALSE(Parsed("*RST").query);
}

TEST(Command, ParametersAreCutAtCommasAndTrimmed) {
    EXPECT_THAT(Parsed("*RST").parameters, IsEmpty());
    EXPECT_THAT(Parsed("TRAC:POIN 5").parameters, ElementsAre("5"));
    EXPECT_THAT(Parsed("CONF:VOLT  10 ,\t1E-3 ").parameters, ElementsAre("10", "1E-3"));
    EXPECT_THAT(Parsed("MEAS:VOLT? MAX,DEF").parameters, ElementsAre("MAX", "DEF"));
}

TEST(Command, CommasInQuotesDoNotCut) {
    EXPECT_THAT(Parsed("X \"a,b\",'c,''d'").parameters, ElementsAre("\"a,b\"", "'c,''d'"));
}

TEST(Command, ParsingStartsAfresh) {
    Command command;
    EXPECT_EQ(ParseCommand("X? 1,2", command), ErrorCode::NoError);
    EXPECT_EQ(ParseCommand("Y", command), ErrorCode::NoError);
    EXPECT_FALSE(command.query);
    EXPECT_THAT(command.parameters, IsEmpty());
}

TEST(Command, EmptyParameterIsASyntaxError) {
    EXPECT_EQ(Failure("X 1,,2"), ErrorCode::SyntaxError);
    EXPECT_EQ(Failure("X ,1"), ErrorCode::SyntaxError);
    EXPECT_EQ(Failure("X 1,"), ErrorCode::SyntaxError);
}

TEST(Command, OpenQuoteIsInvalidStringData) {
    EXPECT_EQ(Failure("X \"abc"), ErrorCode::InvalidStringData);
    EXPECT_EQ(Failure("X 1,'a\""), ErrorCode::InvalidStringData);
}

TEST(Command, HeaderTakesNoOtherCharacters) {
    EXPECT_EQ(Failure("#5"), ErrorCode::InvalidCharacter);
    EXPECT_EQ(Failure("*IDN\x80"), ErrorCode::InvalidCharacter);
    EXPECT_EQ(Failure("*ESE,5"), ErrorCode::InvalidCharacter);
    EXPECT_EQ(Failure("?"), ErrorCode::SyntaxError);
    EXPECT_EQ(Failure(""), ErrorCode::InvalidCharacter);
}

TEST(Command, QuestionMarkMustBeFollowedByABlank) {
    EXPECT_EQ(Failure("*IDN??"), ErrorCode::HeaderSeparatorError);
    EXPECT_EQ(Failure("MEAS:VOLT?10"), ErrorCode::HeaderSeparatorError);
}

TEST(Command, MnemonicHasAShortAndALongForm) {
    EXPECT_TRUE(MatchesMnemonic("MEASure", "MEAS"));
    EXPECT_TRUE(MatchesMnemonic("MEASure", "measure"));
    EXPECT_TRUE(MatchesMnemonic("MEASure", "MeAs"));
    EXPECT_TRUE(MatchesMnemonic("DC", "dc"));
    EXPECT_TRUE(MatchesMnemonic("*IDN", "*idn"));
}

TEST(Command, OtherFormsOfAMnemonicDoNotMatch) {
    EXPECT_FALSE(MatchesMnemonic("MEASure", "MEA"));
    EXPECT_FALSE(MatchesMnemonic("MEASure", "MEASU"));
    EXPECT_FALSE(MatchesMnemonic("MEASure", "MEASures"));
    EXPECT_FALSE(MatchesMnemonic("MEASure", "MEAX"));
    EXPECT_FALSE(MatchesMnemonic("MEASure", ""));
}

TEST(Command, HeaderMatchesNodeByNode) {
    EXPECT_TRUE(MatchesHeader("*IDN", "*idn"));
    EXPECT_TRUE(MatchesHeader("SYSTem:ERRor:COUNt", "syst:error:coun"));
    EXPECT_FALSE(MatchesHeader("SYSTem:ERRor:COUNt", "SYST:ERR"));
    EXPECT_FALSE(MatchesHeader("SYSTem:VERSion", "SYST:VERS:NEXT"));
    EXPECT_FALSE(MatchesHeader("SYSTem:VERSion", "VERS"));
    EXPECT_FALSE(MatchesHeader("SYSTem:VERSion", ""));
}

TEST(Command, NodesInBracketsMayBeLeftOut) {
    EXPECT_TRUE(MatchesHeader("SYSTem:ERRor[:NEXT]", "SYST:ERR"));
    EXPECT_TRUE(MatchesHeader("SYSTem:ERRor[:NEXT]", "SYST:ERR:NEXT"));
    EXPECT_FALSE(MatchesHeader("SYSTem:ERRor[:NEXT]", "SYST:ERR:COUN"));
    EXPECT_TRUE(MatchesHeader("[:SOURce]:FREQuency[:CW]", "FREQ"));
    EXPECT_TRUE(MatchesHeader("[:SOURce]:FREQuency[:CW]", "SOUR:FREQ:CW"));
}

TEST(Command, EmptyNodesDoNotMatch) {
    EXPECT_FALSE(MatchesHeader("SYSTem:ERRor[:NEXT]", "SYST:ERR:"));
    EXPECT_FALSE(MatchesHeader("SYSTem:ERRor[:NEXT]", "SYST::ERR"));
    EXPECT_FALSE(MatchesHeader("SYSTem:ERRor[:NEXT]", ":SYST:ERR"));
    EXPECT_FALSE(MatchesHeader("SYSTem:ERRor[:NEXT]", ":"));
}
