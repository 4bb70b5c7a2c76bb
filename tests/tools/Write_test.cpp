#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tools/InstrumentPeer.h"
#include "tools/ToolRun.h"

namespace {

std::string Received(const std::vector<std::string>& options) {
    InstrumentPeer peer([](PeerConnection&) {});
    std::vector<std::string> arguments{"write", peer.Resource(), "VOLT 3.3"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    const ToolResult result = RunTool(arguments);
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.error, "");
    return peer.Rest();
}

} // namespace

TEST(Write, SendsTheCommandAndIsSilent) {
    EXPECT_EQ(Received({}), "VOLT 3.3\n");
}

TEST(Write, EndsTheCommandAsAsked) {
    EXPECT_EQ(Received({"--eol", "lf"}), "VOLT 3.3\n");
    EXPECT_EQ(Received({"--eol", "crlf"}), "VOLT 3.3\r\n");
    EXPECT_EQ(Received({"--eol", "none"}), "VOLT 3.3");
}

TEST(Write, SendsLongCommandsWhole) {
    InstrumentPeer peer([](PeerConnection&) {});
    // The longest argument that the system takes has 128 KiB.
    const std::string command(100000, 'x');
    EXPECT_EQ(RunTool({"write", peer.Resource(), command}).exitCode, 0);
    EXPECT_TRUE(peer.Rest() == command + "\n");
}

TEST(Write, DoesNotWaitForAnAnswer) {
    InstrumentPeer peer([](PeerConnection& connection) { connection.ReadLine(); });
    const ToolResult result = RunTool({"write", peer.Resource(), "*RST", "--timeout", "60000"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_LT(result.seconds, 30);
}

TEST(Write, TellsTimeAndBytes) {
    InstrumentPeer peer([](PeerConnection&) {});
    const ToolResult result = RunTool({"write", peer.Resource(), "*RST", "--time"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_NE(result.error.find(" ms, 5 bytes, "), std::string::npos) << result.error;
}
