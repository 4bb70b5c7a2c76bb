#include "core/resourcemanager.h"

#include <gmock/gmock.h>

#include <memory>
#include <utility>

#include "tests/support/MockSession.h"
#include "uxvisa/visatype.h"

namespace {

struct Parsed {
    long status;
    unsigned short type = 99;
    unsigned short number = 99;
    char classWord[64] = "old";
    char expanded[64] = "old";
    char alias[8] = "old";
};

Parsed Parse(const char* resource) {
    CResourceManager manager(nullptr);
    Parsed parsed{};
    parsed.status = manager.ParseRsrcEx(const_cast<char*>(resource), &parsed.type, &parsed.number,
                                        parsed.classWord, parsed.expanded, parsed.alias);
    return parsed;
}

long OpenStatus(const char* resource) {
    CResourceManager manager(nullptr);
    ISession* session = nullptr;
    const long status = manager.Open(const_cast<char*>(resource), 0, 0, &session);
    EXPECT_EQ(session, nullptr) << resource;
    return status;
}

// Reports its own end; registered directly, past the factories.
class Tracked : public CBaseSession {
public:
    Tracked(unsigned long id, std::vector<int>& ends, int name) : m_ends(ends), m_name(name) {
        CBaseSession::SetID(id);
    }
    ~Tracked() override { m_ends.push_back(m_name); }
    long Close(unsigned long) override {
        ADD_FAILURE() << "the manager must not call a session's own Close";
        return VI_SUCCESS;
    }
    long CloseConnection() override {
        ADD_FAILURE() << "the manager must not call CloseConnection";
        return VI_SUCCESS;
    }

private:
    std::vector<int>& m_ends;
    int m_name;
};

// The registry is the first field behind the base's.
void Register(CResourceManager& manager, ISession* session) {
    char* fields = reinterpret_cast<char*>(&manager) + sizeof(CBaseSession);
    reinterpret_cast<std::vector<ISession*>*>(fields)->push_back(session);
}

} // namespace

TEST(ResourceManager, HasAnIdentifierFromTheStart) {
    CResourceManager manager(nullptr);
    EXPECT_GE(manager.GetID(), 1UL);
    EXPECT_LE(manager.GetID(), 0xFFFFFFFFUL);
    EXPECT_EQ(manager.FindSession(manager.GetID()), nullptr);
}

TEST(ResourceManager, KeepsItsLayout) {
    EXPECT_EQ(sizeof(CResourceManager), 56 + sizeof(std::vector<ISession*>) + sizeof(void*));
}

TEST(ResourceManager, FindsTheOldestAndClosesTheNewestOfEqualIdentifiersOnPurpose) {
    std::vector<int> ends;
    CResourceManager manager(nullptr);
    auto* oldest = new Tracked(5, ends, 1);
    Register(manager, oldest);
    Register(manager, new Tracked(6, ends, 2));
    Register(manager, new Tracked(5, ends, 3));
    EXPECT_EQ(manager.FindSession(5), oldest);
    EXPECT_EQ(manager.Close(5), VI_SUCCESS);
    EXPECT_THAT(ends, testing::ElementsAre(3));
    EXPECT_EQ(manager.FindSession(5), oldest);
    EXPECT_EQ(manager.Close(5), VI_SUCCESS);
    EXPECT_EQ(manager.FindSession(5), nullptr);
    EXPECT_NE(manager.FindSession(6), nullptr);
}

TEST(ResourceManager, ClosingAnUnknownIdentifierChangesNothing) {
    std::vector<int> ends;
    CResourceManager manager(nullptr);
    EXPECT_EQ(manager.Close(1), VI_ERROR_INV_OBJECT);
    Register(manager, new Tracked(5, ends, 1));
    EXPECT_EQ(manager.Close(1), VI_ERROR_INV_OBJECT);
    EXPECT_EQ(manager.Close(manager.GetID()), VI_ERROR_INV_OBJECT);
    EXPECT_THAT(ends, testing::ElementsAre());
}

TEST(ResourceManager, DestructorClosesNewestFirst) {
    std::vector<int> ends;
    {
        CResourceManager manager(nullptr);
        for (int i = 1; i <= 3; ++i) {
            Register(manager, new Tracked(static_cast<unsigned long>(i), ends, i));
        }
    }
    EXPECT_THAT(ends, testing::ElementsAre(3, 2, 1));
}

