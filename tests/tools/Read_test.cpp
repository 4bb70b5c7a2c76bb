#include <gtest/gtest.h>

#include <string>

#include "tools/InstrumentPeer.h"
#include "tools/TemporaryDirectory.h"
#include "tools/ToolRun.h"

namespace {

// What the instrument sends of its own accord.
InstrumentPeer::Script Sending(const std::string& data) {
    return [data](PeerConnection& connection) { connection.Send(data); };
}

constexpr char Soon[] = "1000";

} // namespace

TEST(Read, PrintsALineAndSendsNothing) {
    InstrumentPeer peer(Sending("+7\r\n+8\r\n"));
    const ToolResult result = RunTool({"read", peer.Resource()});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.output, "+7\n");
    EXPECT_EQ(peer.Rest(), "");
}

TEST(Read, CountsBytesAndLeavesThemAsTheyAre) {
    InstrumentPeer peer(Sending("abcdefgh\n"));
    const ToolResult result = RunTool({"read", peer.Resource(), "--count", "5"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.output, "abcde");
}

TEST(Read, CountIsEndedByALineFeedThatIsKept) {
    InstrumentPeer peer(Sending("abc\r\ndef"));
    const ToolResult result = RunTool({"read", peer.Resource(), "--count", "100"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.output, "abc\r\n");
}

TEST(Read, CountGoesPastLineFeedsWithoutTerminationCharacter) {
    InstrumentPeer peer(Sending("a\nb\nc\n"));
    const ToolResult result =
        RunTool({"read", peer.Resource(), "--count", "5", "--termchar", "off"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.output, "a\nb\nc");
}

TEST(Read, CountThatIsNotReachedIsATimeOut) {
    InstrumentPeer peer(Sending("abc"));
    const ToolResult result =
        RunTool({"read", peer.Resource(), "--count", "10", "--timeout", Soon});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_EQ(result.output, "abc");
    EXPECT_EQ(result.error,
              "uxvisa: " + peer.Resource() +
                  ": Timeout expired before operation completed, 3 of 10 bytes arrived "
                  "(VI_ERROR_TMO, 0xBFFF0015)\n"
                  "hint: the instrument has stopped sending: raise --timeout (now 1000) if it "
                  "pauses for longer\n");
}

TEST(Read, CountWaitsForAnInstrumentThatKeepsSending) {
    constexpr int Pieces = 6;
    InstrumentPeer peer([](PeerConnection& connection) {
        for (int i = 0; i < Pieces; ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(200));
            connection.Send("x");
        }
    });
    // Longer in all than the time-out, and shorter between any two bytes.
    const ToolResult result =
        RunTool({"read", peer.Resource(), "--count", std::to_string(Pieces), "--timeout", "900"});
    EXPECT_EQ(result.exitCode, 0) << result.error;
    EXPECT_EQ(result.output, "xxxxxx");
}

TEST(Read, TakesWhatIsThereAtOnceWithATimeoutOfZero) {
    InstrumentPeer peer([](PeerConnection&) {});
    const ToolResult result = RunTool({"read", peer.Resource(), "--timeout", "0"});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_LT(result.seconds, 4);
}

TEST(Read, SaysThatNothingWasAsked) {
    InstrumentPeer peer(Sending(""));
    const ToolResult result = RunTool({"read", peer.Resource(), "--timeout", Soon});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_EQ(result.error,
              "uxvisa: " + peer.Resource() +
                  ": Timeout expired before operation completed (VI_ERROR_TMO, 0xBFFF0015)\n"
                  "hint: has the instrument been asked for something? If it needs longer, raise "
                  "--timeout (now 1000)\n");
}

TEST(Read, ReadsABlock) {
    InstrumentPeer peer(Sending("#16a\nb\r\nc\n"));
    const ToolResult result = RunTool({"read", peer.Resource(), "--block"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.output, "a\nb\r\nc");
}

TEST(Read, WritesCountedBytesToAFile) {
    const TemporaryDirectory directory;
    const std::string data("\0\n\xFF\n", 4);
    InstrumentPeer peer(Sending(data + data));
    const ToolResult result = RunTool({"read", peer.Resource(), "--count", "4", "--termchar", "off",
                                       "--output", directory.File("data")});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(FileContents(directory.File("data")), data);
}
