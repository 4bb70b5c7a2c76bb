// What happens when the output does not take the data.
#include <gtest/gtest.h>

#include <array>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tools/InstrumentPeer.h"
#include "tools/TemporaryDirectory.h"
#include "tools/ToolRun.h"

namespace {

ToolStreams FullOutput() {
    ToolStreams streams;
    streams.outputPath = "/dev/full";
    return streams;
}

ToolStreams ClosedOutput() {
    ToolStreams streams;
    streams.closesOutput = true;
    return streams;
}

constexpr char NoSpace[] = "uxvisa: standard output: No space left on device\n";
constexpr char NotOpen[] = "uxvisa: standard output: Bad file descriptor\n";

} // namespace

TEST(Output, ThatIsFullIsAnError) {
    InstrumentPeer peer(Answering("abc\n"));
    const ToolResult result = RunTool({"query", peer.Resource(), "V?"}, FullOutput());
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.error, NoSpace);
}

TEST(Output, ThatIsFullIsAnErrorForABlock) {
    InstrumentPeer peer(Answering("#15abcde\n"));
    const ToolResult result = RunTool({"query", peer.Resource(), "C?", "--block"}, FullOutput());
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.error, NoSpace);
}

TEST(Output, ThatIsFullIsAnErrorForJsonStatusAndHelp) {
    InstrumentPeer peer(Answering("abc\n"));
    const ToolResult json = RunTool({"query", peer.Resource(), "V?", "--json"}, FullOutput());
    EXPECT_EQ(json.exitCode, 1);
    EXPECT_EQ(json.error, NoSpace);
    for (const auto* word : {"--help", "--version"}) {
        const ToolResult result = RunTool({word}, FullOutput());
        EXPECT_EQ(result.exitCode, 1) << word;
        EXPECT_EQ(result.error, NoSpace) << word;
    }
    const ToolResult status = RunTool({"status", "0"}, FullOutput());
    EXPECT_EQ(status.exitCode, 1);
    EXPECT_EQ(status.error, NoSpace);
}

TEST(Output, ThatIsClosedIsAnErrorAndTheInstrumentGetsNoneOfIt) {
    InstrumentPeer peer(Answering("abc\n"));
    const ToolResult result = RunTool({"query", peer.Resource(), "V?"}, ClosedOutput());
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.error, NotOpen);
    EXPECT_EQ(peer.Rest(), "");
}

TEST(Output, InputThatIsClosedMakesNoDifference) {
    InstrumentPeer peer(Answering("abc\n"));
    ToolStreams streams;
    streams.closesInput = true;
    const ToolResult result = RunTool({"query", peer.Resource(), "V?"}, streams);
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.output, "abc\n");
}

TEST(Output, PipeWithoutAReaderIsAnErrorAndNoSignal) {
    std::array<int, 2> pipe{};
    ASSERT_EQ(::pipe2(pipe.data(), O_CLOEXEC), 0);
    ::close(pipe[0]);
    ToolStreams streams;
    streams.output = pipe[1];
    InstrumentPeer peer(Answering("abc\n"));
    const ToolResult result = RunTool({"query", peer.Resource(), "V?"}, streams);
    ::close(pipe[1]);
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.error, "uxvisa: standard output: Broken pipe\n");
}

TEST(Output, FileThatCannotBeCreatedStopsTheCommand) {
    const TemporaryDirectory directory;
    const std::string path = directory.File("missing/answer");
    InstrumentPeer peer([](PeerConnection&) {});
    const ToolResult result = RunTool({"query", peer.Resource(), "*RST;*IDN?", "-o", path});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.error, "uxvisa: " + path +
                                ": cannot create the file: No such file or directory\n"
                                "hint: nothing was sent; give --output a path that can be "
                                "written\n");
    EXPECT_EQ(peer.Rest(), "");
}

TEST(Output, FileThatIsFullIsAnError) {
    InstrumentPeer peer(Answering("abc\n"));
    const ToolResult result = RunTool({"query", peer.Resource(), "V?", "-o", "/dev/full"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.error, "uxvisa: /dev/full: No space left on device\n");
}

TEST(Output, FileIsReplacedByAShorterAnswer) {
    const TemporaryDirectory directory;
    WriteFile(directory.File("answer"), "what was there before");
    InstrumentPeer peer(Answering("abc\n"));
    RunTool({"query", peer.Resource(), "V?", "-o", directory.File("answer")});
    EXPECT_EQ(FileContents(directory.File("answer")), "abc\n");
}

TEST(Output, FileIsEmptiedByAnEmptyBlock) {
    const TemporaryDirectory directory;
    WriteFile(directory.File("answer"), "what was there before");
    InstrumentPeer peer(Answering("#10\n"));
    RunTool({"query", peer.Resource(), "C?", "--block", "-o", directory.File("answer")});
    EXPECT_EQ(FileContents(directory.File("answer")), "");
}

TEST(Output, FileStaysAsItWasWhenNoAnswerComes) {
    const TemporaryDirectory directory;
    WriteFile(directory.File("answer"), "what was there before");
    InstrumentPeer peer(Answering(""));
    const ToolResult result = RunTool(
        {"query", peer.Resource(), "V?", "-o", directory.File("answer"), "--timeout", "200"});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_EQ(FileContents(directory.File("answer")), "what was there before");
}

TEST(Output, FileMayBeAPipe) {
    const TemporaryDirectory directory;
    const std::string path = directory.File("pipe");
    ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
    const int reader = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    InstrumentPeer peer(Answering("abc\n"));
    const ToolResult result = RunTool({"query", peer.Resource(), "V?", "-o", path});
    std::array<char, 16> data{};
    const ssize_t size = ::read(reader, data.data(), data.size());
    ::close(reader);
    EXPECT_EQ(result.exitCode, 0) << result.error;
    EXPECT_EQ(std::string(data.data(), size > 0 ? static_cast<std::size_t>(size) : 0), "abc\n");
}
