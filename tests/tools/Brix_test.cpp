// The binary command protocol on the command line, with and without an instrument.
#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "tools/InstrumentPeer.h"
#include "tools/TemporaryDirectory.h"
#include "tools/Terminal.h"
#include "tools/ToolRun.h"
#include "tools/uxvisa/HexInput.h"

using testing::HasSubstr;
using testing::Not;
using uxvisa::tool::ParseHex;

namespace {

// "FREQ=1.5" as a request, and what the instrument says to it.
constexpr char SetFrequency[] = "AA550300008006000142000000000000 010000800100";
constexpr char AskFrequency[] = "AA550400008002000042000000000000 0100";
constexpr char FrequencyAnswer[] = "AA550400000006000142000000000000 010000800100";

// What a session of the protocol needs to be started in.
class BrixDirectory {
public:
    explicit BrixDirectory(const std::string& protocol = FileContents(UXVISA_EXAMPLE_PROTOCOL)) {
        std::filesystem::create_symlink(UXVISA_PROTO_DESC,
                                        m_directory.File("libProtoDesc.so.1.0.0"));
        if (!protocol.empty()) {
            WriteFile(File("Protocol.xml"), protocol);
        }
    }

    std::string File(const std::string& name) const { return m_directory.File(name); }
    ToolResult Run(const std::vector<std::string>& words, ToolStreams streams = {}) const {
        streams.directory = File("");
        return RunTool(words, streams);
    }

private:
    TemporaryDirectory m_directory;
};

// Takes one packet of this length and sends another.
InstrumentPeer::Script Replying(std::size_t length, const std::string& hex) {
    return [length, hex](PeerConnection& connection) {
        connection.ReadBytes(length);
        connection.Send(ParseHex(hex));
    };
}

std::string Brix(const InstrumentPeer& peer) {
    return peer.Resource() + "::BRIX";
}

} // namespace

TEST(BrixQuery, PrintsTheLineOfTheAnswer) {
    const BrixDirectory directory;
    std::string received;
    InstrumentPeer peer([&received](PeerConnection& connection) {
        received = connection.ReadBytes(18);
        connection.Send(ParseHex(FrequencyAnswer));
    });
    const ToolResult result = directory.Run({"query", Brix(peer), "FREQ?"});
    EXPECT_EQ(result.exitCode, 0) << result.error;
    EXPECT_EQ(result.output, "FREQ ? 1.5\n");
    EXPECT_EQ(result.error, "");
    EXPECT_EQ(peer.Rest(), "");
    EXPECT_EQ(received, ParseHex(AskFrequency));
}

TEST(BrixQuery, SendsAPacketWithoutAskingForAnAnswer) {
    const BrixDirectory directory;
    InstrumentPeer peer([](PeerConnection&) {});
    EXPECT_EQ(directory.Run({"write", Brix(peer), "FREQ=1.5"}).exitCode, 0);
    EXPECT_EQ(peer.Rest(), ParseHex(SetFrequency));
}

TEST(BrixQuery, ShowsTheFullHeader) {
    const BrixDirectory directory;
    InstrumentPeer peer(Replying(18, FrequencyAnswer));
    const ToolResult result = directory.Run({"query", Brix(peer), "FREQ?", "--full-header"});
    EXPECT_EQ(result.exitCode, 0) << result.error;
    EXPECT_THAT(result.output, testing::StartsWith("FREQ ( Signature="));
    EXPECT_THAT(result.output, testing::EndsWith(" ) ? 1.5\n"));
}

TEST(BrixQuery, ShowsBodiesAsNumbers) {
    const BrixDirectory directory;
    InstrumentPeer peer(Replying(16, "AA551300000002000000000000000000 1234"));
    EXPECT_THAT(directory.Run({"query", Brix(peer), "TRIGGER", "--decode-mode", "1"}).output,
                testing::EndsWith(" 0x12 0x34\n"));
}

