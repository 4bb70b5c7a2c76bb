#include "transports/SearchExpression.h"

#include <string>

#include <gtest/gtest.h>

using uxvisa::MatchesExpression;
using uxvisa::SameInstrument;

namespace {

const std::string Record =
    "TCPIP0::scope.lab::5025::SOCKET\nOrvane\nKx10 Pro\nSN-7\nLab scope\n10.0.0.5";

} // namespace

TEST(MatchesExpression, EmptyMatchesEverything) {
    EXPECT_TRUE(MatchesExpression("", Record));
    EXPECT_TRUE(MatchesExpression("", ""));
}

TEST(MatchesExpression, APieceOfTheWholeUpperCasedRecord) {
    for (const char* expression : {"TCPIP", "SCOPE.LAB", "5025", "ORVANE", "KX10", "KX10 PRO",
                                   "SN-7", "LAB SCOPE", "10.0.0.5", "SOCKET\nORVANE"}) {
        EXPECT_TRUE(MatchesExpression(expression, Record)) << expression;
    }
    EXPECT_FALSE(MatchesExpression("KX20", Record));
}

TEST(MatchesExpression, IsNotUpperCasedItselfOnPurpose) {
    EXPECT_FALSE(MatchesExpression("kx10", Record));
    EXPECT_FALSE(MatchesExpression("Kx10", Record));
    EXPECT_FALSE(MatchesExpression("tcpip?*", Record));
}

TEST(MatchesExpression, PiecesOfTheResourceString) {
    for (const char* expression :
         {"TCPIP?*", "TCPIP0::?*", "?*::SOCKET", "?*SOCKET", "?*", "TCPIP?*SOCKET",
          "TCPIP?*5025?*SOCKET", "?*LAB?*", "?*?*", "TCPIP0::SCOPE.LAB::5025::SOCKET?*"}) {
        EXPECT_TRUE(MatchesExpression(expression, Record)) << expression;
    }
}

TEST(MatchesExpression, PiecesAreAnchoredAndInOrder) {
    for (const char* expression :
         {"?*INSTR", "USB?*", "?*TCPIP", "CPIP?*", "?*SOCKE", "TCPIP?*INSTR", "?*5025?*LAB?*",
          "TCPIP?*SOCKET?*SOCKET", "?*::SOCKET?*ORVANE", "ORVANE?*"}) {
        EXPECT_FALSE(MatchesExpression(expression, Record)) << expression;
    }
}

TEST(MatchesExpression, PiecesDoNotShareCharacters) {
    EXPECT_FALSE(MatchesExpression("ABA?*BAB", "abab"));
    EXPECT_TRUE(MatchesExpression("ABA?*BAB", "ababab"));
}

TEST(MatchesExpression, OtherWildcardsAreOrdinaryText) {
    EXPECT_FALSE(MatchesExpression("TCPIP*", Record));
    EXPECT_FALSE(MatchesExpression("?", Record));
    EXPECT_FALSE(MatchesExpression("TCPIP[0-9]?*", Record));
    EXPECT_TRUE(MatchesExpression("A*B?*", "a*bc"));
}

TEST(SameInstrument, ApartFromTheInterfaceNumberAndTheSender) {
    EXPECT_TRUE(SameInstrument(Record, Record));
    EXPECT_TRUE(SameInstrument(
        Record, "TCPIP13::scope.lab::5025::SOCKET\nOrvane\nKx10 Pro\nSN-7\nLab scope\n10.9.0.5"));
    EXPECT_TRUE(SameInstrument("TCPIP::h\na", "TCPIP7::h\nb"));
}

TEST(SameInstrument, EverythingElseTellsApart) {
    EXPECT_FALSE(SameInstrument(
        Record, "TCPIP0::scope.lab::5026::SOCKET\nOrvane\nKx10 Pro\nSN-7\nLab scope\n10.0.0.5"));
    EXPECT_FALSE(SameInstrument(
        Record, "TCPIP0::scope.lab::5025::SOCKET\nOrvane\nKx10 Pro\nSN-8\nLab scope\n10.0.0.5"));
    EXPECT_FALSE(SameInstrument("USB0::x\na", "USB1::x\na"));
}

TEST(SameInstrument, TakesAnyText) {
    EXPECT_TRUE(SameInstrument("", ""));
    EXPECT_TRUE(SameInstrument("TCPIP", "TCPIP12"));
    EXPECT_FALSE(SameInstrument("", "TCPIP"));
}
