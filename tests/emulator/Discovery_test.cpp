#include "tools/emulator/Discovery.h"

#include <gtest/gtest.h>

#include <string>

using emulator::AnswerDiscovery;
using emulator::Identity;

TEST(Discovery, TellsWhereTheInstrumentIsAndWhatItIs) {
    EXPECT_EQ(AnswerDiscovery("UxVISA Discovery", "10.1.2.3", 5025, {"KX10", "SN42"}),
              "10.1.2.3\t5025\tOrvane KX10\tKX10 SN42");
    EXPECT_EQ(AnswerDiscovery("UxVISA Discovery", "10.1.2.3", 65535, Identity()),
              "10.1.2.3\t65535\tOrvane Emulator\tEmulator 0");
    EXPECT_EQ(AnswerDiscovery("UxVISA Discovery", "h", 1, {"two words", "3"}),
              "h\t1\tOrvane two words\ttwo words 3");
}

TEST(Discovery, OtherDatagramsAreNoRequests) {
    for (const char* request : {"", "UxVISA", "UxVISA Discover", "UxVISA Discovery ",
                                "UxVISA Discovery\n", "uxvisa discovery", " UxVISA Discovery"}) {
        EXPECT_EQ(AnswerDiscovery(request, "10.1.2.3", 5025, {}), "") << request;
    }
    EXPECT_EQ(AnswerDiscovery(std::string("UxVISA Discovery\0", 17), "h", 1, {}), "");
}
