#include <gtest/gtest.h>

#include <array>
#include <fstream>
#include <string>

#include "tools/InstrumentPeer.h"
#include "tools/TemporaryDirectory.h"
#include "tools/ToolRun.h"

namespace {

constexpr char Soon[] = "1000";
constexpr std::size_t MiB = 1UL << 20;

ToolResult QueryBlock(const InstrumentPeer& peer, const std::string& timeout = "10000") {
    return RunTool({"query", peer.Resource(), "CURV?", "--block", "--timeout", timeout});
}

std::string NoBlockText(const InstrumentPeer& peer, const std::string& shown) {
    return "uxvisa: " + peer.Resource() + ": the answer is not a block but " + shown +
           "\nhint: a block begins with '#' and a digit: read this without --block; if a word "
           "stands before the '#', switch the instrument's headers off\n";
}

// Bytes that repeat at no power of two, so that a piece in the wrong place is seen.
std::string Pattern(std::size_t offset, std::size_t size) {
    std::string bytes(size, '\0');
    for (std::size_t i = 0; i < size; ++i) {
        bytes[i] = static_cast<char>((offset + i) % 251);
    }
    return bytes;
}

InstrumentPeer::Script SendingPatternBlock(std::size_t size) {
    return [size](PeerConnection& connection) {
        connection.ReadLine();
        connection.Send(BlockHeaderText(size));
        for (std::size_t offset = 0; offset < size; offset += MiB) {
            connection.Send(Pattern(offset, std::min(MiB, size - offset)));
        }
        connection.Send("\n");
    };
}

bool HoldsPattern(const std::string& path, std::size_t size) {
    std::ifstream file(path, std::ios::binary);
    for (std::size_t offset = 0; offset < size; offset += MiB) {
        const std::string expected = Pattern(offset, std::min(MiB, size - offset));
        std::string piece(expected.size(), '\0');
        file.read(piece.data(), static_cast<std::streamsize>(piece.size()));
        if (!file || piece != expected) {
            return false;
        }
    }
    return file.peek() == std::ifstream::traits_type::eof();
}

ToolResult BlockToFile(std::size_t size, const std::string& path) {
    InstrumentPeer peer(SendingPatternBlock(size));
    return RunTool(
        {"query", peer.Resource(), "CURV?", "--block", "-o", path, "--timeout", "20000"});
}

} // namespace

TEST(Block, IsStrippedOfHeaderAndLineEnd) {
    InstrumentPeer peer(Answering("#210abc\ndefghi\n"));
    const ToolResult result = QueryBlock(peer);
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.output, "abc\ndefghi");
    EXPECT_EQ(result.error, "");
}

TEST(Block, NeedsNoLineEnd) {
    InstrumentPeer peer(Answering("#15abcde"));
    const ToolResult result = QueryBlock(peer);
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.output, "abcde");
}

TEST(Block, KeepsALineFeedThatIsData) {
    InstrumentPeer peer(Answering("#12a\n\n"));
    EXPECT_EQ(QueryBlock(peer).output, "a\n");
}

TEST(Block, MayBeEmpty) {
    InstrumentPeer peer(Answering("#10\n"));
    const ToolResult result = QueryBlock(peer);
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.output, "");
}

TEST(Block, MayComeByteByByte) {
    InstrumentPeer peer([](PeerConnection& connection) {
        connection.ReadLine();
        for (const char byte : std::string("#203xyz\n")) {
            connection.Send({&byte, 1});
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
    });
    const ToolResult result = QueryBlock(peer);
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.output, "xyz");
}

TEST(Block, OfIndefiniteLengthEndsWithSilence) {
    InstrumentPeer peer(Answering("#0ab\ncd\r\n"));
    const ToolResult result = QueryBlock(peer, Soon);
    EXPECT_EQ(result.exitCode, 0) << result.error;
    EXPECT_EQ(result.output, "ab\ncd\r");
    EXPECT_GE(result.seconds, 1.0);
}

TEST(Block, OfIndefiniteLengthGoesIntoAFile) {
    const TemporaryDirectory directory;
    InstrumentPeer peer(Answering("#0ab\ncd\n"));
    const ToolResult result = RunTool({"query", peer.Resource(), "CURV?", "--block", "-o",
                                       directory.File("curve"), "--timeout", Soon});
    EXPECT_EQ(result.exitCode, 0) << result.error;
    EXPECT_EQ(FileContents(directory.File("curve")), "ab\ncd");
}

