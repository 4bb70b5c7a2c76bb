#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include <string>

#include "tools/InstrumentPeer.h"
#include "tools/TemporaryDirectory.h"
#include "tools/ToolRun.h"

using Json = nlohmann::ordered_json;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

std::string PortOf(const InstrumentPeer& peer) {
    const std::string resource = peer.Resource();
    return resource.substr(18, resource.find("::SOCKET") - 18);
}

InstrumentPeer::Script Silent() {
    return [](PeerConnection&) {};
}

constexpr char SocketAttributes[] = "\nVI_ATTR_TMO_VALUE       100000 ms\n"
                                    "VI_ATTR_TERMCHAR_EN     0 (off)\n"
                                    "VI_ATTR_INTF_TYPE       4 (ASRL)\n"
                                    "VI_ATTR_RSRC_MANF_NAME  Orvane\n";

} // namespace

TEST(Info, TellsWhatAResourceMeansAndWhatItsSessionAnswers) {
    const InstrumentPeer peer(Silent());
    const std::string port = PortOf(peer);
    const ToolResult result = RunTool({"info", peer.Resource()});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.error, "");
    EXPECT_EQ(result.output, "Resource   TCPIP::127.0.0.1::" + port +
                                 "::SOCKET\n"
                                 "Interface  TCPIP (6)\n"
                                 "Board      0\n"
                                 "Class      SOCKET\n"
                                 "Fields     TCPIP, 127.0.0.1, " +
                                 port +
                                 ", SOCKET\n"
                                 "Served by  raw TCP socket: port " +
                                 port + " of 127.0.0.1\n" + SocketAttributes);
}

TEST(Info, SetsNothingBeforeItAsks) {
    const InstrumentPeer peer(Silent());
    EXPECT_THAT(RunTool({"info", peer.Resource(), "--timeout", "700", "--termchar", "on"}).output,
                EndsWith(SocketAttributes));
}

TEST(Info, GivesJson) {
    const InstrumentPeer peer(Silent());
    const std::string port = PortOf(peer);
    const ToolResult result = RunTool({"info", peer.Resource(), "--json"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.error, "");
    const Json attributes = {
        {"VI_ATTR_TMO_VALUE", {{"code", "0x00000000"}, {"value", 100000}}},
        {"VI_ATTR_TERMCHAR_EN", {{"code", "0x00000000"}, {"value", 0}}},
        {"VI_ATTR_INTF_TYPE", {{"code", "0x00000000"}, {"value", 4}}},
        {"VI_ATTR_RSRC_MANF_NAME", {{"code", "0x00000000"}, {"value", "Orvane"}}}};
    EXPECT_EQ(Json::parse(result.output),
              Json({{"resource", peer.Resource()},
                    {"interface", "TCPIP"},
                    {"interface_type", 6},
                    {"board", 0},
                    {"class", "SOCKET"},
                    {"fields", {"TCPIP", "127.0.0.1", port, "SOCKET"}},
                    {"kind", "tcp-socket"},
                    {"served_by", "raw TCP socket: port " + port + " of 127.0.0.1"},
                    {"attributes", attributes}}));
}

TEST(Info, CanLeaveTheResourceAlone) {
    const ToolResult result = RunTool({"info", "--no-open", RefusedResource()});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.error, "");
    EXPECT_THAT(result.output, HasSubstr("\nServed by  raw TCP socket: port "));
    EXPECT_EQ(result.output.find("VI_ATTR"), std::string::npos);
    const Json object = Json::parse(RunTool({"info", "--no-open", "--json", "GPIB::1::X"}).output);
    EXPECT_EQ(object.at("kind"), "none");
    EXPECT_FALSE(object.contains("attributes"));
}

TEST(Info, SaysThatTheBoardNumberIsNotLookedAt) {
    EXPECT_THAT(RunTool({"info", "--no-open", "TCPIP3::h::INSTR"}).output,
                HasSubstr("\nBoard      0 (the number in the string is not looked at)\n"));
    EXPECT_THAT(RunTool({"info", "--no-open", "TCPIP00::h::INSTR"}).output,
                HasSubstr("\nBoard      0\n"));
    EXPECT_THAT(RunTool({"info", "--no-open", "ttyUSB1::INSTR"}).output,
                HasSubstr("\nBoard      0\n"))
        << "the number is the device's";
}

TEST(Info, TellsTheMeaningAlsoWhenNobodyIsThere) {
    const std::string resource = RefusedResource();
    const ToolResult result = RunTool({"info", resource});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.output, StartsWith("Resource   " + resource + "\n"));
    EXPECT_THAT(result.error, StartsWith("uxvisa: " + resource + ": "));
    EXPECT_THAT(result.error, HasSubstr("(VI_ERROR_RSRC_NFOUND, 0xBFFF0011)\nhint: "));
    const ToolResult json = RunTool({"info", resource, "--json"});
    EXPECT_EQ(json.exitCode, 1);
    EXPECT_EQ(Json::parse(json.output).at("kind"), "tcp-socket");
    EXPECT_EQ(Json::parse(json.output).at("error").at("status"), "VI_ERROR_RSRC_NFOUND");
}

TEST(Info, TellsNothingOfAResourceThatIsNone) {
    const ToolResult result = RunTool({"info", "ASRL1::INSTR"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.error, "uxvisa: ASRL1::INSTR: Invalid resource reference specified. Parsing "
                            "error (VI_ERROR_INV_RSRC_NAME, 0xBFFF0012)\n"
                            "hint: a serial port goes by the name of its device, as "
                            "ttyUSB0::INSTR\n");
}

TEST(Info, AsksForTheDriverThatVxi11Needs) {
    const ToolResult result = RunTool({"info", "TCPIP::127.0.0.1::INSTR"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.output, HasSubstr("VXI-11 over a driver library, and none is bound"));
    EXPECT_THAT(result.error, HasSubstr("--driver libuxdriver_lan.so"));
}

TEST(Info, NamesTheDeviceOfASerialPortThatIsNotThere) {
    const ToolResult result = RunTool({"info", "tty-of-nobody::INSTR"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.output, HasSubstr("\nServed by  serial port: /dev/tty-of-nobody\n"));
    EXPECT_THAT(result.error, HasSubstr("hint: does /dev/tty-of-nobody exist, and may you read "
                                        "and write it? See docs/permissions.md\n"));
}

TEST(Info, KeepsWhatTheLibraryPrintsOutOfItsOutput) {
    const TemporaryDirectory directory;
    const std::string path = directory.File("nobody");
    const ToolResult result = RunTool({"info", "USOCK::" + path + "::SOCKET", "--json"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(Json::parse(result.output).at("kind"), "local-socket");
    EXPECT_EQ(result.error, "No such file or directory\n");
}

TEST(Info, DoesNotLetAResourceActOnTheTerminal) {
    const ToolResult result = RunTool({"info", "--no-open", "TCPIP::\x1B[2J::5025::SOCKET"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.output.find('\x1B'), std::string::npos);
    EXPECT_THAT(result.output, HasSubstr("port 5025 of \\x1B[2J\n"));
}
