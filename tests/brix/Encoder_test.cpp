#include "brix/Encoder.h"

#include <gtest/gtest.h>

#include <clocale>
#include <string>

#include "brix/Bytes.h"
#include "support/SmallProtocol.h"
#include "uxvisa/visatype.h"

using namespace uxvisa::test;
using uxvisa::brix::EncodeLine;
using uxvisa::brix::ProtocolFunctions;
using uxvisa::brix::ProtocolNames;

namespace {

constexpr const char* Failure = "failed";

// The packet in hexadecimal, or Failure.
std::string Encoded(std::string_view line, char terminator = '\n') {
    const ProtocolFunctions functions = SmallProtocol();
    std::vector<unsigned char> packet{0x5A};
    const long status = EncodeLine(line, terminator, ProtocolNames(functions, 1), packet);
    if (status != VI_SUCCESS) {
        EXPECT_EQ(status, VI_ERROR_INP_PROT_VIOL) << line;
        EXPECT_EQ(packet, std::vector<unsigned char>{0x5A}) << line;
        return Failure;
    }
    return Hex(packet.data(), packet.size());
}

// Signature, command, status, length, FlagA, FlagB, dummy and the four reserved bytes.
const std::string ResetPacket = Digits("AA55 0100 0080 0000 00 00 0000 00000000");

std::string SetFreq(const char* flagsAndLength, const char* body) {
    return Digits(std::string("AA55 0300 0080 ") + flagsAndLength + "0000 00000000" + body);
}

} // namespace

TEST(Encoder, Command) {
    EXPECT_EQ(Encoded("RESET"), ResetPacket);
    EXPECT_EQ(Encoded(" \treset\t "), ResetPacket);
    EXPECT_EQ(Encoded("Ident"), Digits("AA55 0200 0080 0000 00 00 0000 00000000"));
}

TEST(Encoder, NothingBehindACommandIsLookedAtOnPurpose) {
    EXPECT_EQ(Encoded("RESET junk"), ResetPacket);
    EXPECT_EQ(Encoded("RESET,"), ResetPacket);
    EXPECT_EQ(Encoded("RESET () = 5"), Failure); // which is a parameter's form
    EXPECT_EQ(Encoded("RESET\n"), ResetPacket);
}

TEST(Encoder, SettingAParameter) {
    EXPECT_EQ(Encoded("FREQ=1.5"), SetFreq("0600 01 42", "0101 00800100"));
    EXPECT_EQ(Encoded("freq = -1.5e0"), SetFreq("0600 01 42", "0101 0080FEFF"));
    EXPECT_EQ(Encoded("FREQ=0x10"), SetFreq("0600 01 42", "0101 00001000"));
    EXPECT_EQ(Encoded("FREQ=1 2\t3"), SetFreq("0E00 03 42", "0101 00000100 00000200 00000300"));
}

TEST(Encoder, ABodyOfAnOddLengthIsFilledUp) {
    EXPECT_EQ(Encoded("BYTE=5"), SetFreq("0400 01 10", "0201 05 00"));
    EXPECT_EQ(Encoded("BYTE=5 6"), SetFreq("0400 02 10", "0201 05 06"));
}

TEST(Encoder, QueryAndAction) {
    EXPECT_EQ(Encoded("FREQ?"), Digits("AA55 0400 0080 0200 00 42 0000 00000000 0101"));
    EXPECT_EQ(Encoded("FREQ !"), Digits("AA55 0700 0080 0200 00 42 0000 00000000 0101"));
    EXPECT_EQ(Encoded("BYTE?7"), Digits("AA55 0400 0080 0400 01 10 0000 00000000 0201 07 00"));
    EXPECT_EQ(Encoded("BYTE!7"), Digits("AA55 0700 0080 0400 01 10 0000 00000000 0201 07 00"));
}

TEST(Encoder, NoValues) {
    EXPECT_EQ(Encoded("FREQ="), SetFreq("0200 00 42", "0101"));
    EXPECT_EQ(Encoded("FREQ=  "), SetFreq("0200 00 42", "0101"));
}

TEST(Encoder, ASignBeginsTheNextValueOnPurpose) {
    EXPECT_EQ(Encoded("BYTE=1-2"), SetFreq("0400 02 10", "0201 01 FE"));
    EXPECT_EQ(Encoded("BYTE=1.5.5"), SetFreq("0400 02 10", "0201 02 01"));
}

