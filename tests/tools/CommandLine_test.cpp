#include "tools/uxvisa/CommandLine.h"

#include <gtest/gtest.h>

#include <vector>

#include "tools/uxvisa/Failure.h"

using namespace uxvisa::tool;

namespace {

using Words = std::vector<const char*>;

Options Parsed(Words words) {
    words.insert(words.begin(), "uxvisa");
    return ParseCommandLine(static_cast<int>(words.size()), words.data()).options;
}

std::string Complaint(const Words& words) {
    try {
        Parsed(words);
        return "";
    } catch (const Failure& failure) {
        EXPECT_EQ(failure.Code(), ExitUsage);
        return failure.what();
    }
}

} // namespace

TEST(CommandLine, HasTheDefaultsOfAnOrdinaryInstrument) {
    const Options options = Parsed({"query", "R", "*IDN?"});
    EXPECT_EQ(options.resource, "R");
    EXPECT_EQ(options.command, "*IDN?");
    EXPECT_EQ(options.timeoutMs, 5000U);
    EXPECT_TRUE(options.termChar);
    EXPECT_EQ(options.eol, "\n");
    EXPECT_FALSE(options.block || options.json || options.time || options.count);
    EXPECT_EQ(options.outputFile, "");
}

TEST(CommandLine, TakesOptionsBeforeBetweenAndBehind) {
    for (const Words& words :
         {Words{"--timeout", "9", "query", "R", "C"}, Words{"query", "--timeout", "9", "R", "C"},
          Words{"query", "R", "--timeout", "9", "C"}, Words{"query", "R", "C", "--timeout=9"}}) {
        const Options options = Parsed(words);
        EXPECT_EQ(options.timeoutMs, 9U);
        EXPECT_EQ(options.resource + options.command, "RC");
    }
}

TEST(CommandLine, TakesTheLineEnds) {
    EXPECT_EQ(Parsed({"write", "R", "C", "--eol", "lf"}).eol, "\n");
    EXPECT_EQ(Parsed({"write", "R", "C", "--eol", "crlf"}).eol, "\r\n");
    EXPECT_EQ(Parsed({"write", "R", "C", "--eol", "none"}).eol, "");
    EXPECT_EQ(Parsed({"write", "R", "C", "--eol", "CRLF"}).eol, "\r\n");
}

TEST(CommandLine, TakesTheTerminationCharacter) {
    EXPECT_FALSE(Parsed({"read", "R", "--termchar", "off"}).termChar);
    EXPECT_TRUE(Parsed({"read", "R", "--termchar", "on"}).termChar);
    EXPECT_FALSE(Parsed({"read", "R", "--termchar", "OFF"}).termChar);
    EXPECT_TRUE(Parsed({"read", "R", "--termchar", "ON"}).termChar);
}

TEST(CommandLine, TakesTheWholeRangeOfNumbers) {
    EXPECT_EQ(Parsed({"read", "R", "--timeout", "0"}).timeoutMs, 0U);
    EXPECT_EQ(Parsed({"read", "R", "--timeout", "4294967295"}).timeoutMs, 4294967295U);
    EXPECT_EQ(Parsed({"read", "R", "--count", "9223372036854775807"}).count,
              std::uint64_t{9223372036854775807U});
}

TEST(CommandLine, ReadsNumbersAsDecimal) {
    EXPECT_EQ(Parsed({"read", "R", "--count", "0100"}).count, 100U);
    EXPECT_EQ(Complaint({"read", "R", "--count", "0x10"}),
              "--count: '0x10' is not a whole number from 1 to 9223372036854775807");
}

TEST(CommandLine, RefusesNumbersOutOfRange) {
    for (const auto* text : {"-1", "4294967296", "5s", "", "1.5", " 1", "99999999999999999999"}) {
        EXPECT_EQ(Complaint({"read", "R", "--timeout", text}),
                  std::string("--timeout: '") + text +
                      "' is not a whole number from 0 to 4294967295");
    }
    EXPECT_NE(Complaint({"read", "R", "--count", "0"}), "");
}

TEST(CommandLine, TakesACommandThatIsAlsoAWordOfItsOwn) {
    EXPECT_EQ(Parsed({"query", "R", "status"}).command, "status");
    EXPECT_EQ(Parsed({"write", "query", "write"}).resource, "query");
}

TEST(CommandLine, TakesCommandsThatLookLikeSomethingElse) {
    for (const auto* command : {"*IDN?", ":MEAS:VOLT?", "-5", "[1,2]", "a b", "{x}", "\"q\"", "a=b",
                                "%s", "/x", "#0", "'"}) {
        EXPECT_EQ(Parsed({"query", "R", command}).command, command);
    }
}

TEST(CommandLine, TakesAnEmptyCommand) {
    EXPECT_EQ(Parsed({"write", "R", ""}).command, "");
}

TEST(CommandLine, TakesACommandWithADashBehindTwoDashes) {
    EXPECT_EQ(Parsed({"query", "R", "--", "--json"}).command, "--json");
    EXPECT_EQ(Parsed({"query", "--time", "--", "R", "-x"}).command, "-x");
}

