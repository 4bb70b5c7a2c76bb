#include "brix/Decoder.h"

#include <gtest/gtest.h>

#include <clocale>
#include <string>

#include "brix/Bytes.h"
#include "support/SmallProtocol.h"

using namespace uxvisa::test;
using uxvisa::brix::DecodeOptions;
using uxvisa::brix::DecodePacket;
using uxvisa::brix::ProtocolFunctions;
using uxvisa::brix::ProtocolNames;

namespace {

constexpr DecodeOptions Plain{false, 0, 0};
constexpr DecodeOptions Full{true, 0, 0};
constexpr DecodeOptions Dumping{false, 1, 0};
constexpr DecodeOptions Requests{false, 0, -32768};

std::string Decoded(const std::vector<unsigned char>& packet, const DecodeOptions& options) {
    const ProtocolFunctions functions = SmallProtocol();
    return DecodePacket(packet.data(), packet.size(), options, ProtocolNames(functions, 1));
}

// Signature, command, status and length of the header and its other fields are written apart.
std::string Decoded(const char* packet, const DecodeOptions& options = Plain) {
    return Decoded(Bytes(packet), options);
}

std::vector<unsigned char> BlockPacket(std::uint16_t bodyLen, unsigned char flagB) {
    std::vector<unsigned char> packet = Bytes("AA55 2100 0000 0000 00 00 0000 00000000");
    packet[6] = static_cast<unsigned char>(bodyLen);
    packet[7] = static_cast<unsigned char>(bodyLen >> 8);
    packet[9] = flagB;
    packet.resize(16 + std::size_t{bodyLen}, 0xAB);
    return packet;
}

} // namespace

TEST(Decoder, ParameterAsExpected) {
    EXPECT_EQ(Decoded("AA55 0300 0000 0600 01 42 0000 00000000 0101 00800100"), "FREQ = 1.5");
    EXPECT_EQ(Decoded("AA55 0400 0000 0600 01 42 0000 00000000 0101 00800100"), "FREQ ? 1.5");
    EXPECT_EQ(Decoded("AA55 0700 0000 0600 01 42 0000 00000000 0101 0080FEFF"), "FREQ ! -1.5");
    EXPECT_EQ(Decoded("AA55 0400 0000 0200 00 42 0000 00000000 0101"), "FREQ ?");
}

TEST(Decoder, CommandsByName) {
    EXPECT_EQ(Decoded("AA55 0100 0000 0000 00 00 0000 00000000"), "RESET");
}

TEST(Decoder, UnknownNumbersAreDecimalBehindAHexadecimalPrefixOnPurpose) {
    EXPECT_EQ(Decoded("AA55 2100 0000 0000 00 00 0000 00000000"), "0x33");
    EXPECT_EQ(Decoded("AA55 0300 0000 0200 00 00 0000 00000000 0F00"), "0x15 =");
    EXPECT_EQ(Decoded("AA55 0300 0000 0200 00 00 0000 00000000 0700"), "0x07 =");
}

TEST(Decoder, ParameterCommandsWithoutAnIdentifierAreCommands) {
    EXPECT_EQ(Decoded("AA55 0300 0000 0000 00 00 0000 00000000"), "ODD");
    EXPECT_EQ(Decoded("AA55 0400 0000 0100 00 00 0000 00000000 07"), "0x04 ( BodyLen=1 ID=7 )");
}

TEST(Decoder, Status) {
    EXPECT_EQ(Decoded("AA55 0300 0580 0600 01 42 0000 00000000 0101 00800100"),
              "FREQ ( Status=TOO_SHORT ) = 1.5");
    EXPECT_EQ(Decoded("AA55 0100 0080 0000 00 00 0000 00000000"), "RESET ( Status=REQUEST )");
    EXPECT_EQ(Decoded("AA55 0100 0080 0000 00 00 0000 00000000", Requests), "RESET");
    EXPECT_EQ(Decoded("AA55 0100 0000 0000 00 00 0000 00000000", Requests), "RESET ( Status=OK )");
}

TEST(Decoder, UnknownStatusesShowTheir16BitsInDecimalOnPurpose) {
    EXPECT_EQ(Decoded("AA55 0100 0980 0000 00 00 0000 00000000"), "RESET ( Status=0x032777 )");
    EXPECT_EQ(Decoded("AA55 0100 0900 0000 00 00 0000 00000000"), "RESET ( Status=0x09 )");
}