TEST(Encoder, CommasAreNoSeparatorsOnPurpose) {
    EXPECT_EQ(Encoded("BYTE=1,2"), Failure);
    EXPECT_EQ(Encoded("BYTE=1, 2"), Failure);
}

TEST(Encoder, ValuesEndAtTheTerminatorAndSkipOtherLineEnds) {
    EXPECT_EQ(Encoded("BYTE=1\r2", '\n'), SetFreq("0400 02 10", "0201 01 02"));
    EXPECT_EQ(Encoded("BYTE=1\n2", '\n'), SetFreq("0400 01 10", "0201 01 00"));
    EXPECT_EQ(Encoded("BYTE=1\n2", '\r'), SetFreq("0400 02 10", "0201 01 02"));
    EXPECT_EQ(Encoded("BYTE=1\r2", '\r'), SetFreq("0400 01 10", "0201 01 00"));
    EXPECT_EQ(Encoded("BYTE=1;2", ';'), SetFreq("0400 01 10", "0201 01 00"));
    EXPECT_EQ(Encoded("BYTE=1;2", '\n'), Failure);
}

TEST(Encoder, TheLineEndsAtANul) {
    EXPECT_EQ(Encoded(std::string_view("RESET\0junk", 10)), ResetPacket);
    EXPECT_EQ(Encoded(std::string_view("BYTE=1\0,", 8)), SetFreq("0400 01 10", "0201 01 00"));
    EXPECT_EQ(Encoded(std::string_view("RESET\0ED", 8).substr(0, 3)), Failure);
}

TEST(Encoder, NumbersThatAreNone) {
    for (const char* line : {"BYTE=x", "BYTE=+1", "BYTE=1e+5", "BYTE=1e", "BYTE=1 x", "BYTE=1E5",
                             "BYTE=-0x1", "BYTE==1", "BYTE=1)", "BYTE=\"1\""}) {
        EXPECT_EQ(Encoded(line), Failure) << line;
    }
}

TEST(Encoder, UnknownNames) {
    for (const char* line : {"", " \t", "\n", "NOBODY", "NOBODY=1", "NOBODY?", "RESET=1", "FREQ",
                             "RESETS", "=1", "?", "(a=1)", "*IDN?", "FR EQ=1", "FREQ%"}) {
        EXPECT_EQ(Encoded(line), Failure) << line;
    }
}

TEST(Encoder, HeaderFields) {
    EXPECT_EQ(Encoded("RESET (status=0 id=7)"), Digits("AA55 0100 0000 0000 00 00 0000 00000000"));
    EXPECT_EQ(Encoded("RESET(SIGNATURE=0x1234 Status = 5\tflaga=255 flagb=0x42 dummy=0xABCD )"),
              Digits("3412 0100 0500 0000 FF 42 CDAB 00000000"));
    EXPECT_EQ(Encoded("RESET (bodylen=8 id=0x80000000)"),
              Digits("AA55 0100 0080 0800 00 00 0000 00000000 00000080 FFFFFFFF"));
    EXPECT_EQ(Encoded("FREQ (status=1)?"), Digits("AA55 0400 0100 0200 00 42 0000 00000000 0101"));
    EXPECT_EQ(Encoded("RESET ()"), ResetPacket);
}

TEST(Encoder, FieldsAreCutToTheirWidths) {
    EXPECT_EQ(Encoded("RESET (signature=0x11234 status=0x18000 flaga=256 flagb=0x142 dummy=65536)"),
              Digits("3412 0100 0080 0000 00 42 0000 00000000"));
}

TEST(Encoder, TheShortNamesWin) {
    EXPECT_EQ(Encoded("BYTE (a=3 flaga=5)=1 2"), SetFreq("0400 03 10", "0201 01 02"));
    EXPECT_EQ(Encoded("BYTE (flaga=5 a=3)=1 2"), SetFreq("0400 03 10", "0201 01 02"));
    EXPECT_EQ(Encoded("BYTE (flagb=0x10 b=0x20)=1"), SetFreq("0400 01 20", "0201 0100"));
}

TEST(Encoder, TheLastOfEqualFieldsCounts) {
    EXPECT_EQ(Encoded("RESET (status=1 status=0x8000)"), ResetPacket);
}

TEST(Encoder, UnknownFieldsAreIgnored) {
    EXPECT_EQ(Encoded("RESET (color=5 x=abc)"), ResetPacket);
}