TEST(BrixQuery, PrintsTheBlockBehindTheLine) {
    const BrixDirectory directory;
    const std::string curve = "AA550600000006000000000000000000 0A0102030000";
    InstrumentPeer peer(Replying(16, curve));
    const ToolResult result = directory.Run({"query", Brix(peer), "CURVE", "--decode-mode", "2"});
    EXPECT_EQ(result.exitCode, 0) << result.error;
    EXPECT_THAT(result.output, testing::StartsWith("CURVE ("));
    EXPECT_THAT(result.output, testing::EndsWith(")\n#14\n\x01\x02\x03\n"));

    InstrumentPeer again(Replying(16, curve));
    const ToolResult block = directory.Run({"query", Brix(again), "CURVE", "--decode-mode", "2",
                                            "--block", "-o", directory.File("curve")});
    EXPECT_EQ(block.exitCode, 0) << block.error;
    EXPECT_EQ(FileContents(directory.File("curve")), "\n\x01\x02\x03");
}

TEST(BrixQuery, TakesTheLargestBlock) {
    const BrixDirectory directory;
    const std::string data(65532, '\n');
    InstrumentPeer peer([&data](PeerConnection& connection) {
        connection.ReadBytes(16);
        connection.Send(ParseHex("AA5506000000FEFF0000000000000000") + data + std::string(2, '\0'));
    });
    const ToolResult result = directory.Run({"query", Brix(peer), "CURVE", "--decode-mode", "2",
                                             "--block", "-o", directory.File("curve")});
    EXPECT_EQ(result.exitCode, 0) << result.error;
    EXPECT_TRUE(FileContents(directory.File("curve")) == data);
}

TEST(BrixQuery, SaysThatNoBlockFollows) {
    const BrixDirectory directory;
    InstrumentPeer peer(Replying(18, FrequencyAnswer));
    const ToolResult result =
        directory.Run({"query", Brix(peer), "FREQ?", "--decode-mode", "2", "--block"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.output, "");
    EXPECT_THAT(result.error, HasSubstr("no block follows the answer \"FREQ ? 1.5\\n\""));
}

TEST(BrixQuery, PassesBytesAsTheyAre) {
    const BrixDirectory directory;
    InstrumentPeer peer([](PeerConnection& connection) {
        connection.ReadBytes(5);
        connection.Send("one\ntwo");
    });
    const ToolResult result = directory.Run(
        {"query", Brix(peer), "FREQ?", "--raw", "--eol", "none", "--timeout", "1000"});
    EXPECT_EQ(result.exitCode, 0) << result.error;
    EXPECT_EQ(result.output, "one\ntwo\n");
}

TEST(BrixQuery, TimesOut) {
    const BrixDirectory directory;
    InstrumentPeer peer(Replying(18, "AA55"));
    const ToolResult result = directory.Run({"query", Brix(peer), "FREQ?", "--timeout", "500"});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_EQ(result.output, "");
}

TEST(BrixQuery, SaysWhichFileIsMissing) {
    const TemporaryDirectory empty;
    ToolStreams streams;
    streams.directory = empty.File("");
    InstrumentPeer peer([](PeerConnection&) {});
    const ToolResult result = RunTool({"query", Brix(peer), "FREQ?"}, streams);
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.error, HasSubstr("VI_ERROR_LIBRARY_NFOUND"));
    EXPECT_THAT(result.error, HasSubstr("needs libProtoDesc.so.1.0.0 and Protocol.xml in the "
                                        "directory it is opened in"));

    const BrixDirectory nameless("");
    InstrumentPeer other([](PeerConnection&) {});
    const ToolResult refused = nameless.Run({"query", Brix(other), "FREQ?"});
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_THAT(refused.error, HasSubstr("VI_ERROR_INP_PROT_VIOL"));
    EXPECT_THAT(refused.error,
                HasSubstr("hint: names come from the Protocol.xml of this directory: the protocol "
                          "description cannot be read"));
}