TEST(ParseRsrcEx, WritesAllOutputs) {
    const Parsed parsed = Parse("tcpip7::192.168.1.2::inst0::instr");
    EXPECT_EQ(parsed.status, VI_SUCCESS);
    EXPECT_EQ(parsed.type, VI_INTF_TCPIP);
    EXPECT_STREQ(parsed.classWord, "INSTR");
    EXPECT_STREQ(parsed.expanded, "tcpip7::192.168.1.2::inst0::instr");
    EXPECT_STREQ(parsed.alias, "");
}

TEST(ParseRsrcEx, BoardNumberIsAlwaysZeroOnPurpose) {
    EXPECT_EQ(Parse("TCPIP3::host::INSTR").number, 0);
}

TEST(ParseRsrcEx, InterfaceTypes) {
    EXPECT_EQ(Parse("GPIB0::22::INSTR").type, VI_INTF_GPIB);
    EXPECT_EQ(Parse("USB0::0x1::0x2::SN::0::INSTR").type, VI_INTF_USB);
    EXPECT_EQ(Parse("ttyACM0::INSTR").type, VI_INTF_ASRL);
    EXPECT_EQ(Parse("ttyS0::INSTR").type, VI_INTF_ASRL);
    EXPECT_EQ(Parse("USOCK::/tmp/sock::SOCKET").type, VI_INTF_USOCK);
    EXPECT_EQ(Parse("TCPIP::host::INSTR").type, VI_INTF_TCPIP);
}

TEST(ParseRsrcEx, TtyAnywhereInTheNameIsSerialOnPurpose) {
    EXPECT_EQ(Parse("pretty::INSTR").type, VI_INTF_ASRL);
}

TEST(ParseRsrcEx, RefusalsWriteNothing) {
    for (const char* resource :
         {"", "TCPIP0", "ASRL1::INSTR", "TCPIP0a::host::INSTR", "::host::INSTR", "0::x::INSTR",
          "TCPIPX::host::INSTR", "TCPIP::SOCKET", "TCPIP0::host::0::SOCKET",
          "TCPIP0::host::abc::SOCKET", "TCPIP0::host::::SOCKET", "VXI0::1::INSTR"}) {
        const Parsed parsed = Parse(resource);
        EXPECT_EQ(parsed.status, VI_ERROR_INV_RSRC_NAME) << resource;
        EXPECT_EQ(parsed.type, 99) << resource;
        EXPECT_STREQ(parsed.classWord, "old") << resource;
        EXPECT_STREQ(parsed.expanded, "old") << resource;
    }
    EXPECT_EQ(Parse(nullptr).status, VI_ERROR_INV_RSRC_NAME);
}

TEST(ParseRsrcEx, PortsCountByTheirLow32BitsOnPurpose) {
    EXPECT_EQ(Parse("TCPIP::h::-1::SOCKET").status, VI_SUCCESS);
    EXPECT_EQ(Parse("TCPIP::h::5025x::SOCKET").status, VI_SUCCESS);
    EXPECT_EQ(Parse("TCPIP::h:: 5025::SOCKET").status, VI_SUCCESS);
    EXPECT_EQ(Parse("TCPIP::h::4294967297::socket").status, VI_SUCCESS);
    EXPECT_EQ(Parse("TCPIP::h::0x10::SOCKET").status, VI_ERROR_INV_RSRC_NAME);
    EXPECT_EQ(Parse("TCPIP::h::4294967296::SOCKET").status, VI_ERROR_INV_RSRC_NAME);
    EXPECT_EQ(Parse("USOCK::/tmp/x::0::SOCKET").status, VI_SUCCESS);
}

TEST(ParseRsrcEx, OptionalOutputsMayBeNull) {
    CResourceManager manager(nullptr);
    char resource[] = "USB::1::INSTR";
    unsigned short type = 0;
    unsigned short number = 0;
    EXPECT_EQ(manager.ParseRsrcEx(resource, &type, &number, nullptr, nullptr, nullptr), VI_SUCCESS);
    EXPECT_EQ(type, VI_INTF_USB);
}

TEST(ResourceManagerOpen, RefusesWhatDoesNotParse) {
    EXPECT_EQ(OpenStatus("ASRL1::INSTR"), VI_ERROR_INV_RSRC_NAME);
    EXPECT_EQ(OpenStatus(nullptr), VI_ERROR_INV_RSRC_NAME);
    EXPECT_EQ(OpenStatus(""), VI_ERROR_INV_RSRC_NAME);
}

