// Searches in networks of the test's own, through the C API.
#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include <arpa/inet.h>
#include <linux/if_ether.h>
#include <linux/if_packet.h>
#include <net/if_arp.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "core/resourcemanager.h"
#include "support/DatagramPeer.h"
#include "support/Namespace.h"
#include "transports/RpcRecord.h"
#include "transports/SessionTCPIP.h"
#include "transports/SessionVXI11.h"
#include "uxvisa/visa.h"

using namespace std::chrono_literals;
using namespace uxvisa::test;
using uxvisa::rpc::Word;

namespace {

constexpr int SocketPort = 8889;
constexpr int PortmapperPort = 111;
// For what takes a second on an idle machine.
constexpr auto Soon = 6s;

struct Found {
    ViStatus status = 4711;
    unsigned long count = 4711;
    std::vector<std::string> resources;
    std::vector<std::string> models;
    std::chrono::milliseconds time{0};

    bool Has(const std::string& resource) const {
        return std::find(resources.begin(), resources.end(), resource) != resources.end();
    }
};

std::string Attribute(ViFindList list, ViAttr attribute) {
    char value[VI_FIND_BUFLEN] = "?";
    EXPECT_EQ(viGetAttribute(list, attribute, value), VI_SUCCESS);
    return value;
}

// What the calling thread's namespace shows.
Found SearchHere(const std::string& expression) {
    Found found;
    ViSession manager = 0;
    ViFindList list = 0;
    char description[VI_FIND_BUFLEN];
    EXPECT_EQ(viOpenDefaultRM(&manager), VI_SUCCESS);
    const auto start = std::chrono::steady_clock::now();
    found.status = viFindRsrc(manager, expression.c_str(), &list, &found.count, description);
    found.time = std::chrono::duration_cast<std::chrono::milliseconds>(
        std::chrono::steady_clock::now() - start);
    for (ViStatus status = found.status; status == VI_SUCCESS;
         status = viFindNext(list, description)) {
        found.resources.emplace_back(description);
        found.models.push_back(Attribute(list, VI_ATTR_MODEL_NAME));
    }
    if (found.status == VI_SUCCESS) {
        EXPECT_EQ(found.count, found.resources.size());
        EXPECT_EQ(viClose(list), VI_SUCCESS);
    }
    return found;
}

Found SearchIn(const NetworkNamespace& where, const std::string& expression = "?*") {
    Found found;
    where.Do([&] { found = SearchHere(expression); });
    return found;
}

// The serial ports and USB devices of this machine are found as well, and are not the matter here.
std::vector<std::string> OnTheLan(const Found& found) {
    std::vector<std::string> resources;
    for (const std::string& resource : found.resources) {
        if (resource.starts_with("TCPIP")) {
            resources.push_back(resource);
        }
    }
    return resources;
}

DatagramPeer::Answer Saying(const std::string& reply) {
    return [reply](const auto&) { return std::vector<std::string>{reply}; };
}

std::string Reply(const std::string& host, const std::string& model = "KX10",
                  const std::string& serial = "SN1") {
    return host + "\t5025\tname\t" + model + " " + serial;
}

std::string PortReply(std::uint32_t port = 1024) {
    return Word(1000) + Word(1) + Word(0) + Word(0) + Word(0) + Word(0) + Word(port);
}

std::string SocketResource(const std::string& host, int index = 0) {
    return "TCPIP" + std::to_string(index) + "::" + host + "::5025::SOCKET";
}

using Texts = std::vector<std::string>;

// A machine that searches, and another, on one LAN.
class Discovery : public NamespaceTest {
protected:
    void SetUp() override {
        NamespaceTest::SetUp();
        if (IsSkipped() || HasFatalFailure()) {
            return;
        }
        here = std::make_unique<NetworkNamespace>();
        there = std::make_unique<NetworkNamespace>();
        lan = std::make_unique<Lan>();
        lan->Attach(*here, "eth0", "10.77.0.1");
        lan->Attach(*there, "eth0", "10.77.0.2");
    }

    std::unique_ptr<NetworkNamespace> here;
    std::unique_ptr<NetworkNamespace> there;
    std::unique_ptr<Lan> lan;
};

std::vector<std::string> g_records;

long Record(ISession*, const char* record, void*) {
    g_records.emplace_back(record);
    return VI_SUCCESS;
}

// Sees what leaves the calling thread's namespace; the loopback interface sees each datagram twice,
// and so is left out.
class PacketObserver {
public:
    PacketObserver() : m_socket(socket(AF_PACKET, SOCK_DGRAM, htons(ETH_P_ALL))) {
        EXPECT_NE(m_socket.Get(), -1);
    }