TEST(Encoder, AFieldWithoutAValueIsNotGivenOnPurpose) {
    EXPECT_EQ(Encoded("BYTE (a=)=1 2"), SetFreq("0400 02 10", "0201 01 02"));
    EXPECT_EQ(Encoded("RESET (status=)"), ResetPacket);
    EXPECT_EQ(Encoded("RESET (status= )"), ResetPacket);
}

TEST(Encoder, AFieldWhoseValueIsAWordIsZero) {
    EXPECT_EQ(Encoded("BYTE (a=abc)=1 2"), SetFreq("0400 00 10", "0201 01 02"));
    EXPECT_EQ(Encoded("RESET (status=_)"), Digits("AA55 0100 0000 0000 00 00 0000 00000000"));
}

TEST(Encoder, ABlankAloneInParenthesesFailsOnPurpose) {
    EXPECT_EQ(Encoded("RESET ( )"), Failure);
}

TEST(Encoder, MalformedFields) {
    for (const char* line : {"RESET (", "RESET (a", "RESET (a=1", "RESET (a=1 ", "RESET (a 1)",
                             "RESET (1=1)", "RESET (a1=1)", "RESET (a=1,b=2)", "RESET (a=1 =2)",
                             "RESET (a=-1)", "RESET (a_b=1)", "RESET ((a=1))", "RESET (=1)"}) {
        EXPECT_EQ(Encoded(line), Failure) << line;
    }
}

TEST(Encoder, AGivenSizeRulesLengthAndValues) {
    EXPECT_EQ(Encoded("FREQ (flagb=0x20)=1 2"), SetFreq("0600 02 20", "0101 0100 0200"));
    EXPECT_EQ(Encoded("FREQ (b=0)=1 2"), SetFreq("0200 02 00", "0101"));
    // The length comes from the number as given, the size of values from the byte that is sent.
    EXPECT_EQ(Encoded("FREQ (b=0x110)=1"), SetFreq("1400 01 10", "0101 01 00 00000000 00000000"
                                                                 "00000000 00000000"));
}

TEST(Encoder, AGivenLengthCutsOrFills) {
    EXPECT_EQ(Encoded("FREQ (bodylen=4)=1.5"), SetFreq("0400 01 42", "0101 0080"));
    EXPECT_EQ(Encoded("FREQ (bodylen=1)=1.5"), SetFreq("0100 01 42", "01"));
    EXPECT_EQ(Encoded("FREQ (bodylen=0)=1.5 2 3"), SetFreq("0000 03 42", ""));
    EXPECT_EQ(Encoded("BYTE (bodylen=5)=1"), SetFreq("0500 01 10", "0201 01 0000"));
    EXPECT_EQ(Encoded("RESET (bodylen=3)"),
              Digits("AA55 0100 0080 0300 00 00 0000 00000000 000000"));
}

TEST(Encoder, TheBodyLiesOverTheIdOnPurpose) {
    EXPECT_EQ(Encoded("BYTE (id=0x11223344)=5"), SetFreq("0400 01 10", "0201 05 11"));
    EXPECT_EQ(Encoded("BYTE (id=0x11223344 bodylen=8)=5"),
              SetFreq("0800 01 10", "0201 05 11 00000000"));
    EXPECT_EQ(Encoded("RESET (id=7 bodylen=2)"),
              Digits("AA55 0100 0080 0200 00 00 0000 00000000 0700"));
}

TEST(Encoder, LengthsAreCutTo16Bits) {
    EXPECT_EQ(Encoded("RESET (bodylen=65536)"), ResetPacket);
    EXPECT_EQ(Encoded("RESET (bodylen=0x10002)"),
              Digits("AA55 0100 0080 0200 00 00 0000 00000000 0000"));
    const std::string largest = Encoded("RESET (bodylen=0xFFFFFFFF)");
    EXPECT_EQ(largest.size(), 2U * (16 + 65535));
    EXPECT_EQ(largest.substr(0, 32), Digits("AA55 0100 0080 FFFF 00 00 0000 00000000"));
}

TEST(Encoder, TheShareOfAnUnknownSizeIsTheWholeFlagBOnPurpose) {
    // 8 bytes for two values: FlagB is 4, of which the size is 0, so that no value is sent.
    EXPECT_EQ(Encoded("RAW (bodylen=10)=1 2"), SetFreq("0A00 02 04", "0401 0000000000000000"));
    EXPECT_EQ(Encoded("RAW (bodylen=34)=1 2"),
              SetFreq("2200 02 10", "0401 0102 000000000000 0000000000000000"
                                    "0000000000000000 0000000000000000"));
}

