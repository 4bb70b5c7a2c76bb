// The tool and the emulator as a user starts them.
#include <gmock/gmock.h>

#include <filesystem>
#include <string>

#include "tools/EmulatorProcess.h"
#include "tools/TemporaryDirectory.h"
#include "tools/ToolRun.h"

TEST(EmulatedInstrument, AnswersOneQueryAfterTheOther) {
    const Emulator emulator({});
    for (int i = 0; i < 3; ++i) {
        const ToolResult result = RunTool({"query", emulator.Resource(), "*IDN?"});
        EXPECT_EQ(result.exitCode, 0) << result.error;
        EXPECT_THAT(result.output, testing::MatchesRegex("[^,]+,[^,]+,[^,]+,[^,]+\n"));
    }
}

TEST(EmulatedInstrument, SendsACurveOfTheLengthAskedFor) {
    const TemporaryDirectory directory;
    const Emulator emulator({"--curve-length", "2000000"});
    const ToolResult result =
        RunTool({"query", emulator.Resource(), "CURV?", "--block", "-o", directory.File("curve")});
    EXPECT_EQ(result.exitCode, 0) << result.error;
    EXPECT_EQ(std::filesystem::file_size(directory.File("curve")), 2000000U);
}

TEST(EmulatedInstrument, TakesAWriteAndQueuesTheErrorOfABadOne) {
    const Emulator emulator({});
    EXPECT_EQ(RunTool({"write", emulator.Resource(), "*RST"}).exitCode, 0);
    EXPECT_EQ(RunTool({"query", emulator.Resource(), "SYST:ERR?"}).output, "0,\"No error\"\n");
    EXPECT_EQ(RunTool({"query", emulator.Resource(), "BOGUS?", "--timeout", "300"}).exitCode, 3);
    EXPECT_THAT(RunTool({"query", emulator.Resource(), "SYST:ERR?"}).output,
                testing::StartsWith("-113,"));
}

// The library closes a local socket only after its peer did.
TEST(EmulatedInstrument, AnswersOnALocalSocket) {
    const TemporaryDirectory directory;
    const std::string path = directory.File("socket");
    const Emulator emulator({"--usock", path, "--idle-drop", "300"});
    const std::string resource = "USOCK::" + path + "::SOCKET";
    for (int i = 0; i < 2; ++i) {
        const ToolResult result = RunTool({"query", resource, "*IDN?"});
        EXPECT_EQ(result.exitCode, 0) << result.error;
        EXPECT_THAT(result.output, testing::MatchesRegex("[^,]+,[^,]+,[^,]+,[^,]+\n"));
    }
    const ToolResult curve = RunTool(
        {"query", resource, "CURV:LENG 200000;:CURV?", "--block", "-o", directory.File("curve")});
    EXPECT_EQ(curve.exitCode, 0) << curve.error;
    EXPECT_EQ(std::filesystem::file_size(directory.File("curve")), 200000U);
}