TEST(Decoder, ErrorNamesAreCutAtTheirSignOnPurpose) {
    const ProtocolFunctions functions = SmallProtocol();
    const ProtocolNames names(functions, 1);
    EXPECT_EQ(uxvisa::brix::ErrorText(-32765, names), "BAD_VALUES");
    EXPECT_EQ(uxvisa::brix::ErrorText(-1, names), "");
    EXPECT_EQ(uxvisa::brix::ErrorText(0, names), "OK");
    EXPECT_EQ(uxvisa::brix::ErrorText(-2, names), "0x065534");
}

TEST(Decoder, EveryFieldWithTheFullHeader) {
    EXPECT_EQ(
        Decoded("AA55 0100 0000 0000 00 00 0000 00000000", Full),
        "RESET ( Signature=0x021930 Status=OK BodyLen=0 FlagA=0x00 FlagB=0x00 Dummy=0 ID=0 )");
    EXPECT_EQ(Decoded("AA55 0300 0000 0600 01 42 0000 00000000 0101 00800100", Full),
              "FREQ ( Signature=0x021930 Status=OK BodyLen=6 FlagA=0x01 FlagB=0x66 Dummy=0 "
              "ID=-2147483391 ) = 1.5");
    EXPECT_EQ(Decoded("AA55 0600 0000 0200 00 00 0000 00000000 0000", Full),
              "BLOCK ( Signature=0x021930 Status=OK BodyLen=2 FlagA=0x00 FlagB=0x00 BodyStatus=OK "
              "Dummy=0 ID=0 )");
    EXPECT_EQ(
        Decoded("AA55 0600 0000 0100 00 00 0000 00000000 00", Full),
        "BLOCK ( Signature=0x021930 Status=OK BodyLen=1 FlagA=0x00 FlagB=0x00 Dummy=0 ID=0 )");
}

TEST(Decoder, UnexpectedFieldsOfACommand) {
    EXPECT_EQ(Decoded("3412 0100 0000 0000 00 00 0000 00000000"), "RESET ( Signature=0x4660 )");
    EXPECT_EQ(Decoded("AA55 0100 0000 0000 07 00 0000 00000000"), "RESET ( FlagA=0x07 )");
    EXPECT_EQ(Decoded("AA55 0100 0000 0000 00 42 0000 00000000"), "RESET ( FlagB=0x66 )");
    EXPECT_EQ(Decoded("AA55 0100 0000 0000 00 00 FFFF 00000000"), "RESET ( Dummy=65535 )");
    EXPECT_EQ(Decoded("AA55 0100 0000 0200 00 00 0000 00000000 0000"), "RESET ( BodyLen=2 )");
}

TEST(Decoder, TheReservedBytesAreNeverRead) {
    EXPECT_EQ(Decoded("AA55 0100 0000 0000 00 00 0000 FFFFFFFF"), "RESET");
}

TEST(Decoder, TheIdLiesOverTheBodyOnPurpose) {
    EXPECT_EQ(Decoded("AA55 0100 0000 0800 00 00 0000 00000000 FFFFFFFF FFFFFFFF"),
              "RESET ( BodyLen=8 ID=-1 )");
    EXPECT_EQ(Decoded("AA55 0100 0000 0200 00 00 0000 00000000 0102"),
              "RESET ( BodyLen=2 ID=513 )");
    // Not zero as a whole, and shown by its low half.
    EXPECT_EQ(Decoded("AA55 0100 0000 0800 00 00 0000 00000000 00000000 01000000"),
              "RESET ( BodyLen=8 ID=0 )");
}

TEST(Decoder, BytesBehindThePacketAreNotItsId) {
    EXPECT_EQ(Decoded("AA55 0100 0000 0000 00 00 0000 00000000 FFFFFFFFFFFFFFFF"), "RESET");
    EXPECT_EQ(Decoded("AA55 0100 0000 0100 00 00 0000 00000000 01 FFFFFFFFFFFFFF"),
              "RESET ( BodyLen=1 ID=1 )");
}

TEST(Decoder, UnexpectedFieldsOfAParameter) {
    EXPECT_EQ(Decoded("AA55 0300 0000 0600 01 42 0700 00000000 0101 00800100"),
              "FREQ ( Dummy=7 ) = 1.5");
    EXPECT_EQ(Decoded("AA55 0300 0000 0600 02 20 0000 00000000 0101 0100 0200"),
              "FREQ ( FlagB=0x32 ) = 1 2");
    EXPECT_EQ(Decoded("AA55 0300 0000 0400 01 20 0000 00000000 0401 0100"),
              "RAW ( FlagB=0x32 ) = 1");
    EXPECT_EQ(Decoded("AA55 0300 0000 0200 00 00 0000 00000000 0101"), "FREQ =");
}