    Texts SendersTo(int port) const {
        Texts senders;
        std::vector<unsigned char> packet(2048);
        sockaddr_ll link{};
        socklen_t size = sizeof link;
        while (recvfrom(m_socket.Get(), packet.data(), packet.size(), MSG_DONTWAIT,
                        reinterpret_cast<sockaddr*>(&link), &size) > 0) {
            const bool datagram = packet[0] == 0x45 && packet[9] == IPPROTO_UDP;
            if (link.sll_pkttype == PACKET_OUTGOING && link.sll_hatype != ARPHRD_LOOPBACK &&
                datagram && packet[22] * 256 + packet[23] == port) {
                in_addr sender{};
                std::memcpy(&sender, &packet[12], sizeof sender);
                senders.emplace_back(inet_ntoa(sender));
            }
        }
        return senders;
    }

private:
    Descriptor m_socket;
};

int OpenDescriptors() {
    const auto files = std::filesystem::directory_iterator("/proc/self/fd");
    return static_cast<int>(std::distance(begin(files), end(files)));
}

// Leaves room for so many descriptors more.
void LimitDescriptors(int more) {
    const int lowest = dup(0);
    close(lowest);
    const rlimit limit{static_cast<rlim_t>(lowest + more), static_cast<rlim_t>(lowest + more)};
    setrlimit(RLIMIT_NOFILE, &limit);
}

} // namespace

TEST_F(Discovery, FindsAnInstrument) {
    const DatagramPeer instrument(*there, SocketPort, Saying("scope\t5025\tLab\tKX10 Pro SN-7"));
    here->Do([&] {
        ViSession manager = 0;
        ViFindList list = 0;
        ViUInt32 count = 0;
        char description[VI_FIND_BUFLEN];
        viOpenDefaultRM(&manager);
        ASSERT_EQ(viFindRsrc(manager, "TCPIP?*", &list, &count, description), VI_SUCCESS);
        std::string resource = description;
        while (!resource.starts_with("TCPIP") && viFindNext(list, description) == VI_SUCCESS) {
            resource = description;
        }
        EXPECT_EQ(resource, "TCPIP0::scope::5025::SOCKET");
        EXPECT_STREQ(description + resource.size() + 1, "\tLab\tKX10 Pro SN-7\t10.77.0.2\t");
        EXPECT_EQ(Attribute(list, VI_ATTR_MANF_NAME), "Orvane");
        EXPECT_EQ(Attribute(list, VI_ATTR_MODEL_NAME), "KX10 Pro");
        EXPECT_EQ(Attribute(list, VI_ATTR_USB_SERIAL_NUM), "SN-7");
        EXPECT_EQ(Attribute(list, 0x3FFF024A), "Lab");
        EXPECT_EQ(Attribute(list, VI_ATTR_TCPIP_ADDR), "10.77.0.2");
        EXPECT_EQ(viFindNext(list, description), VI_ERROR_RSRC_NFOUND);
        EXPECT_EQ(viClose(list), VI_SUCCESS);
    });
}

TEST_F(Discovery, AsksTwiceFromTheRightPorts) {
    DatagramPeer sockets(*there, SocketPort, Saying(Reply("a")));
    DatagramPeer portmapper(*there, PortmapperPort, Saying(PortReply()));
    SearchIn(*here);
    ASSERT_EQ(sockets.Heard().size(), 2U) << "once to the LAN and once to everybody, on purpose";
    for (const auto& request : sockets.Heard()) {
        EXPECT_EQ(request.bytes, "UxVISA Discovery");
        EXPECT_EQ(request.sender, "10.77.0.1");
        EXPECT_EQ(request.senderPort, 8890);
    }
    ASSERT_EQ(portmapper.Heard().size(), 2U);
    for (const auto& request : portmapper.Heard()) {
        EXPECT_EQ(request.bytes, uxvisa::rpc::GetPortCall(1000));
        EXPECT_EQ(request.sender, "10.77.0.1");
        EXPECT_EQ(request.senderPort, 9757);
    }
}