TEST(Block, OfIndefiniteLengthNeedsAtLeastItsLineEnd) {
    InstrumentPeer empty(Answering("#0\n"));
    EXPECT_EQ(QueryBlock(empty, Soon).exitCode, 0);
    InstrumentPeer silent(Answering("#0"));
    EXPECT_EQ(QueryBlock(silent, Soon).exitCode, 3);
}

TEST(Block, ThatIsNoneIsShownWhole) {
    InstrumentPeer peer(Answering("-113,\"Undefined header\"\r\n"));
    const ToolResult result = QueryBlock(peer);
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.error, NoBlockText(peer, "\"-113,\\\"Undefined header\\\"\\r\\n\""));
}

TEST(Block, ThatIsAShortLineDoesNotTakeTheNextLineAlong) {
    InstrumentPeer peer(Answering("5\n6\n"));
    const ToolResult result = QueryBlock(peer);
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.error, NoBlockText(peer, "\"5\\n\""));
}

TEST(Block, BehindAWordIsRefusedAndShown) {
    InstrumentPeer peer(Answering("CURV #13\x01\x02\x03\n"));
    const ToolResult result = QueryBlock(peer);
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.error, NoBlockText(peer, "\"CURV #13\\x01\\x02\\x03\\n\""));
}

TEST(Block, WithABadLengthIsRefusedAndShown) {
    InstrumentPeer peer(Answering("#3 12abc\n"));
    const ToolResult result = QueryBlock(peer);
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.error, NoBlockText(peer, "\"#3 12abc\\n\""));
}

TEST(Block, ThatIsNoneAndDoesNotEndIsShownAsFarAsItCame) {
    InstrumentPeer peer(Answering("12345"));
    const ToolResult result = QueryBlock(peer, Soon);
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.error, NoBlockText(peer, "\"12345\""));
}

TEST(Block, ThatIsNoneAndEndless) {
    InstrumentPeer peer(Answering(std::string(10000, 'x') + "\n"));
    const ToolResult result = QueryBlock(peer);
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.error, NoBlockText(peer, "\"" + std::string(4096, 'x') + "\" and more"));
}

TEST(Block, ThatStopsInTheHeaderIsATimeOutThatShowsIt) {
    InstrumentPeer peer(Answering("#41"));
    const ToolResult result = QueryBlock(peer, Soon);
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_EQ(result.error.substr(0, result.error.find('\n')),
              "uxvisa: " + peer.Resource() +
                  ": Timeout expired before operation completed, arrived: \"#41\" (VI_ERROR_TMO, "
                  "0xBFFF0015)");
}

TEST(Block, ThatStopsInTheDataIsPutOutAsFarAsItCame) {
    InstrumentPeer peer(Answering("#210abcd"));
    const ToolResult result = QueryBlock(peer, Soon);
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_EQ(result.output, "abcd");
    EXPECT_EQ(result.error,
              "uxvisa: " + peer.Resource() +
                  ": Timeout expired before operation completed, 4 of 10 bytes arrived "
                  "(VI_ERROR_TMO, 0xBFFF0015)\n"
                  "hint: the instrument has stopped sending: raise --timeout (now 1000) if it "
                  "pauses for longer\n");
}

TEST(Block, ThatStopsStaysInTheFile) {
    const TemporaryDirectory directory;
    InstrumentPeer peer(Answering("#210abcd"));
    const ToolResult result = RunTool({"query", peer.Resource(), "CURV?", "--block", "-o",
                                       directory.File("curve"), "--timeout", Soon});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_EQ(FileContents(directory.File("curve")), "abcd");
}

TEST(Block, OfManyPiecesIsExactInAFile) {
    const TemporaryDirectory directory;
    for (const std::size_t size : {MiB - 1, MiB, MiB + 1, 3 * MiB + 7}) {
        const std::string path = directory.File(std::to_string(size));
        const ToolResult result = BlockToFile(size, path);
        EXPECT_EQ(result.exitCode, 0) << result.error;
        EXPECT_TRUE(HoldsPattern(path, size)) << size;
    }
}

TEST(Block, Of64MiBTakesNoMoreMemoryThanASmallOne) {
    const TemporaryDirectory directory;
    constexpr std::size_t Large = 64 * MiB;
    const ToolResult small = BlockToFile(1000, directory.File("small"));
    const ToolResult large = BlockToFile(Large, directory.File("large"));
    ASSERT_EQ(small.exitCode, 0) << small.error;
    ASSERT_EQ(large.exitCode, 0) << large.error;
    EXPECT_TRUE(HoldsPattern(directory.File("large"), Large));
    EXPECT_LT(large.maxResidentKiB - small.maxResidentKiB, 16 * 1024);
}
