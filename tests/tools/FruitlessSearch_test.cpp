#include "tools/uxvisa/FruitlessSearch.h"

#include <gmock/gmock.h>

using namespace uxvisa::tool;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

namespace {

using Texts = std::vector<std::string>;

FruitlessSearch Looking(const std::string& expression) {
    FruitlessSearch search;
    search.expression = expression;
    search.addresses = {"192.0.2.7"};
    return search;
}

Texts ReasonsFor(const std::string& expression) {
    return Reasons(Looking(expression));
}

} // namespace

TEST(FruitlessSearch, KnowsTheExpressionsForEverything) {
    for (const auto* expression : {"", "?*", "?*[T,E][R,T]"}) {
        EXPECT_TRUE(IsForEverything(expression)) << expression;
    }
    for (const auto* expression : {"?", "*", "?*INSTR", "TCPIP"}) {
        EXPECT_FALSE(IsForEverything(expression)) << expression;
    }
}

TEST(FruitlessSearch, OnAnOpenLanPointsAtTheFirewall) {
    EXPECT_THAT(ReasonsFor("?*"), ElementsAre("LAN searched from 192.0.2.7: does a firewall drop "
                                              "answers to the UDP ports 8890 and 9757? An "
                                              "instrument behind a router is not found, but can be "
                                              "opened"));
}

TEST(FruitlessSearch, WithoutAnInterfaceSaysThatNoLanWasSearched) {
    FruitlessSearch search = Looking("?*");
    search.addresses.clear();
    EXPECT_THAT(Reasons(search),
                ElementsAre("no network interface with an IPv4 broadcast address is up, so no LAN "
                            "was searched: see 'ip -4 address'"));
}

TEST(FruitlessSearch, NamesAPortThatIsTaken) {
    FruitlessSearch search = Looking("?*");
    search.takenPorts = {"8890 of 192.0.2.7", "9757 of 192.0.2.7"};
    EXPECT_THAT(Reasons(search)[0],
                "another program, perhaps another search, holds UDP port 8890 of 192.0.2.7, 9757 "
                "of 192.0.2.7: try again");
}

TEST(FruitlessSearch, NamesDevicesThatMayNotBeOpened) {
    FruitlessSearch search = Looking("?*");
    search.closedDevices = {"/dev/ttyUSB0", "/dev/usbtmc1"};
    EXPECT_EQ(Reasons(search)[0],
              "you may not open /dev/ttyUSB0, /dev/usbtmc1: see docs/permissions.md");
}

TEST(FruitlessSearch, OffersTheUpperCaseExpression) {
    EXPECT_EQ(ReasonsFor("kx10?*")[0], "an expression is looked for in upper-case text, so "
                                       "lower-case letters match nothing: try 'KX10?*'");
    EXPECT_THAT(ReasonsFor("KX10"), Not(Contains(HasSubstr("upper-case"))));
}

TEST(FruitlessSearch, ExplainsTheOneWildcard) {
    for (const auto* expression : {"TCPIP*", "TCPIP?", "[A-Z]", "A|B", "?**", "??*", "K+"}) {
        EXPECT_THAT(ReasonsFor(expression), Contains(HasSubstr("the only wildcard is ?*")))
            << expression;
    }
    for (const auto* expression : {"TCPIP?*", "?*::?*INSTR", "KX10", "?*", "?*[T,E][R,T]"}) {
        EXPECT_THAT(ReasonsFor(expression), Not(Contains(HasSubstr("wildcard")))) << expression;
    }
}

TEST(FruitlessSearch, SaysThatTheExpressionLeavesNothing) {
    FruitlessSearch search = Looking("KX99");
    search.withoutExpression = 1;
    EXPECT_THAT(Reasons(search), ElementsAre("without the expression 1 resource is found; 'uxvisa "
                                             "find' lists it"));
    search.withoutExpression = 2;
    search.closedDevices = {"/dev/usbtmc1"};
    EXPECT_THAT(Reasons(search), ElementsAre("without the expression 2 resources are found; "
                                             "'uxvisa find' lists them"))
        << "the LAN and the devices are not to blame then";
}

TEST(FruitlessSearch, AlwaysHasAReason) {
    EXPECT_THAT(Reasons({}), Not(testing::IsEmpty()));
}