TEST(BrixQuery, SaysWhatIsWrongWithTheProtocol) {
    const BrixDirectory directory("<protocol version=\"1\">\n<frob/>\n</protocol>\n");
    InstrumentPeer peer([](PeerConnection&) {});
    EXPECT_THAT(directory.Run({"query", Brix(peer), "FREQ?"}).error,
                HasSubstr("names come from the Protocol.xml of this directory: line 2: "));
}

TEST(BrixQuery, PointsToTheEncoderForALineThatIsNotUnderstood) {
    const BrixDirectory directory;
    InstrumentPeer peer([](PeerConnection&) {});
    EXPECT_THAT(directory.Run({"query", Brix(peer), "BOGUS?"}).error,
                HasSubstr("hint: 'uxvisa brix encode' says what is wrong with a line"));
}

TEST(BrixQuery, OptionsAreForTheProtocolOnly) {
    InstrumentPeer peer([](PeerConnection&) {});
    const ToolResult result = RunTool({"query", peer.Resource(), "V?", "--decode-mode", "1"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.error, HasSubstr("--decode-mode: "));
    EXPECT_THAT(result.error, HasSubstr("hint: --decode-mode is for resources with ::BRIX"));
}

TEST(BrixEncode, ShowsThePacketFieldByField) {
    const BrixDirectory directory;
    const ToolResult result = directory.Run({"brix", "encode", "freq = 1.5"});
    EXPECT_EQ(result.exitCode, 0) << result.error;
    EXPECT_EQ(result.output,
              "00000000  AA 55 03 00 00 80 06 00 01 42 00 00 00 00 00 00  .U.......B......\n"
              "00000010  01 00 00 80 01 00                                ......\n"
              "\n"
              "Offset  Bytes        Field      Meaning\n"
              "0       AA 55        Signature  0x55AA\n"
              "2       03 00        Command    3 SET: sets a parameter\n"
              "4       00 80        Status     0x8000 REQUEST: a request, not an answer\n"
              "6       06 00        BodyLen    6\n"
              "8       01           FlagA      1 value\n"
              "9       42           FlagB      4 bytes a value, 2 of them fraction\n"
              "10      00 00        Dummy      0\n"
              "12      00 00 00 00  Unused\n"
              "16      01 00        Parameter  1 FREQ\n"
              "18      00 80 01 00  Value 1    1.5\n"
              "\n"
              "FREQ = 1.5\n");
}

TEST(BrixEncode, GivesTheBytesAlone) {
    const BrixDirectory directory;
    EXPECT_EQ(directory.Run({"brix", "encode", "--raw-output", "FREQ=1.5"}).output,
              ParseHex(SetFrequency));
}

TEST(BrixEncode, GivesJson) {
    const BrixDirectory directory;
    const auto json =
        nlohmann::json::parse(directory.Run({"brix", "encode", "CHANNEL=5", "--json"}).output);
    EXPECT_EQ(json["length"], 20);
    EXPECT_EQ(json["line"], "CHANNEL ( BodyLen=4 FlagA=0x01 ) = 5 0");
    const auto& last = json["fields"].back();
    EXPECT_EQ(last["offset"], 19);
    EXPECT_EQ(last["hex"], "00");
}

TEST(BrixEncode, SaysWhatItDoesNotUnderstand) {
    const BrixDirectory directory;
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"FREK=1", "\"FREK=1\": the protocol has no parameter FREK\n"},
        {"frek (id=1)?", "the protocol has no parameter FREK\n"},
        {"FREQ", "\"FREQ\": the protocol has no command FREQ\nhint: a parameter needs a '='"},
        {"FREQ=1,2", "a value or a header field is not understood\nhint: values are numbers"},
        {"FREQ ( )=1", "a value or a header field is not understood"},
        {"FREQ (id=1=1", "the header fields have no ')'"},
        {"=1", "the line does not begin with a name"},
        {"", "the line does not begin with a name"},
    };
    for (const auto& [line, text] : cases) {
        const ToolResult result = directory.Run({"brix", "encode", line});
        EXPECT_EQ(result.exitCode, 1) << line;
        EXPECT_EQ(result.output, "") << line;
        EXPECT_THAT(result.error, HasSubstr(text)) << line;
    }
    EXPECT_EQ(directory.Run({"brix", "encode", "FREQ=1\nFREQ?"}).exitCode, 2);
}

