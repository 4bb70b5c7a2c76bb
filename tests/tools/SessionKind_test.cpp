#include "tools/uxvisa/SessionKind.h"

#include <gtest/gtest.h>

#include <string>
#include <typeinfo>
#include <vector>

#include "core/SessionClasses.h"
#include "uxvisa/visatype.h"

using namespace uxvisa::tool;

namespace {

// All that name a session but the serial one.
constexpr unsigned short OtherInterfaces[] = {VI_INTF_GPIB, VI_INTF_TCPIP, VI_INTF_USB,
                                              VI_INTF_USOCK};

ParsedResource Resource(const std::string& text, unsigned short interfaceType,
                        const std::string& classWord, const std::vector<std::string>& fields) {
    return {text, interfaceType, 0, classWord, fields};
}

std::string Described(const ParsedResource& resource, const std::string& driver = "") {
    return DescribedSession(resource, driver);
}

// The session class of each kind, as the compiler names it.
std::string ClassOf(SessionKind kind) {
    switch (kind) {
    case SessionKind::TcpSocket:
        return "13CSessionTCPIP";
    case SessionKind::Vxi11:
        return "13CSessionVXI11";
    case SessionKind::LocalSocket:
        return "13CSessionUSOCK";
    case SessionKind::SerialPort:
        return "12CSessionASRL";
    case SessionKind::DriverLibrary:
        return "11CSessionExt";
    case SessionKind::BinaryProtocol:
        return "12CSessionBRIX";
    case SessionKind::None:
        break;
    }
    return "";
}

std::string ClassThatServes(const std::string& classWord, unsigned short interfaceType) {
    const auto choice = uxvisa::MakeSession(classWord, interfaceType, nullptr);
    if (choice.session == nullptr) {
        return "";
    }
    const ISession& session = *choice.session;
    return typeid(session).name();
}

} // namespace

TEST(SessionKind, IsTheOneThatTheLibraryMakes) {
    for (const auto* word :
         {"INSTR", "SOCKET", "ECAL", "TRM", "QUILL", "VNA", "SA", "NFA", "GEN", "SAPROC", "X"}) {
        for (const unsigned short type : OtherInterfaces) {
            EXPECT_EQ(ClassThatServes(word, type), ClassOf(KindOfSession(word, type)))
                << word << " " << type;
        }
    }
}

// A library that was built without one of these classes answers that nothing is there.
TEST(SessionKind, IsNoOtherThanTheLibraryMakes) {
    for (const auto* word : {"INSTR", "SOCKET", "BRIX", "NFM", "GNM"}) {
        const std::string made = ClassThatServes(word, VI_INTF_ASRL);
        if (!made.empty()) {
            EXPECT_EQ(made, ClassOf(KindOfSession(word, VI_INTF_ASRL))) << word;
        }
    }
    EXPECT_EQ(KindOfSession("INSTR", VI_INTF_ASRL), SessionKind::SerialPort);
    EXPECT_EQ(KindOfSession("BRIX", VI_INTF_TCPIP), SessionKind::BinaryProtocol);
    EXPECT_EQ(KindOfSession("BRIX", VI_INTF_ASRL), SessionKind::BinaryProtocol);
    EXPECT_EQ(KindOfSession("NFM", VI_INTF_TCPIP), SessionKind::DriverLibrary);
    EXPECT_EQ(KindOfSession("GNM", VI_INTF_GPIB), SessionKind::DriverLibrary);
}

TEST(SessionKind, HasAWordForPrograms) {
    EXPECT_EQ(KindWord(SessionKind::TcpSocket), "tcp-socket");
    EXPECT_EQ(KindWord(SessionKind::Vxi11), "vxi-11");
    EXPECT_EQ(KindWord(SessionKind::LocalSocket), "local-socket");
    EXPECT_EQ(KindWord(SessionKind::SerialPort), "serial-port");
    EXPECT_EQ(KindWord(SessionKind::DriverLibrary), "driver-library");
    EXPECT_EQ(KindWord(SessionKind::BinaryProtocol), "binary-protocol");
    EXPECT_EQ(KindWord(SessionKind::None), "none");
}

TEST(SessionKind, KnowsTheDriverLibraries) {
    EXPECT_EQ(DriverLibraryOf("ECAL"), "ecalbridge.dll");
    EXPECT_EQ(DriverLibraryOf("TRM"), "trmbridge.dll");
    EXPECT_EQ(DriverLibraryOf("QUILL"), "quillbridge.dll");
    EXPECT_EQ(DriverLibraryOf("NFM"), "libbridge_nfm.so");
    EXPECT_EQ(DriverLibraryOf("GNM"), "libbridge_gnm.so");
    EXPECT_EQ(DriverLibraryOf("SAPROC"), "libbridge_saproc.so");
    EXPECT_EQ(DriverLibraryOf("VNA"), "");
    EXPECT_EQ(DriverLibraryOf("INSTR"), "");
}

TEST(SessionKind, DescribesASocket) {
    EXPECT_EQ(Described(Resource("", VI_INTF_TCPIP, "SOCKET", {"TCPIP", "h", "5025", "SOCKET"})),
              "raw TCP socket: port 5025 of h");
    EXPECT_EQ(Described(Resource("", VI_INTF_TCPIP, "RAW", {"TCPIP", "h", "5025", "RAW"})),
              "raw TCP socket, which has the form TCPIP::HOST::PORT::SOCKET");
}

TEST(SessionKind, DescribesVxi11WithItsDriver) {
    const ParsedResource plain = Resource("", VI_INTF_TCPIP, "INSTR", {"TCPIP", "h", "INSTR"});
    EXPECT_EQ(Described(plain),
              "VXI-11 over a driver library, and none is bound (see --driver): inst0 of h");
    const ParsedResource named =
        Resource("", VI_INTF_TCPIP, "INSTR", {"TCPIP", "h", "hislip0", "INSTR"});
    EXPECT_EQ(Described(named, "./lan.so"),
              "VXI-11 over the driver library ./lan.so: hislip0 of h");
}

TEST(SessionKind, DescribesTheOthers) {
    EXPECT_EQ(Described(Resource("", VI_INTF_USOCK, "SOCKET", {"USOCK", "/tmp/a", "SOCKET"})),
              "local socket: /tmp/a");
    EXPECT_EQ(Described(Resource("", VI_INTF_ASRL, "INSTR", {"ttyUSB0", "INSTR"})),
              "serial port: /dev/ttyUSB0");
    EXPECT_EQ(Described(Resource("", VI_INTF_TCPIP, "NFM", {"TCPIP", "h", "NFM"})),
              "driver library libbridge_nfm.so");
    EXPECT_EQ(Described(Resource("", VI_INTF_TCPIP, "VNA", {"TCPIP", "h", "VNA"})),
              "a driver library, but there is none for VNA");
    EXPECT_EQ(Described(Resource("TCPIP::h::5::SOCKET::brix", VI_INTF_TCPIP, "BRIX",
                                 {"TCPIP", "h", "5", "SOCKET", "brix"})),
              "binary command protocol over TCPIP::h::5::SOCKET");
    EXPECT_EQ(Described(Resource("", VI_INTF_USB, "INSTR", {"USB", "INSTR"})),
              "nothing: USB instruments are found by searches and cannot be opened");
    EXPECT_EQ(Described(Resource("", VI_INTF_GPIB, "INSTR", {"GPIB", "1", "INSTR"})),
              "nothing opens resources of this interface");
}