TEST(ResourceManagerOpen, GpibAndUsbHaveNoSession) {
    EXPECT_EQ(OpenStatus("GPIB0::22::INSTR"), VI_ERROR_RSRC_NFOUND);
    EXPECT_EQ(OpenStatus("GPIB0::22::OTHER"), VI_ERROR_RSRC_NFOUND);
    EXPECT_EQ(OpenStatus("USB0::1::2::SN::INSTR"), VI_ERROR_RSRC_NFOUND);
    EXPECT_EQ(OpenStatus("USB0::1::2::SN::RAW"), VI_ERROR_RSRC_NFOUND);
}

TEST(ResourceManagerOpen, TheClassWordDecidesBeforeTheInterfaceOnPurpose) {
    for (const char* interface : {"TCPIP0::127.0.0.1::5025", "GPIB0::22", "USB0::1::2", "ttyS0"}) {
        for (const char* word : {"VNA", "sa", "NFA", "GEN", "NFM", "GNM"}) {
            testing::internal::CaptureStderr();
            EXPECT_EQ(OpenStatus((std::string(interface) + "::" + word).c_str()),
                      VI_ERROR_LIBRARY_NFOUND)
                << word;
            EXPECT_EQ(testing::internal::GetCapturedStderr(), "") << word;
        }
        for (const auto& [word, library] :
             {std::pair("ECAL", "ecalbridge.dll"), std::pair("trm", "trmbridge.dll"),
              std::pair("QUILL", "quillbridge.dll"), std::pair("SAPROC", "libbridge_saproc.so")}) {
            testing::internal::CaptureStderr();
            EXPECT_EQ(OpenStatus((std::string(interface) + "::" + word).c_str()),
                      VI_ERROR_LIBRARY_NFOUND)
                << word;
            EXPECT_EQ(testing::internal::GetCapturedStderr(),
                      std::string(library) + ": cannot open shared object file: No such file or "
                                             "directory\n");
        }
    }
}

TEST(ResourceManagerOpen, Vxi11NeedsADriverThatNobodyHereLoads) {
    EXPECT_EQ(OpenStatus("TCPIP0::127.0.0.1::inst0::INSTR"), VI_ERROR_LIBRARY_NFOUND);
    EXPECT_EQ(OpenStatus("TCPIP0::127.0.0.1::hislip0::INSTR"), VI_ERROR_LIBRARY_NFOUND);
}

TEST(ResourceManagerOpen, BrixNeedsAProtocolLibraryThatIsNotHere) {
    for (const char* resource :
         {"TCPIP0::127.0.0.1::5025::BRIX", "tcpip0::127.0.0.1::5025::brix", "USB0::1::2::BRIX"}) {
        testing::internal::CaptureStderr();
        EXPECT_EQ(OpenStatus(resource), VI_ERROR_LIBRARY_NFOUND) << resource;
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "") << resource;
    }
}

TEST(ResourceManagerOpen, InterfacesWithoutASessionAreNotFound) {
    EXPECT_EQ(OpenStatus("GPIB0::5::INSTR"), VI_ERROR_RSRC_NFOUND);
    EXPECT_EQ(OpenStatus("USB0::0x1::0x2::3::0::INSTR"), VI_ERROR_RSRC_NFOUND);
    EXPECT_EQ(OpenStatus("GPIB0::5::SOCKET"), VI_ERROR_RSRC_NFOUND);
}

TEST(ResourceManagerOpen, SerialPortsAreDevicesUnderAnyWord) {
    EXPECT_EQ(OpenStatus("ttyUxVisaAbsent0::INSTR"), VI_ERROR_RSRC_NFOUND);
    EXPECT_EQ(OpenStatus("ttyUxVisaAbsent0::RAW"), VI_ERROR_RSRC_NFOUND);
}

TEST(ResourceManagerOpen, ReturnsTheStatusOfAFailedConnection) {
    EXPECT_EQ(OpenStatus("TCPIP::host::5025"), VI_ERROR_INV_RSRC_NAME);
    EXPECT_EQ(OpenStatus("TCPIP::127.0.0.1::5025::extra::SOCKET"), VI_ERROR_INV_RSRC_NAME);
}

TEST(ResourceManagerOpen, VeryLongStringsDoNoHarm) {
    const std::string longClass = "TCPIP::host::" + std::string(100000, 'x');
    EXPECT_EQ(OpenStatus(longClass.c_str()), VI_ERROR_INV_RSRC_NAME);
}

TEST(IsHislipSession, LooksInEveryFieldInEitherCase) {
    std::vector<std::string> fields{"TCPIP0", "host", "hislip0", "INSTR"};
    EXPECT_TRUE(isHislipSession(fields));
    fields[2] = "inst0";
    EXPECT_FALSE(isHislipSession(fields));
    fields.clear();
    EXPECT_FALSE(isHislipSession(fields));
}
