// Searches of the uxvisa program, in networks of the test's own and on a machine without devices.
#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include <array>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include <linux/capability.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include "support/DatagramPeer.h"
#include "support/Namespace.h"
#include "tools/TemporaryDirectory.h"
#include "tools/Terminal.h"
#include "tools/ToolRun.h"

using namespace uxvisa::test;
using Json = nlohmann::ordered_json;
using testing::EndsWith;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;
using testing::StartsWith;

namespace {

constexpr int SocketPort = 8889;
constexpr int PortmapperPort = 111;

DatagramPeer::Answer Saying(const std::string& reply) {
    return [reply](const auto&) { return std::vector<std::string>{reply}; };
}

// An accepted reply of a portmapper: port 1024.
std::string PortReply() {
    std::string reply(28, '\0');
    reply[7] = 1;
    reply[26] = 4;
    return reply;
}

// The calling thread, and what it starts, sees no serial port and no USB device.
void HideDevices() {
    ASSERT_EQ(::unshare(CLONE_NEWNS), 0);
    ASSERT_EQ(::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr), 0);
    ASSERT_EQ(::mount("none", "/sys", "tmpfs", 0, nullptr), 0);
    for (const auto* folder : {"/sys/class", "/sys/class/tty", "/sys/bus"}) {
        ASSERT_EQ(::mkdir(folder, 0755), 0);
    }
}

// The calling thread, and what it starts, has a serial device that even root may not open.
void AddClosedDevice() {
    ASSERT_EQ(::mount("none", "/dev", "tmpfs", 0, nullptr), 0);
    ASSERT_EQ(::mknod("/dev/null", S_IFCHR | 0666, ::makedev(1, 3)), 0);
    WriteFile("/dev/ttyUSB7", "");
    ASSERT_EQ(::chmod("/dev/ttyUSB7", 0), 0);
    ASSERT_EQ(::prctl(PR_CAPBSET_DROP, CAP_DAC_OVERRIDE), 0);
}

// A machine that searches, and another, on one LAN.
class Find : public NamespaceTest {
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

    static ToolResult RunIn(const NetworkNamespace& where, std::vector<std::string> arguments,
                            const ToolStreams& streams = {}) {
        arguments.insert(arguments.begin(), "find");
        ToolResult result;
        where.Do([&] {
            HideDevices();
            result = RunTool(arguments, streams);
        });
        return result;
    }

    ToolResult Run(const std::vector<std::string>& arguments,
                   const ToolStreams& streams = {}) const {
        return RunIn(*here, arguments, streams);
    }

    std::unique_ptr<NetworkNamespace> here;
    std::unique_ptr<NetworkNamespace> there;
    std::unique_ptr<Lan> lan;
};

constexpr char Scope[] = "scope\t5025\tLab\tKX10 Pro SN-7";
constexpr char FirewallHint[] =
    "hint: LAN searched from 10.77.0.1: does a firewall drop answers to the UDP ports 8890 and "
    "9757? An instrument behind a router is not found, but can be opened\n";
constexpr char NothingFound[] = "nothing was found (VI_ERROR_RSRC_NFOUND, 0xBFFF0011)\n";

} // namespace

TEST_F(Find, PrintsATable) {
    const DatagramPeer instrument(*there, SocketPort, Saying(Scope));
    const DatagramPeer portmapper(*there, PortmapperPort, Saying(PortReply()));
    const ToolResult result = Run({});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.error, "");
    EXPECT_EQ(
        result.output,
        "RESOURCE                         MANUFACTURER  MODEL     SERIAL NUMBER  ADDRESS\n"
        "TCPIP0::scope::5025::SOCKET      Orvane        KX10 Pro  SN-7           10.77.0.2\n"
        "TCPIP0::10.77.0.2::inst0::INSTR  -             -         -              10.77.0.2\n");
}

TEST_F(Find, GivesJson) {
    const DatagramPeer instrument(*there, SocketPort, Saying(Scope));
    const ToolResult result = Run({"--json"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.error, "");
    Json object = Json::parse(result.output);
    EXPECT_GT(object.at("elapsed_ms"), 0);
    object.erase("elapsed_ms");
    EXPECT_EQ(object, Json({{"expression", "?*"},
                            {"resources", Json::array({{{"resource", "TCPIP0::scope::5025::SOCKET"},
                                                        {"manufacturer", "Orvane"},
                                                        {"model", "KX10 Pro"},
                                                        {"serial_number", "SN-7"},
                                                        {"identity", "Lab"},
                                                        {"address", "10.77.0.2"}}})}}));
}

TEST_F(Find, GivesTheShellResourcesToGoOnWith) {
    const DatagramPeer instrument(*there, SocketPort, [](const auto&) {
        return std::vector<std::string>{"a\t1\tLab One\tKX 10 X 1", "b\t2\t\tKX20 2"};
    });
    here->Do([] {
        HideDevices();
        std::FILE* pipe = ::popen(UXVISA_TOOL " find | awk 'NR>1{print $1}'", "r");
        ASSERT_NE(pipe, nullptr);
        std::array<char, 4096> text{};
        text[std::fread(text.data(), 1, text.size() - 1, pipe)] = '\0';
        EXPECT_EQ(::pclose(pipe), 0);
        EXPECT_STREQ(text.data(), "TCPIP0::a::1::SOCKET\nTCPIP0::b::2::SOCKET\n");
    });
}

TEST_F(Find, DoesNotLetAnInstrumentActOnTheTerminal) {
    const DatagramPeer instrument(*there, SocketPort,
                                  Saying("my\x1B]0;scope x\t5025\tLab\t\x1B[2JKX10\x07 \xFF"));
    const ToolResult result = Run({});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.output,
                HasSubstr("\nTCPIP0::my\\x1B]0;scope\\x20x::5025::SOCKET  Orvane        "
                          "\\x1B[2JKX10\\x07  \\xFF           10.77.0.2\n"));
}