TEST(BrixEncode, NeedsAProtocolWithoutFaults) {
    const BrixDirectory directory("<protocol version=\"1\">\n<frob/>\n</protocol>\n");
    const ToolResult faulty = directory.Run({"brix", "encode", "FREQ?"});
    EXPECT_EQ(faulty.exitCode, 1);
    EXPECT_THAT(faulty.error, HasSubstr("uxvisa: Protocol.xml: line 2: "));
    const ToolResult missing = directory.Run({"brix", "encode", "FREQ?", "--protocol", "none.xml"});
    EXPECT_EQ(missing.exitCode, 1);
    EXPECT_THAT(missing.error,
                HasSubstr("uxvisa: none.xml: the protocol description cannot be read\nhint: "));
    EXPECT_EQ(
        directory
            .Run({"brix", "encode", "FREQ?", "--protocol", UXVISA_EXAMPLE_PROTOCOL, "--raw-output"})
            .output,
        ParseHex(AskFrequency));
}

TEST(BrixDecode, TakesTheBytesInOneWordOrInMany) {
    const BrixDirectory directory;
    const ToolResult one = directory.Run({"brix", "decode", FrequencyAnswer});
    EXPECT_EQ(one.exitCode, 0) << one.error;
    EXPECT_THAT(one.output, testing::EndsWith("\nFREQ ? 1.5\n"));
    const ToolResult many = directory.Run({"brix", "decode", "0xAA", "55", "0400", "0000", "0600",
                                           "01420000", "00000000", "0100", "00800100"});
    EXPECT_EQ(many.output, one.output);
    WriteFile(directory.File("hex"), std::string(FrequencyAnswer) + "\n");
    ToolStreams streams;
    streams.inputPath = directory.File("hex");
    EXPECT_EQ(directory.Run({"brix", "decode", "-"}, streams).output, one.output);
}

TEST(BrixDecode, ShowsBlocksTextsAndStatuses) {
    const BrixDirectory directory;
    const std::string block =
        directory.Run({"brix", "decode", "AA550600000006000000000000000000 0A0102030580"}).output;
    EXPECT_THAT(block, HasSubstr("16      0A 01 02 03  Data        4 bytes\n"));
    EXPECT_THAT(block, HasSubstr("20      05 80        BodyStatus  0x8005 BODY_TOO_SHORT: body"));
    const std::string text =
        directory.Run({"brix", "decode", "AA550400000005000000000000000000 0A0041420A"}).output;
    EXPECT_THAT(text, HasSubstr("Parameter  10 IDENTITY\n"));
    EXPECT_THAT(text, HasSubstr("41 42 0A     Text       \"AB\\n\"\n"));
}

TEST(BrixDecode, ShowsNumbersWithoutNames) {
    const BrixDirectory unknown;
    const ToolResult result =
        unknown.Run({"brix", "decode", "AA550400345603000111000000000000 770005"});
    EXPECT_EQ(result.exitCode, 0) << result.error;
    EXPECT_THAT(result.output, HasSubstr("0x5634\n"));
    EXPECT_THAT(result.output, HasSubstr("119, not in the protocol\n"));
    const TemporaryDirectory empty;
    ToolStreams streams;
    streams.directory = empty.File("");
    const ToolResult nameless = RunTool({"brix", "decode", FrequencyAnswer}, streams);
    EXPECT_EQ(nameless.exitCode, 0);
    EXPECT_THAT(nameless.error, HasSubstr("there is no Protocol.xml here"));
    EXPECT_THAT(nameless.output, HasSubstr("1, not in the protocol"));
}

