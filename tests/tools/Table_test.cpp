#include "tools/uxvisa/Table.h"

#include <gtest/gtest.h>

using namespace uxvisa::tool;

using Lines = std::vector<std::string>;

TEST(Table, AlignsItsColumns) {
    EXPECT_EQ(AlignedLines({{"A", "LONG", "C"}, {"wider", "x", "y"}, {"1", "2", "3"}}),
              (Lines{"A      LONG  C", "wider  x     y", "1      2     3"}));
}

TEST(Table, LeavesNoBlanksAtTheEndOfALine) {
    EXPECT_EQ(AlignedLines({{"a", "longest"}, {"b", ""}, {"", ""}}),
              (Lines{"a  longest", "b", ""}));
}

TEST(Table, TakesRowsOfDifferentLength) {
    EXPECT_EQ(AlignedLines({{"a"}, {"b", "c"}, {}}), (Lines{"a", "b  c", ""}));
    EXPECT_EQ(AlignedLines({}), Lines{});
}

TEST(Table, CountsCharactersAndNotBytes) {
    EXPECT_EQ(AlignedLines({{"\xC2\xB5V", "x"}, {"abc", "y"}}), (Lines{"\xC2\xB5V   x", "abc  y"}));
}

TEST(Table, MarksAnEmptyCell) {
    EXPECT_EQ(Cell(""), "-");
    EXPECT_EQ(WordCell(""), "-");
}

TEST(Table, LeavesTextAsItIs) {
    EXPECT_EQ(Cell("KX10 \"Pro\" \\ \xC2\xB5 \xE2\x82\xAC"),
              "KX10 \"Pro\" \\ \xC2\xB5 \xE2\x82\xAC");
}

TEST(Table, ShowsWhatWouldActOnATerminal) {
    EXPECT_EQ(Cell("\x1B[31mred\x07"), "\\x1B[31mred\\x07");
    EXPECT_EQ(Cell("a\tb\nc\rd\x7F"), "a\\x09b\\x0Ac\\x0Dd\\x7F");
    EXPECT_EQ(Cell(std::string("a\0b", 3)), "a\\x00b");
    EXPECT_EQ(Cell("\xC2\x9B"
                   "31m\xC2\xA0"),
              "\\xC2\\x9B31m\xC2\xA0");
}

TEST(Table, ShowsBytesThatAreNoUtf8) {
    EXPECT_EQ(Cell("\xB5V"), "\\xB5V");
    EXPECT_EQ(Cell("\xC2"), "\\xC2");
    EXPECT_EQ(Cell("\xC2\xB5\xFF"), "\\xC2\\xB5\\xFF");
}

TEST(Table, AWordHasNoBlanks) {
    EXPECT_EQ(WordCell(" my scope\t"), "\\x20my\\x20scope\\x09");
}
