#include "tools/uxvisa/ParsedResource.h"

#include <gmock/gmock.h>

#include "tools/uxvisa/Failure.h"
#include "uxvisa/visatype.h"

using namespace uxvisa::tool;
using testing::ElementsAre;
using testing::HasSubstr;

TEST(ParsedResource, HasInterfaceClassAndFields) {
    const ParsedResource parsed = ParseResource("tcpip0::Scope::5025::socket");
    EXPECT_EQ(parsed.text, "tcpip0::Scope::5025::socket");
    EXPECT_EQ(parsed.interfaceType, VI_INTF_TCPIP);
    EXPECT_EQ(parsed.classWord, "SOCKET");
    EXPECT_THAT(parsed.fields, ElementsAre("tcpip0", "Scope", "5025", "socket"));
}

TEST(ParsedResource, IsAlwaysOfBoardZeroOnPurpose) {
    EXPECT_EQ(ParseResource("GPIB3::22::INSTR").board, 0);
}

TEST(ParsedResource, CanBeOfEveryInterface) {
    EXPECT_EQ(ParseResource("ttyACM0::INSTR").interfaceType, VI_INTF_ASRL);
    EXPECT_EQ(ParseResource("USOCK::/tmp/sock::SOCKET").interfaceType, VI_INTF_USOCK);
    EXPECT_EQ(ParseResource("USB0::0x1::0x2::SN::0::INSTR").interfaceType, VI_INTF_USB);
    EXPECT_EQ(ParseResource("GPIB::1::INSTR").interfaceType, VI_INTF_GPIB);
}

TEST(ParsedResource, RefusesWhatTheLibraryRefuses) {
    for (const auto* text :
         {"", "scope", "TCPIP0", "TCPIP0a::host::INSTR", "TCPIP::host::0::SOCKET",
          "TCPIP::host::abc::SOCKET", "TCPIP::SOCKET", "ASRL1::INSTR", "::", "PXI0::1::INSTR"}) {
        try {
            ParseResource(text);
            ADD_FAILURE() << text;
        } catch (const InstrumentFailure& failure) {
            EXPECT_EQ(failure.Status(), VI_ERROR_INV_RSRC_NAME) << text;
            EXPECT_EQ(failure.Code(), ExitFailed);
            EXPECT_EQ(failure.Subject(), text);
            EXPECT_NE(failure.Hint(), "");
        }
    }
}

TEST(ParsedResource, NamesInterfaces) {
    EXPECT_EQ(InterfaceName(VI_INTF_TCPIP), "TCPIP");
    EXPECT_EQ(InterfaceName(VI_INTF_USOCK), "USOCK");
    EXPECT_EQ(InterfaceName(99), "99");
}
