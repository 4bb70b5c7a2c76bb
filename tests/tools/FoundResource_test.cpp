#include "tools/uxvisa/FoundResource.h"

#include <gtest/gtest.h>

using namespace uxvisa::tool;

using Lines = std::vector<std::string>;

TEST(FoundResource, IsALineBelowAHeader) {
    EXPECT_EQ(
        ResourceTable({{"TCPIP0::scope::5025::SOCKET", "Orvane", "KX10 Pro", "SN-7", "Lab", "a"},
                       {"ttyUSB0::INSTR", "", "", "", "", ""}}),
        (Lines{"RESOURCE                     MANUFACTURER  MODEL     SERIAL NUMBER  ADDRESS",
               "TCPIP0::scope::5025::SOCKET  Orvane        KX10 Pro  SN-7           a",
               "ttyUSB0::INSTR               -             -         -              -"}));
}

TEST(FoundResource, IsTheFirstWordOfItsLineWhateverItsName) {
    const Lines lines = ResourceTable({{"TCPIP0::my scope::5025::SOCKET", "a b", "", "", "", ""}});
    EXPECT_EQ(lines[1].substr(0, lines[1].find(' ')), "TCPIP0::my\\x20scope::5025::SOCKET");
}
