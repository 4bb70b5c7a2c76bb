#include <gtest/gtest.h>

#include <string>

#include "tools/InstrumentPeer.h"
#include "tools/TemporaryDirectory.h"
#include "tools/ToolRun.h"

namespace {

// Long enough for any machine to answer, short enough to wait for in a test.
constexpr char Soon[] = "1000";

std::string TimeOutText(const InstrumentPeer& peer) {
    return "uxvisa: " + peer.Resource() +
           ": Timeout expired before operation completed (VI_ERROR_TMO, 0xBFFF0015)\n";
}

} // namespace

TEST(Query, PrintsTheAnswer) {
    InstrumentPeer peer(Answering("ACME,42,0,1.0\n"));
    const ToolResult result = RunTool({"query", peer.Resource(), "*IDN?"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.output, "ACME,42,0,1.0\n");
    EXPECT_EQ(result.error, "");
}

TEST(Query, SendsTheCommandWithALineFeed) {
    std::string received;
    InstrumentPeer peer([&received](PeerConnection& connection) {
        received = connection.ReadLine();
        connection.Send("1\n");
    });
    RunTool({"query", peer.Resource(), "MEAS:VOLT? (@101)"});
    EXPECT_EQ(peer.Rest(), "");
    EXPECT_EQ(received, "MEAS:VOLT? (@101)\n");
}

TEST(Query, ReplacesCarriageReturnAndLineFeed) {
    InstrumentPeer peer(Answering("+1.0E0\r\n"));
    EXPECT_EQ(RunTool({"query", peer.Resource(), "V?"}).output, "+1.0E0\n");
}

TEST(Query, PrintsAnEmptyAnswer) {
    InstrumentPeer peer(Answering("\n"));
    const ToolResult result = RunTool({"query", peer.Resource(), "V?"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.output, "\n");
}

TEST(Query, PrintsBytesAsTheyAre) {
    const std::string bytes("\0\xB5\xFF\x1B", 4);
    InstrumentPeer peer(Answering(bytes + "\n"));
    EXPECT_EQ(RunTool({"query", peer.Resource(), "V?"}).output, bytes + "\n");
}

TEST(Query, StopsAtTheFirstLineFeed) {
    InstrumentPeer peer(Answering("one\ntwo\n"));
    EXPECT_EQ(RunTool({"query", peer.Resource(), "V?"}).output, "one\n");
}

TEST(Query, ReadsLinesOfAnyLength) {
    for (const std::size_t length : {65535UL, 65536UL, 65537UL, 1000000UL}) {
        const std::string line(length, 'x');
        InstrumentPeer peer(Answering(line + "\r\n"));
        const ToolResult result = RunTool({"query", peer.Resource(), "TRAC?"});
        EXPECT_EQ(result.exitCode, 0);
        EXPECT_TRUE(result.output == line + "\n") << length << ": " << result.output.size();
    }
}

TEST(Query, WaitsNoLongerThanTheTimeout) {
    InstrumentPeer peer(Answering(""));
    const ToolResult result = RunTool({"query", peer.Resource(), "V?", "--timeout", Soon});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.error,
              TimeOutText(peer) +
                  "hint: raise --timeout (now 1000), try another --eol, or check the command: an "
                  "instrument is silent when it does not understand\n");
    EXPECT_GE(result.seconds, 1.0);
    EXPECT_LT(result.seconds, 5);
}

TEST(Query, PrintsAPartialAnswerBeforeTheTimeOut) {
    InstrumentPeer peer(Answering("+1.2"));
    const ToolResult result = RunTool({"query", peer.Resource(), "V?", "--timeout", Soon});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_EQ(result.output, "+1.2\n");
    EXPECT_EQ(result.error,
              TimeOutText(peer) +
                  "hint: the answer has begun but not ended: raise --timeout (now 1000), or give "
                  "--termchar off if its lines do not end in a line feed\n");
}

TEST(Query, PointsAtACommandThatHasNoAnswer) {
    InstrumentPeer peer(Answering(""));
    const ToolResult result = RunTool({"query", peer.Resource(), "*RST", "--timeout", Soon});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_EQ(result.error, TimeOutText(peer) +
                                "hint: the command has no '?', so it may have no answer: use "
                                "'uxvisa write', or raise --timeout (now 1000)\n");
}

TEST(Query, WithoutTerminationCharacterTakesAllUntilSilence) {
    InstrumentPeer peer([](PeerConnection& connection) {
        connection.ReadLine();
        connection.Send("one\ntwo");
    });
    const ToolResult result =
        RunTool({"query", peer.Resource(), "V?", "--termchar", "off", "--timeout", Soon});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.output, "one\ntwo\n");
    EXPECT_EQ(result.error, "");
    EXPECT_GE(result.seconds, 1.0);
}

TEST(Query, WithoutTerminationCharacterStillFailsOnSilence) {
    InstrumentPeer peer(Answering(""));
    const ToolResult result =
        RunTool({"query", peer.Resource(), "V?", "--termchar", "off", "--timeout", Soon});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_EQ(result.output, "");
}

TEST(Query, WritesTheBytesOfTheAnswerToAFile) {
    const TemporaryDirectory directory;
    InstrumentPeer peer(Answering("abc\r\n"));
    const ToolResult result =
        RunTool({"query", peer.Resource(), "V?", "-o", directory.File("answer")});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(FileContents(directory.File("answer")), "abc\r\n");
}

TEST(Query, TellsTimeAndRate) {
    InstrumentPeer peer(Answering("0123456789\n"));
    const ToolResult result = RunTool({"query", peer.Resource(), "V?", "--time"});
    EXPECT_EQ(result.output, "0123456789\n");
    const std::string lead = "uxvisa: " + peer.Resource() + ": ";
    ASSERT_EQ(result.error.substr(0, lead.size()), lead);
    double milliseconds = 0;
    double rate = 0;
    char unit[8] = {};
    ASSERT_EQ(std::sscanf(result.error.c_str() + lead.size(), "%lf ms, 11 bytes, %lf %7[A-Za-z/]\n",
                          &milliseconds, &rate, unit),
              3)
        << result.error;
    EXPECT_GT(milliseconds, 0);
    EXPECT_GT(rate, 0);
}
