#include <gmock/gmock.h>

#include <string>

#include "tools/ToolRun.h"

using testing::HasSubstr;

TEST(Usage, PrintsTheVersion) {
    const ToolResult result = RunTool({"--version"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.output, "uxvisa " UXVISA_VERSION "\n");
    EXPECT_EQ(result.error, "");
}

TEST(Usage, HelpNamesEveryCommandAndCommonOption) {
    const ToolResult result = RunTool({"--help"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.error, "");
    for (const auto* word :
         {"Usage: uxvisa [OPTIONS] COMMAND", "  query ", "  write ", "  read ", "  monitor ",
          "  brix ", "  find ", "  info ", "  status ", "--timeout MS", "--termchar on|off",
          "--eol lf|crlf|none", "--json", "--time",
          "Examples:\n  uxvisa query TCPIP::", "Exit status: 0 done"}) {
        EXPECT_THAT(result.output, HasSubstr(word));
    }
}

TEST(Usage, HelpOfACommandHasItsOptionsAndTheCommonOnes) {
    const ToolResult result = RunTool({"read", "--help"});
    EXPECT_EQ(result.exitCode, 0);
    for (const auto* word : {"Usage: uxvisa read [OPTIONS] RSRC", "--count N", "--block",
                             "-o,--output FILE", "--timeout MS", "Examples:\n  uxvisa read"}) {
        EXPECT_THAT(result.output, HasSubstr(word));
    }
}

TEST(Usage, HelpSaysWhatTerminationCharacterOffMeans) {
    EXPECT_THAT(RunTool({"query", "--help"}).output,
                HasSubstr("With --termchar off it is all that\n"
                          "arrives until the instrument has been silent for --timeout."));
}

TEST(Usage, HelpFitsATerminal) {
    for (const auto* command :
         {"query", "write", "read", "monitor", "brix", "find", "info", "status"}) {
        const std::string help = RunTool({command, "--help"}).output;
        for (std::size_t start = 0; start < help.size();) {
            const std::size_t end = help.find('\n', start);
            EXPECT_LE(end - start, 92U) << help.substr(start, end - start);
            start = end + 1;
        }
    }
}

TEST(Usage, ErrorsGoToStandardErrorWithAHint) {
    const ToolResult result = RunTool({"query", "R"});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.error, "uxvisa: CMD is required\nhint: see 'uxvisa query --help'\n");
}

TEST(Usage, AnUnquotedCommandIsPointedOut) {
    const ToolResult result = RunTool({"query", "R", "VOLT", "3.3"});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(result.error, "uxvisa: unexpected argument '3.3'\n"
                            "hint: a command with blanks needs quotes, one that begins with '-' "
                            "needs -- before it; see 'uxvisa query --help'\n");
}

TEST(Usage, NothingAtAllIsAnError) {
    const ToolResult result = RunTool({});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.error, "uxvisa: a command is missing\nhint: see 'uxvisa --help'\n");
}