TEST_F(Discovery, SocketsComeBeforeVxi11) {
    const DatagramPeer portmapper(*there, PortmapperPort, Saying(PortReply()));
    const DatagramPeer sockets(*there, SocketPort, Saying(Reply("a")));
    const Found found = SearchIn(*here);
    EXPECT_EQ(OnTheLan(found), (Texts{SocketResource("a"), "TCPIP0::10.77.0.2::inst0::INSTR"}));
}

TEST_F(Discovery, BothWordsForEverythingFindTheSame) {
    const DatagramPeer sockets(*there, SocketPort, Saying(Reply("a")));
    EXPECT_EQ(SearchIn(*here, "?*").resources, SearchIn(*here, "?*[T,E][R,T]").resources);
    EXPECT_EQ(OnTheLan(SearchIn(*here, "")), Texts{SocketResource("a")});
}

TEST_F(Discovery, MatchesTheExpression) {
    const DatagramPeer portmapper(*there, PortmapperPort, Saying(PortReply()));
    const DatagramPeer sockets(*there, SocketPort, Saying(Reply("a", "Kx10")));
    const std::string socket = SocketResource("a");
    const std::string instr = "TCPIP0::10.77.0.2::inst0::INSTR";
    EXPECT_EQ(OnTheLan(SearchIn(*here, "?*INSTR")), Texts{instr});
    EXPECT_EQ(OnTheLan(SearchIn(*here, "?*::SOCKET")), Texts{socket});
    EXPECT_EQ(OnTheLan(SearchIn(*here, "TCPIP?*")), (Texts{socket, instr}));
    EXPECT_EQ(OnTheLan(SearchIn(*here, "KX10")), Texts{socket});
    EXPECT_EQ(OnTheLan(SearchIn(*here, "kx10")), Texts{}) << "not upper-cased, on purpose";
    EXPECT_EQ(OnTheLan(SearchIn(*here, "GPIB?*")), Texts{});
}

TEST_F(Discovery, IgnoresWhatMakesNoSense) {
    const std::vector<std::string> garbage{
        "",          std::string(1, '\0'),       "\t\t\t",
        "host only", std::string(65507, '\xFF'), std::string(65507, '\t'),
        "\r\n\r\n",  "UxVISA Discovery"};
    const DatagramPeer sockets(*there, SocketPort, [&](const auto&) {
        std::vector<std::string> answers = garbage;
        answers.push_back(Reply("good"));
        return answers;
    });
    const DatagramPeer portmapper(*there, PortmapperPort, [&](const auto& request) {
        std::vector<std::string> answers = garbage;
        answers.push_back(request.bytes);
        answers.push_back(PortReply(0));
        answers.push_back(PortReply(70000));
        return answers;
    });
    const Found found = SearchIn(*here);
    EXPECT_EQ(OnTheLan(found), Texts{SocketResource("good")});
}

TEST_F(Discovery, ALargeReplyIsCutToTheDescription) {
    const std::string host(60000, 'h');
    const DatagramPeer sockets(*there, SocketPort, Saying(Reply(host)));
    const Found found = SearchIn(*here);
    ASSERT_EQ(OnTheLan(found).size(), 1U);
    EXPECT_EQ(OnTheLan(found)[0], SocketResource(host).substr(0, VI_FIND_BUFLEN - 1));
}

TEST_F(Discovery, SeveralInstrumentsOnOneHostAreSeveral) {
    const DatagramPeer sockets(*there, SocketPort, [](const auto&) {
        return Texts{Reply("a", "KX10", "1"), Reply("a", "KX10", "2"), Reply("a", "KX10", "1")};
    });
    const Found found = SearchIn(*here);
    EXPECT_EQ(OnTheLan(found), (Texts{SocketResource("a"), SocketResource("a")}));
}

TEST_F(Discovery, ManyRespondersDoNotLengthenIt) {
    std::vector<std::unique_ptr<NetworkNamespace>> hosts;
    std::vector<std::unique_ptr<DatagramPeer>> peers;
    std::set<std::string> expected;
    for (int i = 0; i < 20; ++i) {
        const std::string address = "10.77.0." + std::to_string(100 + i);
        hosts.push_back(std::make_unique<NetworkNamespace>());
        lan->Attach(*hosts.back(), "eth0", address);
        peers.push_back(
            std::make_unique<DatagramPeer>(*hosts.back(), SocketPort, Saying(Reply(address))));
        peers.push_back(
            std::make_unique<DatagramPeer>(*hosts.back(), PortmapperPort, Saying(PortReply())));
        expected.insert(SocketResource(address));
        expected.insert("TCPIP0::" + address + "::inst0::INSTR");
    }
    const Found found = SearchIn(*here);
    const Texts resources = OnTheLan(found);
    EXPECT_EQ(std::set<std::string>(resources.begin(), resources.end()), expected);
    EXPECT_EQ(resources.size(), expected.size());
    EXPECT_LT(found.time, Soon);
    RecordProperty("milliseconds", static_cast<int>(found.time.count()));
}