TEST(BrixDecode, ShowsWhatIsNoPacketAndSaysWhy) {
    const BrixDirectory directory;
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"AA", "a packet has at least 16 bytes, here are 1\n"},
        {"AA5504000000060001420000000000", "a packet has at least 16 bytes, here are 15\n"},
        {"55AA0400000000000000000000000000", "the signature is 0xAA55; a packet begins with AA 55"},
        {"AA550400000006000142000000000000 0100",
         "the header announces a body of 6 bytes, here are 2\n"},
        {std::string(FrequencyAnswer) + "FF", "1 byte behind the end of the packet\n"},
    };
    for (const auto& [hex, text] : cases) {
        const ToolResult result = directory.Run({"brix", "decode", hex});
        EXPECT_EQ(result.exitCode, 1) << hex;
        EXPECT_THAT(result.output, HasSubstr("Offset  Bytes")) << hex;
        EXPECT_THAT(result.error, HasSubstr(text)) << hex;
    }
}

TEST(BrixDecode, RefusesWhatIsNoHexadecimalText) {
    const BrixDirectory directory;
    for (const auto* hex : {"AAG0", "AA5", "0x"}) {
        const ToolResult result = directory.Run({"brix", "decode", hex});
        EXPECT_EQ(result.exitCode, 2) << hex;
        EXPECT_EQ(result.output, "") << hex;
        EXPECT_THAT(result.error, HasSubstr("hint: write bytes as")) << hex;
    }
}

// Every length of every packet, and every byte of one, without a crash.
TEST(BrixDecode, TakesAnyBytes) {
    const BrixDirectory directory;
    for (const auto* hex :
         {"AA550300000000000000000000000000", "AA5503000000FFFFFFFF000000000000 0A00",
          "AA550300000001000000000000000000 0A",
          "AA5503000000090003F0000000000000 "
          "010011223344556677",
          "AA550600000001000000000000000000 00", "AA550600000000000000000000000000",
          "FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFF"}) {
        const ToolResult result = directory.Run({"brix", "decode", hex});
        EXPECT_LE(result.exitCode, 1) << hex << result.error;
        EXPECT_THAT(result.output, HasSubstr("Signature")) << hex;
    }
}

TEST(BrixDecode, ColoursOnATerminalOnly) {
    const BrixDirectory directory;
    const auto shown = [&directory] {
        Terminal terminal;
        ToolStreams streams;
        streams.output = terminal.Slave();
        directory.Run({"brix", "decode", FrequencyAnswer}, streams);
        return terminal.Text();
    };
    ::setenv("TERM", "xterm", 1);
    ::unsetenv("NO_COLOR");
    EXPECT_THAT(shown(), HasSubstr("\x1B[36mAA\x1B[0m"));
    EXPECT_THAT(directory.Run({"brix", "decode", FrequencyAnswer}).output, Not(HasSubstr("\x1B")));
    ::setenv("NO_COLOR", "1", 1);
    EXPECT_THAT(shown(), Not(HasSubstr("\x1B")));
    ::unsetenv("NO_COLOR");
    ::setenv("TERM", "dumb", 1);
    EXPECT_THAT(shown(), Not(HasSubstr("\x1B")));
}

TEST(BrixHelp, NamesWhatThereIs) {
    const std::string help = RunTool({"brix", "--help"}).output;
    EXPECT_THAT(help, HasSubstr("encode"));
    EXPECT_THAT(help, HasSubstr("decode"));
    const ToolResult nothing = RunTool({"brix"});
    EXPECT_EQ(nothing.exitCode, 2);
    EXPECT_EQ(nothing.error, "uxvisa: a command is missing\nhint: see 'uxvisa brix --help'\n");
    EXPECT_EQ(RunTool({"brix", "encode"}).error,
              "uxvisa: LINE is required\nhint: see 'uxvisa brix encode --help'\n");
}