TEST(Decoder, APaddedValueShowsItsPaddingOnPurpose) {
    EXPECT_EQ(Decoded("AA55 0300 0000 0400 01 10 0000 00000000 0201 05 00"),
              "BYTE ( BodyLen=4 FlagA=0x01 ) = 5 0");
}

TEST(Decoder, TheBodyCountsTheValuesOnPurpose) {
    EXPECT_EQ(Decoded("AA55 0300 0000 0A00 01 42 0000 00000000 0101 00800100 00000200"),
              "FREQ ( BodyLen=10 FlagA=0x01 ) = 1.5 2");
    EXPECT_EQ(Decoded("AA55 0300 0000 0500 09 42 0000 00000000 0101 008001"),
              "FREQ ( BodyLen=5 FlagA=0x09 ) =");
}

TEST(Decoder, WithoutASizeFlagACountsOnPurpose) {
    // The one byte at the place of the values, over and over.
    EXPECT_EQ(Decoded("AA55 0300 0000 0400 03 00 0000 00000000 0401 FE 55"),
              "RAW ( BodyLen=4 FlagA=0x03 ) = -2 -2 -2");
}

TEST(Decoder, ValuesPastThePacketAreZero) {
    EXPECT_EQ(Decoded("AA55 0300 0000 0200 02 00 0000 00000000 0401 77 88"), "RAW = 0 0");
    EXPECT_EQ(Decoded("AA55 0300 0000 0500 02 20 0000 00000000 0A00 0100 02 FFFF"),
              "TEXT ( BodyLen=5 FlagA=0x02 FlagB=0x32 ) = 1 2");
    EXPECT_EQ(Decoded("AA55 0300 0000 0200 02 F0 0000 00000000 0A00"),
              "TEXT ( BodyLen=2 FlagA=0x02 FlagB=0x0240 ) = 0 0");
}

TEST(Decoder, ParameterTenHasValuesAndBytesOnPurpose) {
    EXPECT_EQ(Decoded("AA55 0300 0000 0800 02 10 0000 00000000 0A00 01FF 61220A00"),
              "TEXT ( BodyLen=8 FlagA=0x02 ) = 1 -1 \"a\"\\n\\0\"");
    EXPECT_EQ(Decoded("AA55 0300 0000 0400 02 10 0000 00000000 0A00 01FF"), "TEXT = 1 -1");
    EXPECT_EQ(Decoded("AA55 0300 0000 0400 00 00 0000 00000000 0A00 6869"),
              "TEXT ( BodyLen=4 FlagA=0x00 ) = \"hi\"");
    // Without a size the values share the first byte of the text.
    EXPECT_EQ(Decoded("AA55 0300 0000 0400 01 00 0000 00000000 0A00 6869"),
              "TEXT ( BodyLen=4 FlagA=0x01 ) = 104 \"hi\"");
}

TEST(Decoder, ValuesAreSigned) {
    EXPECT_EQ(Decoded("AA55 0300 0000 0300 01 10 0000 00000000 0201 FF"), "BYTE = -1");
    EXPECT_EQ(Decoded("AA55 0300 0000 0400 01 21 0000 00000000 0301 80FE"), "WORD = -1.5");
    EXPECT_EQ(Decoded("AA55 0300 0000 0A00 01 80 0000 00000000 0601 00000000 00000080"),
              "LONG = -9.223372036855e+18");
    EXPECT_EQ(Decoded("AA55 0300 0000 0A00 01 80 0000 00000000 0601 FFFFFFFF FFFFFF7F"),
              "LONG = 9.223372036855e+18");
    EXPECT_EQ(
        Decoded("AA55 0300 0000 1100 01 F0 0000 00000000 0701 0100000000000000 AABBCCDDEEFF99"),
        "WIDE = 1");
}

TEST(Decoder, ThirteenSignificantDigits) {
    EXPECT_EQ(Decoded("AA55 0300 0000 0600 01 42 0000 00000000 0101 01000100"),
              "FREQ = 1.000015258789");
}

TEST(Decoder, BodyStatusIsPastThePacketAndZeroOnPurpose) {
    EXPECT_EQ(Decoded("AA55 0600 0000 0400 00 00 0000 00000000 0000 0580"),
              "BLOCK ( BodyLen=4 ID=-2147155968 )");
    EXPECT_EQ(Decoded("AA55 0600 0080 0400 00 00 0000 00000000 00000000", Requests),
              "BLOCK ( BodyLen=4 BodyStatus=OK )");
    // Bytes of an earlier packet may lie there.
    EXPECT_EQ(Decoded("AA55 0600 0000 0200 00 00 0000 00000000 0000 5555555555555555 5555"),
              "BLOCK ( BodyLen=2 )");
    EXPECT_EQ(Decoded("AA55 0600 0080 0100 00 00 0000 00000000 00", Requests),
              "BLOCK ( BodyLen=1 )");
}