TEST_F(Discovery, TwoLansHaveTwoNumbers) {
    NetworkNamespace beyond;
    Lan other;
    other.Attach(*here, "eth1", "10.78.0.1");
    other.Attach(beyond, "eth0", "10.78.0.2");
    const DatagramPeer first(*there, SocketPort, Saying(Reply("a")));
    const DatagramPeer second(beyond, SocketPort, Saying(Reply("b")));
    const Found found = SearchIn(*here);
    const Texts resources = OnTheLan(found);
    EXPECT_EQ(std::set<std::string>(resources.begin(), resources.end()),
              (std::set<std::string>{SocketResource("a", 0), SocketResource("b", 1)}));
}

TEST_F(Discovery, AnInstrumentOnTwoLansIsReportedOnce) {
    Lan other;
    other.Attach(*here, "eth1", "10.78.0.1");
    other.Attach(*there, "eth1", "10.78.0.2");
    DatagramPeer instrument(*there, SocketPort, Saying(Reply("a")));
    const Found found = SearchIn(*here);
    ASSERT_EQ(OnTheLan(found).size(), 1U);
    EXPECT_GE(instrument.Heard().size(), 3U) << "it was asked over both";
}

TEST_F(Discovery, TheLoopbackAddressIsSkippedButNotItsNeighboursOnPurpose) {
    NetworkNamespace alone;
    alone.Do([] {
        const PacketObserver observer;
        SearchHere("?*");
        EXPECT_EQ(observer.SendersTo(SocketPort), Texts{});
    });
    lan->Attach(alone, "eth0", "127.0.0.2");
    alone.Do([] {
        std::ofstream("/proc/sys/net/ipv4/conf/all/route_localnet") << "1";
        const PacketObserver observer;
        SearchHere("?*");
        EXPECT_EQ(observer.SendersTo(SocketPort), (Texts{"127.0.0.2", "127.0.0.2"}));
    });
}

TEST_F(Discovery, WithoutInterfacesFindsNothing) {
    const NetworkNamespace alone;
    alone.Do([] {
        CSessionTCPIP sockets;
        CSessionVXI11 vxi11;
        char everything[] = "";
        g_records.clear();
        EXPECT_EQ(sockets.FindResources(everything, Record, nullptr), VI_SUCCESS);
        EXPECT_EQ(vxi11.FindResources(everything, Record, nullptr), VI_SUCCESS);
        EXPECT_EQ(g_records, Texts{});
    });
}

TEST_F(Discovery, AListIsRegisteredUntilItIsClosed) {
    const DatagramPeer sockets(*there, SocketPort, Saying(Reply("a")));
    here->Do([] {
        CResourceManager manager(nullptr);
        char expression[] = "TCPIP?*";
        unsigned long count = 0;
        ISession* list = nullptr;
        ASSERT_EQ(manager.FindRsrc(expression, &list, &count, nullptr), VI_SUCCESS);
        EXPECT_GE(count, 1UL);
        ASSERT_NE(list, nullptr);
        const unsigned long id = list->GetID();
        EXPECT_EQ(manager.FindSession(id), list);
        EXPECT_EQ(manager.Close(id), VI_SUCCESS);
        EXPECT_EQ(manager.FindSession(id), nullptr);
    });
}

