#include "tools/emulator/Interpreter.h"

#include "emulator/Ask.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

using emulator::Instrument;
using emulator::Interpreter;

TEST(Interpreter, AnswersOfACompoundMessageShareALine) {
    Instrument instrument;
    EXPECT_EQ(Ask(instrument, "*OPC?;*TST?;*ESR?"), "1;0;0\n");
}

TEST(Interpreter, CommandsAddNothingToTheLine) {
    Instrument instrument;
    EXPECT_EQ(Ask(instrument, "*CLS"), "");
    EXPECT_EQ(Ask(instrument, "*CLS;*OPC?;*RST;*TST?;*WAI"), "1;0\n");
}

TEST(Interpreter, BlankMessageAnswersNothing) {
    Instrument instrument;
    EXPECT_EQ(Ask(instrument, ""), "");
    EXPECT_EQ(Ask(instrument, " ;; "), "");
    EXPECT_EQ(Ask(instrument, "SYST:ERR?"), "0,\"No error\"\n");
}

TEST(Interpreter, FailedUnitLeavesTheOthersAlone) {
    Instrument instrument;
    EXPECT_EQ(Ask(instrument, "*OPC?;NONSENSE?;*TST?"), "1;0\n");
    EXPECT_EQ(Ask(instrument, "NONSENSE?;*OPC?"), "1\n");
    EXPECT_EQ(Ask(instrument, "NONSENSE?;NONSENSE?"), "");
    EXPECT_EQ(Ask(instrument, "SYST:ERR:COUN?"), "4\n");
}

TEST(Interpreter, ParseErrorsReachTheErrorQueue) {
    Instrument instrument;
    EXPECT_EQ(Ask(instrument, "\x80\xFF;*ESE \"x"), "");
    EXPECT_EQ(Ask(instrument, "SYST:ERR?"), "-101,\"Invalid character\"\n");
    EXPECT_EQ(Ask(instrument, "SYST:ERR?"), "-151,\"Invalid string data\"\n");
}

TEST(Interpreter, UnitContinuesThePathOfTheOneBefore) {
    Instrument instrument;
    EXPECT_EQ(Ask(instrument, "TRAC:POIN 7;POIN?"), "7\n");
    EXPECT_EQ(Ask(instrument, "SYST:VERS?;ERR:COUN?;NEXT?"), "1999.0;0;0,\"No error\"\n");
    EXPECT_EQ(Ask(instrument, "curve:length 3;length?"), "3\n");
}

TEST(Interpreter, NodeThatWasLeftOutIsNoPartOfThePath) {
    Instrument instrument;
    EXPECT_EQ(Ask(instrument, "SYST:ERR?;COUN?"), "0,\"No error\"\n");
    EXPECT_EQ(Ask(instrument, "SYST:ERR?"), "-113,\"Undefined header\"\n");
    EXPECT_EQ(Ask(instrument, "SYST:ERR:NEXT?;COUN?"), "0,\"No error\";0\n");
}

TEST(Interpreter, UnitMayStartAgainAtTheRoot) {
    Instrument instrument;
    EXPECT_EQ(Ask(instrument, "TRAC:POIN 7;CURV:LENG 5;:TRAC:POIN?;CURV:LENG?"), "7;5\n");
}

TEST(Interpreter, CommonCommandsKeepThePath) {
    Instrument instrument;
    EXPECT_EQ(Ask(instrument, "TRAC:POIN 7;*OPC?;POIN?"), "1;7\n");
}

TEST(Interpreter, UnknownHeaderKeepsThePath) {
    Instrument instrument;
    EXPECT_EQ(Ask(instrument, "TRAC:POIN 7;NONSENSE;POIN?"), "7\n");
}

TEST(Interpreter, LeadingColonDropsThePath) {
    Instrument instrument;
    EXPECT_EQ(Ask(instrument, "TRAC:POIN 7;:POIN?"), "");
    EXPECT_EQ(Ask(instrument, "SYST:ERR?"), "-113,\"Undefined header\"\n");
}

TEST(Interpreter, PathEndsWithTheMessage) {
    Instrument instrument;
    Interpreter interpreter(instrument);
    std::string out;
    interpreter.Start("TRAC:POIN 7");
    interpreter.Run(out, 100);
    interpreter.Start("POIN?");
    interpreter.Run(out, 100);
    EXPECT_EQ(out, "");
}

TEST(Interpreter, EveryPieceSizeGivesTheSameResponse) {
    Instrument instrument;
    const std::string message = "*IDN?;CURV:LENG 300;:CURV?;*OPC?;TRAC:POIN 70;DATA?;*TST?";
    const std::string whole = Ask(instrument, message);
    ASSERT_GT(whole.size(), 1300U);
    // Four between the answers and one among the bytes of the curve.
    ASSERT_EQ(std::count(whole.begin(), whole.end(), ';'), 5);
    for (std::size_t piece = 1; piece < 70; ++piece) {
        EXPECT_TRUE(Ask(instrument, message, piece) == whole) << piece;
    }
}

TEST(Interpreter, UnitsRunNoFasterThanAnswersAreTaken) {
    Instrument instrument;
    Interpreter interpreter(instrument);
    std::string out;
    interpreter.Start("CURV?;*ESE 4");
    interpreter.Run(out, 100);
    EXPECT_EQ(Ask(instrument, "*ESE?"), "0\n");
    interpreter.Run(out, 10000);
    EXPECT_EQ(Ask(instrument, "*ESE?"), "4\n");
    EXPECT_EQ(out.size(), 6U + 1000U + 1U);
}

TEST(Interpreter, StartDropsWhatIsLeft) {
    Instrument instrument;
    Interpreter interpreter(instrument);
    std::string out;
    interpreter.Start("CURV?;*OPC?");
    interpreter.Run(out, 4);
    EXPECT_EQ(out, "#410");
    out.clear();
    interpreter.Start("*TST?");
    interpreter.Run(out, 100);
    EXPECT_EQ(out, "0\n");
}

TEST(Interpreter, CurveKeepsTheLengthItStartedWith) {
    Instrument instrument;
    EXPECT_EQ(Ask(instrument, "CURV:LENG 2;:CURV?;CURV:LENG 1;:CURV?"),
              std::string("#12\0\1;#11\0\n", 11));
}