TEST_F(Find, TakesAnExpression) {
    const DatagramPeer instrument(*there, SocketPort, Saying(Scope));
    const DatagramPeer portmapper(*there, PortmapperPort, Saying(PortReply()));
    EXPECT_THAT(Run({"?*INSTR"}).output, Not(HasSubstr("SOCKET")));
    const ToolResult model = Run({"KX10"});
    EXPECT_THAT(model.output, HasSubstr("SOCKET"));
    EXPECT_THAT(model.output, Not(HasSubstr("INSTR")));
}

TEST_F(Find, TellsTheTime) {
    const DatagramPeer instrument(*there, SocketPort, Saying(Scope));
    EXPECT_THAT(Run({"--time"}).error, MatchesRegex("uxvisa: [0-9.]+ m?s, 1 found\n"));
}

TEST_F(Find, WithADriverAsksForTheIdentityWhateverTheDriverPrints) {
    const DatagramPeer portmapper(*there, PortmapperPort, Saying(PortReply()));
    const ToolResult result = Run({"--driver", UXVISA_TALKATIVE_DRIVER, "--json"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.error, "");
    EXPECT_EQ(Json::parse(result.output).at("resources"),
              Json::array({{{"resource", "TCPIP0::10.77.0.2::inst0::INSTR"},
                            {"manufacturer", "Maker"},
                            {"model", "TALK-1"},
                            {"serial_number", "SN-9"},
                            {"identity", "1.2.3"},
                            {"address", "10.77.0.2"}}}));
    EXPECT_THAT(Run({"--driver", UXVISA_TALKATIVE_DRIVER}).output, StartsWith("RESOURCE "));
}

TEST_F(Find, ShowsOnATerminalThatItIsSearching) {
    const DatagramPeer instrument(*there, SocketPort, Saying(Scope));
    Terminal terminal;
    ToolStreams streams;
    streams.error = terminal.Slave();
    const ToolResult result = Run({}, streams);
    EXPECT_THAT(terminal.Text(), StartsWith("\rsearching 0.0 s\rsearching 0."));
    EXPECT_THAT(terminal.Text(), EndsWith(" s\r               \r"));
    EXPECT_THAT(result.output, StartsWith("RESOURCE "));
}

TEST_F(Find, WithoutAnAnswerPointsAtTheFirewall) {
    const ToolResult result = Run({});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.error, std::string("uxvisa: ") + NothingFound + FirewallHint);
}

TEST_F(Find, WithoutALanSaysSo) {
    const NetworkNamespace alone;
    const ToolResult result = RunIn(alone, {});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.error, std::string("uxvisa: ") + NothingFound +
                                "hint: no network interface with an IPv4 broadcast address is up, "
                                "so no LAN was searched: see 'ip -4 address'\n");
}

TEST_F(Find, SaysThatTheExpressionLeavesNothing) {
    const DatagramPeer instrument(*there, SocketPort, Saying(Scope));
    const ToolResult result = Run({"KX99"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.error, std::string("uxvisa: KX99: ") + NothingFound +
                                "hint: without the expression 1 resource is found; 'uxvisa find' "
                                "lists it\n");
}

TEST_F(Find, LowerCaseFindsNothingOnPurposeAndIsToldSo) {
    const DatagramPeer instrument(*there, SocketPort, Saying(Scope));
    const ToolResult result = Run({"kx10"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.error, HasSubstr("hint: an expression is looked for in upper-case text, so "
                                        "lower-case letters match nothing: try 'KX10'\n"
                                        "hint: without the expression 1 resource is found"));
}

TEST_F(Find, NamesAPortThatAnotherProgramHolds) {
    const DatagramPeer taken(*here, 8890, [](const auto&) { return std::vector<std::string>(); });
    EXPECT_THAT(Run({}).error, HasSubstr("\nhint: another program, perhaps another search, holds "
                                         "UDP port 8890 of 10.77.0.1: try again\n"));
}

TEST_F(Find, NamesADeviceThatMayNotBeOpened) {
    ToolResult result;
    here->Do([&] {
        HideDevices();
        AddClosedDevice();
        result = RunTool({"find"});
    });
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.error, std::string("uxvisa: ") + NothingFound +
                                "hint: you may not open /dev/ttyUSB7: see docs/permissions.md\n" +
                                FirewallHint);
}

TEST_F(Find, GivesJsonAlsoForNothing) {
    const ToolResult result = Run({"GPIB?*", "--json"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.error, "");
    const Json object = Json::parse(result.output);
    EXPECT_EQ(object.at("expression"), "GPIB?*");
    EXPECT_EQ(object.at("resources"), Json::array());
    EXPECT_EQ(object.at("error").at("status"), "VI_ERROR_RSRC_NFOUND");
    EXPECT_EQ(object.at("error").at("text"), "nothing was found");
    EXPECT_THAT(object.at("error").at("hint").get<std::string>(), HasSubstr("firewall"));
}
