#include <gmock/gmock.h>

#include <algorithm>
#include <string>

#include "tools/InstrumentPeer.h"
#include "tools/TemporaryDirectory.h"
#include "tools/Terminal.h"
#include "tools/ToolRun.h"

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

constexpr std::size_t MiB = 1UL << 20;

InstrumentPeer::Script SendingBlock(std::size_t promised, std::size_t sent) {
    return [promised, sent](PeerConnection& connection) {
        connection.ReadLine();
        connection.Send(BlockHeaderText(promised));
        const std::string piece(MiB / 4, 'x');
        for (std::size_t offset = 0; offset < sent; offset += piece.size()) {
            connection.Send(std::string_view(piece).substr(0, sent - offset));
        }
    };
}

struct Watched {
    ToolResult result;
    std::string shown;
};

Watched Watch(std::size_t promised, std::size_t sent, const std::string& timeout = "20000") {
    const TemporaryDirectory directory;
    Terminal terminal;
    InstrumentPeer peer(SendingBlock(promised, sent));
    ToolStreams streams;
    streams.error = terminal.Slave();
    const ToolResult result = RunTool({"query", peer.Resource(), "C?", "--block", "-o",
                                       directory.File("curve"), "--timeout", timeout},
                                      streams);
    return {result, terminal.Text()};
}

} // namespace

TEST(ProgressBar, IsShownOnATerminalForALongBlock) {
    const auto [result, shown] = Watch(4 * MiB, 4 * MiB);
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(shown, StartsWith("\r[                        ]   0%  0 B of 4.0 MiB"));
    EXPECT_THAT(shown, HasSubstr("\r[########################] 100%  4.0 MiB of 4.0 MiB  "));
    EXPECT_THAT(shown, HasSubstr("iB/s"));
    EXPECT_THAT(shown, EndsWith("\n"));
}

TEST(ProgressBar, IsDrawnAtMostTenTimesASecond) {
    const auto [result, shown] = Watch(48 * MiB, 48 * MiB);
    EXPECT_EQ(result.exitCode, 0);
    // One at the start, one at the end.
    EXPECT_LE(std::ranges::count(shown, '\r'), 2 + result.seconds / 0.1);
}

TEST(ProgressBar, IsNotShownForAShortBlock) {
    const auto [result, shown] = Watch(MiB - 1, MiB - 1);
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(shown, "");
}

TEST(ProgressBar, LeavesTheErrorALineOfItsOwn) {
    const auto [result, shown] = Watch(4 * MiB, 2 * MiB, "1000");
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_THAT(shown, HasSubstr("]  50%  2.0 MiB of 4.0 MiB"));
    EXPECT_THAT(shown, HasSubstr("\nuxvisa: TCPIP::"));
    EXPECT_THAT(shown, HasSubstr("2097152 of 4194304 bytes arrived"));
}

TEST(ProgressBar, IsNotShownWithoutATerminal) {
    const TemporaryDirectory directory;
    InstrumentPeer peer(SendingBlock(4 * MiB, 4 * MiB));
    const ToolResult result =
        RunTool({"query", peer.Resource(), "C?", "--block", "-o", directory.File("curve")});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.error, "");
}
