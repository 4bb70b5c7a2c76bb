#include "tools/uxvisa/HexView.h"

#include <gmock/gmock.h>

using namespace uxvisa::tool;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(HexView, WritesBytesInCapitals) {
    EXPECT_EQ(HexBytes(""), "");
    EXPECT_EQ(HexBytes("\xFF"), "FF");
    EXPECT_EQ(HexBytes("\x0F\xA0"), "0F A0");
    EXPECT_EQ(HexBytes("\x0F\xA0", ""), "0FA0");
}

TEST(HexView, HasSixteenBytesALine) {
    EXPECT_THAT(HexLines(""), IsEmpty());
    EXPECT_THAT(HexLines("0123456789ABCDEF\n"),
                ElementsAre("00000000  30 31 32 33 34 35 36 37 38 39 41 42 43 44 45 46  "
                            "0123456789ABCDEF",
                            "00000010  0A" + std::string(47, ' ') + "."));
}

TEST(HexView, ColoursRunsInBothColumns) {
    EXPECT_THAT(HexLines("ABC", {{1, ""}, {1, "\x1B[31m"}}),
                ElementsAre("00000000  41 \x1B[31m42\x1B[0m 43 " + std::string(40, ' ') +
                            "A\x1B[31mB\x1B[0mC"));
}