TEST(CommandLine, NamesTheFirstWordThatHasNoPlace) {
    EXPECT_EQ(Complaint({"query", "R", "VOLT", "3.3", "V"}), "unexpected argument '3.3'");
    EXPECT_EQ(Complaint({"frob"}), "unexpected argument 'frob'");
    EXPECT_EQ(Complaint({"query", "R", "--frob"}), "unexpected argument '--frob'");
    EXPECT_EQ(Complaint({"query", "R", "C", "--count", "4"}), "unexpected argument '--count'");
    EXPECT_EQ(Complaint({"write", "R", "C", "-o", "f"}), "unexpected argument '-o'");
    EXPECT_EQ(Complaint({"status", "1", "--block"}), "unexpected argument '--block'");
}

TEST(CommandLine, SaysWhatIsMissing) {
    EXPECT_EQ(Complaint({}), "a command is missing");
    EXPECT_EQ(Complaint({"--json"}), "a command is missing");
    EXPECT_EQ(Complaint({"query", "R"}), "CMD is required");
    EXPECT_EQ(Complaint({"read"}), "RSRC is required");
    EXPECT_EQ(Complaint({"status"}), "CODE is required");
    EXPECT_EQ(Complaint({"query", "R", "C", "--timeout"}), "--timeout: 1 required MS missing");
}

TEST(CommandLine, TakesASearch) {
    EXPECT_EQ(Parsed({"find"}).expression, "?*");
    EXPECT_EQ(Parsed({"find", ""}).expression, "");
    for (const auto* expression : {"KX10", "?*[T,E][R,T]", "[A,B]", "?*::SOCKET"}) {
        EXPECT_EQ(Parsed({"find", expression}).expression, expression);
    }
    EXPECT_EQ(Complaint({"find", "A", "B"}), "unexpected argument 'B'");
}

TEST(CommandLine, TakesAResourceToTellAbout) {
    EXPECT_EQ(Parsed({"info", "R"}).resource, "R");
    EXPECT_FALSE(Parsed({"info", "R"}).noOpen);
    EXPECT_TRUE(Parsed({"info", "--no-open", "R"}).noOpen);
    EXPECT_EQ(Complaint({"info"}), "RSRC is required");
    EXPECT_EQ(Complaint({"query", "R", "C", "--no-open"}), "unexpected argument '--no-open'");
}

TEST(CommandLine, TakesWhatSetsUpASession) {
    for (const Words& command :
         {Words{"query", "R", "C"}, Words{"write", "R", "C"}, Words{"read", "R"}}) {
        EXPECT_FALSE(Parsed(command).hook || Parsed(command).fullHeader || Parsed(command).raw);
        Words words = command;
        words.insert(words.end(),
                     {"--hook", "--baud", "9600", "--full-header", "--decode-mode", "2", "--raw"});
        const Options options = Parsed(words);
        EXPECT_TRUE(options.hook && options.fullHeader && options.raw);
        EXPECT_EQ(options.baud, 9600U);
        EXPECT_EQ(options.decodeMode, 2U);
    }
    EXPECT_EQ(Complaint({"read", "R", "--baud", "0"}),
              "--baud: '0' is not a whole number from 1 to 4294967295");
    EXPECT_EQ(Complaint({"info", "R", "--hook"}), "unexpected argument '--hook'");
}

TEST(CommandLine, TakesAMonitor) {
    EXPECT_EQ(Parsed({"monitor", "R"}).resource, "R");
    EXPECT_TRUE(Parsed({"monitor", "R", "--hex"}).hex);
    EXPECT_EQ(Complaint({"monitor"}), "RSRC is required");
}

TEST(CommandLine, TakesPackets) {
    EXPECT_EQ(Parsed({"brix", "encode", "FREQ=1"}).command, "FREQ=1");
    EXPECT_EQ(Parsed({"brix", "encode", "A", "--protocol", "f"}).protocolFile, "f");
    EXPECT_EQ(Parsed({"brix", "decode", "AA", "55"}).packet, "AA 55");
    EXPECT_EQ(Parsed({"brix", "decode", "-"}).packet, "-");
    EXPECT_EQ(Complaint({"brix", "frob"}), "unexpected argument 'frob'");
    EXPECT_EQ(Complaint({"brix"}), "a command is missing");
}

TEST(CommandLine, RefusesWhatDoesNotGoTogether) {
    EXPECT_EQ(Complaint({"read", "R", "--block", "--count", "3"}), "--block excludes --count");
}

TEST(CommandLine, RefusesUnknownChoices) {
    EXPECT_EQ(Complaint({"read", "R", "--termchar", "maybe"}), "--termchar: maybe not in {on,off}");
    EXPECT_EQ(Complaint({"write", "R", "C", "--eol", "cr"}), "--eol: cr not in {lf,crlf,none}");
}

TEST(CommandLine, KnowsEarlyWhetherJsonIsWanted) {
    const Words json{"uxvisa", "query", "--json", "--bogus"};
    EXPECT_TRUE(AsksForJson(static_cast<int>(json.size()), json.data()));
    const Words text{"uxvisa", "query", "R", "json"};
    EXPECT_FALSE(AsksForJson(static_cast<int>(text.size()), text.data()));
    const Words command{"uxvisa", "query", "R", "--", "--json"};
    EXPECT_FALSE(AsksForJson(static_cast<int>(command.size()), command.data()));
}
