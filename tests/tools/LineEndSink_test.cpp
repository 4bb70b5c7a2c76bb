#include "tools/uxvisa/LineEndSink.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using uxvisa::tool::LineEndSink;
using uxvisa::tool::MemorySink;
using Removes = LineEndSink::Removes;

namespace {

std::string Passed(const std::vector<std::string>& pieces, Removes removes,
                   const std::string& replacement) {
    MemorySink memory;
    LineEndSink sink(memory, removes, replacement);
    for (const std::string& piece : pieces) {
        sink.Write(piece);
    }
    sink.Flush();
    return memory.Data();
}

std::string Line(const std::vector<std::string>& pieces) {
    return Passed(pieces, Removes::LineFeedAndReturn, "$");
}

} // namespace

TEST(LineEndSink, ReplacesOneLineEnd) {
    EXPECT_EQ(Line({"abc\n"}), "abc$");
    EXPECT_EQ(Line({"abc\r\n"}), "abc$");
    EXPECT_EQ(Line({"abc"}), "abc$");
}

TEST(LineEndSink, LeavesEverythingBeforeTheLineEnd) {
    EXPECT_EQ(Line({"a\nb\n\n"}), "a\nb\n$");
    EXPECT_EQ(Line({"a\r\r\n"}), "a\r$");
    EXPECT_EQ(Line({"a\r"}), "a\r$");
}

TEST(LineEndSink, FindsALineEndThatCameInPieces) {
    EXPECT_EQ(Line({"a", "b", "c", "\r", "\n"}), "abc$");
    EXPECT_EQ(Line({"abc\r", "\n"}), "abc$");
    EXPECT_EQ(Line({"abc", "", "\n", ""}), "abc$");
}

TEST(LineEndSink, HandlesAnswersOfALineEndOnly) {
    EXPECT_EQ(Line({"\n"}), "$");
    EXPECT_EQ(Line({"\r\n"}), "$");
}

TEST(LineEndSink, AddsNothingToNoAnswer) {
    EXPECT_EQ(Line({}), "");
    EXPECT_EQ(Line({"", ""}), "");
}

TEST(LineEndSink, LeavesTheReturnOfBinaryData) {
    EXPECT_EQ(Passed({"ab\r\n"}, Removes::LineFeed, ""), "ab\r");
    EXPECT_EQ(Passed({"\r", "\n"}, Removes::LineFeed, ""), "\r");
}