TEST(Decoder, DumpsBodiesInModeOne) {
    EXPECT_EQ(Decoded("AA55 2100 0000 0300 00 00 0000 00000000 00AB0F", Dumping),
              "0x33 ( BodyLen=3 ID=1026816 ) 0x00 0xAB 0x0F");
    EXPECT_EQ(Decoded("AA55 2100 0000 0500 00 20 0000 00000000 0102030405", Dumping),
              "0x33 ( BodyLen=5 FlagB=0x32 ID=67305985 ) 0x0201 0x0403 0x05");
    EXPECT_EQ(Decoded("AA55 0100 0000 0000 00 00 0000 00000000", Dumping), "RESET");
    EXPECT_EQ(Decoded("AA55 0300 0000 0600 01 42 0000 00000000 0101 00800100", Dumping),
              "FREQ = 1.5");
}

TEST(Decoder, OtherModesDumpNothing) {
    for (const int mode : {-1, 0, 2, 3}) {
        EXPECT_EQ(Decoded("AA55 2100 0000 0100 00 00 0000 00000000 01", {false, mode, 0}),
                  "0x33 ( BodyLen=1 ID=1 )");
    }
}

TEST(Decoder, DumpsEndBefore100000Characters) {
    const std::string line = Decoded(BlockPacket(65535, 0), Dumping);
    EXPECT_LE(line.size(), 99999U);
    EXPECT_GT(line.size() + 5, 99999U);
    EXPECT_EQ(line.substr(line.size() - 10), " 0xAB 0xAB");
    const std::string wide = Decoded(BlockPacket(65535, 0xF0), Dumping);
    EXPECT_LE(wide.size(), 99999U);
    EXPECT_GT(wide.size() + 33, 99999U);
}

TEST(Decoder, ADumpMayFillTheLineExactly) {
    const std::string header = "0x33 ( BodyLen=19990 Dummy=10000 ID=-1414812757 )";
    ASSERT_EQ(header.size() + std::size_t{5} * 19990, 99999U);
    for (const std::uint16_t bodyLen : {std::uint16_t{19990}, std::uint16_t{19991}}) {
        std::vector<unsigned char> packet = BlockPacket(bodyLen, 0);
        packet[10] = 0x10;
        packet[11] = 0x27;
        EXPECT_EQ(Decoded(packet, Dumping).size(), 99999U) << bodyLen;
    }
}

TEST(Decoder, WhatAPacketLacksCountsAsZero) {
    EXPECT_EQ(Decoded(std::vector<unsigned char>{}, Plain), "0x00 ( Signature=0x00 )");
    EXPECT_EQ(Decoded("AA55 0100"), "RESET");
    EXPECT_EQ(Decoded("AA55 0300 0000 0600 01 42 0000 00000000 0101 0080"), "FREQ = 0.5");
    EXPECT_EQ(Decoded("AA55 0300 0000 06"), "0x00 ( BodyLen=6 FlagA=0x00 ) =");
    EXPECT_EQ(Decoded("AA55 0300 0000 0600 00 00 0000 00000000 0A"),
              "TEXT ( BodyLen=6 FlagA=0x00 ) = \"\\0\\0\\0\\0\"");
}

TEST(Decoder, NamesThatAreNullAreEmpty) {
    ProtocolFunctions functions;
    functions.GetErrorName = [](int, int) -> const char* { return nullptr; };
    functions.GetCommandName = functions.GetErrorName;
    functions.GetParameterName = functions.GetErrorName;
    const ProtocolNames names(functions, 1);
    const auto command = Bytes("AA55 0100 0900 0000 00 00 0000 00000000");
    EXPECT_EQ(DecodePacket(command.data(), command.size(), Plain, names), "0x01 ( Status=0x09 )");
    const auto parameter = Bytes("AA55 0300 0000 0400 01 20 0000 00000000 0401 0100");
    EXPECT_EQ(DecodePacket(parameter.data(), parameter.size(), Plain, names),
              "0x0260 ( FlagB=0x32 ) = 1");
}

TEST(Decoder, WithoutALibraryNothingHasAName) {
    const ProtocolFunctions none;
    const auto command = Bytes("AA55 0100 0900 0000 00 00 0000 00000000");
    EXPECT_EQ(DecodePacket(command.data(), command.size(), Plain, ProtocolNames(none, 1)),
              "0x01 ( Status=0x09 )");
}