TEST_F(Discovery, AnInterfaceWhosePortIsTakenIsPassedOver) {
    Lan other;
    other.Attach(*here, "eth1", "10.78.0.1");
    other.Attach(*there, "eth1", "10.78.0.2");
    const DatagramPeer instrument(*there, SocketPort,
                                  [](const auto& request) { return Texts{Reply(request.sender)}; });
    here->Do([&] {
        const Descriptor taken(socket(AF_INET, SOCK_DGRAM, 0));
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(8890);
        address.sin_addr.s_addr = htonl(0x0A4D0001);
        ASSERT_EQ(bind(taken.Get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
        EXPECT_EQ(OnTheLan(SearchHere("?*")), Texts{SocketResource("10.78.0.1", 0)})
            << "only sockets that were bound are counted";
    });
}

// A busy machine may be late by more than these margins, so a few attempts are allowed; being wrong
// is wrong every time.
TEST_F(Discovery, KeepsALateAnswerAndDropsOneThatIsTooLate) {
    bool kept = false;
    bool dropped = false;
    for (int attempt = 0; attempt < 8 && !(kept && dropped); ++attempt) {
        {
            const DatagramPeer late(*there, SocketPort, Saying(Reply("late")), 450ms);
            kept = kept || OnTheLan(SearchIn(*here)) == Texts{SocketResource("late")};
        }
        const DatagramPeer tooLate(*there, SocketPort, Saying(Reply("late")), 700ms);
        dropped = dropped || OnTheLan(SearchIn(*here)).empty();
    }
    EXPECT_TRUE(kept);
    EXPECT_TRUE(dropped);
}

TEST_F(Discovery, TheEmulatorIsReportedWhenErrnoSaysSoOnPurpose) {
    const DatagramPeer instrument(*there, SocketPort, Saying(Reply("a")));
    here->Do([&] {
        const auto search = [](const std::string& expression, int error) {
            CSessionTCPIP session;
            std::string text = expression;
            g_records.clear();
            errno = error;
            EXPECT_EQ(session.FindResources(text.data(), Record, nullptr), VI_SUCCESS);
            return g_records;
        };
        const std::string emulator =
            "TCPIP::localhost::8888::SOCKET\nOrvane\nEmulator\n\n\n127.0.0.1";
        for (const char* expression : {"", "TCPIP", "TCPIP?*", "KX10"}) {
            const Texts records = search(expression, EALREADY);
            ASSERT_EQ(records.size(), 2U) << expression;
            EXPECT_EQ(records[0], emulator);
        }
        EXPECT_EQ(search("KX20", EALREADY), Texts{emulator});
        EXPECT_EQ(search("TCPIP0", EALREADY).size(), 1U);
        EXPECT_EQ(search("", EINPROGRESS).size(), 1U);
        errno = EALREADY;
        EXPECT_EQ(OnTheLan(SearchHere("?*")), Texts{SocketResource("a")})
            << "a search has a thread of its own, and with it an errno";
    });
}

TEST_F(Discovery, ANullExpressionOfATransportIsRefused) {
    here->Do([&] {
        CSessionTCPIP session;
        EXPECT_EQ(session.FindResources(nullptr, Record, nullptr), VI_ERROR_SYSTEM_ERROR);
    });
}

TEST_F(Discovery, LeavesNoDescriptorOpen) {
    const DatagramPeer sockets(*there, SocketPort, Saying(Reply("a")));
    here->Do([&] {
        SearchHere("?*");
        const int before = OpenDescriptors();
        SearchHere("?*");
        EXPECT_EQ(OpenDescriptors(), before);
    });
}

TEST_F(Discovery, ASearchThatKeepsNoList) {
    const DatagramPeer sockets(*there, SocketPort, Saying(Reply("a")));
    here->Do([&] {
        ViSession manager = 0;
        char description[VI_FIND_BUFLEN] = "";
        viOpenDefaultRM(&manager);
        EXPECT_EQ(viFindRsrc(manager, "?*", nullptr, nullptr, description), VI_SUCCESS);
        EXPECT_STRNE(description, "");
        EXPECT_EQ(viFindRsrc(manager, "?*", nullptr, nullptr, nullptr), VI_SUCCESS);
    });
}

// One search first, since a sanitizer needs descriptors to look at something for the first time.
class DiscoveryDeathTest : public Discovery {
protected:
    long SearchWithDescriptors(int descriptors) const {
        long status = 4711;
        here->Do([&] {
            char everything[] = "";
            CSessionTCPIP().FindResources(everything, Record, nullptr);
            LimitDescriptors(descriptors);
            status = CSessionTCPIP().FindResources(everything, Record, nullptr);
        });
        return status;
    }
};

TEST_F(DiscoveryDeathTest, WithoutAListOfInterfacesTheProcessEndsOnPurpose) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(SearchWithDescriptors(1), testing::ExitedWithCode(1),
                "getifaddrs: Too many open files");
}

TEST_F(DiscoveryDeathTest, WithoutAnySocketNothingIsFound) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(_exit(SearchWithDescriptors(0) == VI_ERROR_RSRC_NFOUND ? 7 : 8),
                testing::ExitedWithCode(7), "");
}