TEST(Encoder, ASizeThatIsZeroAsAByteIsUnknown) {
    EXPECT_EQ(Encoded("WRAPPED (bodylen=6)=1"), SetFreq("0600 01 04", "0801 00000000"));
    EXPECT_EQ(Encoded("FRACTION (bodylen=6)=1"), SetFreq("0600 01 04", "0501 00000000"));
}

TEST(Encoder, TheShareMustBePositive) {
    EXPECT_EQ(Encoded("RAW (bodylen=2)=1"), Failure);
    EXPECT_EQ(Encoded("RAW (bodylen=3)=1 2"), Failure);
    // Below 2 the division is that of unsigned numbers.
    EXPECT_EQ(Encoded("RAW (bodylen=0)=1"), Failure);
    EXPECT_EQ(Encoded("RAW (bodylen=0)=1 2"), SetFreq("0000 02 FF", ""));
    EXPECT_EQ(Encoded("RAW (bodylen=1)=1 2"), SetFreq("0100 02 FF", "04"));
}

TEST(Encoder, ValuesOfAnUnknownSizeAreCountedAndNotSentOnPurpose) {
    EXPECT_EQ(Encoded("RAW=1 2 3"), SetFreq("0200 03 00", "0401"));
    EXPECT_EQ(Encoded("RAW?"), Digits("AA55 0400 0080 0200 00 00 0000 00000000 0401"));
    EXPECT_EQ(Encoded("RAW (bodylen=10)?"),
              Digits("AA55 0400 0080 0A00 00 00 0000 00000000 0401 0000000000000000"));
}

TEST(Encoder, WideValues) {
    EXPECT_EQ(Encoded("LONG=-2"), SetFreq("0A00 01 80", "0601 FEFFFFFFFFFFFFFF"));
    EXPECT_EQ(Encoded("WIDE=-2 1"), SetFreq("2000 02 F0", "0701 FEFFFFFFFFFFFFFFFFFFFFFFFFFFFF"
                                                          "010000000000000000000000000000"));
    EXPECT_EQ(Encoded("LONG=1e99"), SetFreq("0A00 01 80", "0601 0000000000000080"));
}

TEST(Encoder, ManyValues) {
    std::string line = "FREQ=";
    for (int i = 0; i < 300; ++i) {
        line += " 1";
    }
    // 1202 bytes, rounded up; FlagA holds the low byte of 300.
    const std::string packet = Encoded(line);
    EXPECT_EQ(packet.substr(0, 32), Digits("AA55 0300 0080 B204 2C 42 0000 00000000"));
    EXPECT_EQ(packet.size(), 2U * (16 + 1202));
    EXPECT_EQ(packet.substr(packet.size() - 8), "00000100");
    // More than the length's 16 bits: it wraps, and what is sent is what it says.
    for (int i = 300; i < 16400; ++i) {
        line += " 1";
    }
    EXPECT_EQ(Encoded(line), SetFreq("4200 10 42", ("0101" +
                                                    [] {
                                                        std::string body;
                                                        for (int i = 0; i < 16; ++i) {
                                                            body += "00000100";
                                                        }
                                                        return body;
                                                    }())
                                                       .c_str()));
}

TEST(Encoder, LettersAreThoseOfAsciiOnly) {
    EXPECT_EQ(Encoded("RES\xC9T"), Failure);
    EXPECT_EQ(Encoded("\xFF"), Failure);
    EXPECT_EQ(Encoded("RESET (\xE4=1)"), Failure);
}

TEST(Encoder, WithoutALibraryNothingIsKnown) {
    const ProtocolFunctions none;
    std::vector<unsigned char> packet;
    EXPECT_EQ(EncodeLine("RESET", '\n', ProtocolNames(none, 0), packet), VI_ERROR_INP_PROT_VIOL);
    EXPECT_EQ(EncodeLine("FREQ=1", '\n', ProtocolNames(none, 0), packet), VI_ERROR_INP_PROT_VIOL);
}

TEST(Encoder, TheEmptyNameIsAskedForLikeAnyOther) {
    ProtocolFunctions functions = SmallProtocol();
    functions.GetCommandID = [](int, const char* name) { return *name == '\0' ? 9 : -1; };
    std::vector<unsigned char> packet;
    EXPECT_EQ(EncodeLine("", '\n', ProtocolNames(functions, 0), packet), VI_SUCCESS);
    EXPECT_EQ(Hex(packet.data(), packet.size()), Digits("AA55 0900 0080 0000 00 00 0000 00000000"));
}
