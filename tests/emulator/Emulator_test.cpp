#include "emulator/EmulatorProcess.h"

#include "emulator/RpcRecords.h"
#include "emulator/UdpClient.h"
#include "tools/TemporaryDirectory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

using std::chrono::milliseconds;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

std::size_t ResidentKilobytes(pid_t process) {
    std::ifstream status("/proc/" + std::to_string(process) + "/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with("VmRSS:")) {
            return std::stoul(line.substr(6));
        }
    }
    return 0;
}

StreamClient ConnectWithRetries(std::uint16_t port) {
    for (int i = 0; i < 500; ++i) {
        try {
            return StreamClient::Connect(port);
        } catch (const std::system_error&) {
            std::this_thread::sleep_for(milliseconds(10));
        }
    }
    throw std::runtime_error("nobody listens");
}

// The port at the end of a line that the emulator printed.
std::uint16_t PortOf(const std::string& line, const std::string& lead) {
    if (!line.starts_with(lead)) {
        throw std::runtime_error("unexpected output: " + line);
    }
    return static_cast<std::uint16_t>(std::stoul(line.substr(lead.size())));
}

// What a portmapper call or a call of the core channel is answered.
std::string Ask(StreamClient& client, const std::string& call) {
    client.Send(rpc_records::Marked(call));
    const std::string mark = client.ReadExactly(4);
    return client.ReadExactly(
        uxvisa::rpc::MarkedLength(reinterpret_cast<const unsigned char*>(mark.data())));
}

StreamClient OpenTerminal(const std::string& path) {
    return StreamClient(::open(path.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC));
}

} // namespace

TEST(Emulator, PrintsOneLineAndServes) {
    EmulatorProcess emulator({"--port", "0"});
    EXPECT_EQ(emulator.Connect().Query("*IDN?"), "Orvane,Emulator,0," UXVISA_VERSION);
    emulator.Signal(SIGTERM);
    EXPECT_EQ(emulator.Wait(), 0);
    EXPECT_EQ(emulator.Output(), "");
    EXPECT_EQ(emulator.Errors(), "");
}

TEST(Emulator, EndsCleanlyOnInterrupt) {
    EmulatorProcess emulator({"--port", "0"});
    StreamClient client = emulator.Connect();
    client.Query("*OPC?");
    emulator.Signal(SIGINT);
    EXPECT_EQ(emulator.Wait(), 0);
    EXPECT_EQ(client.ReadToEnd(), "");
    EXPECT_EQ(emulator.Errors(), "");
}

TEST(Emulator, EndsCleanlyInTheMiddleOfResponses) {
    EmulatorProcess emulator({"--port", "0", "--curve-length", "268435456"});
    StreamClient stuck = emulator.Connect();
    stuck.Send("CURV?\n");
    stuck.ReadExactly(100);
    emulator.Signal(SIGTERM);
    EXPECT_EQ(emulator.Wait(), 0);
    EXPECT_EQ(emulator.Errors(), "");
}

TEST(Emulator, EndsCleanlyWhileResponsesAreDelayed) {
    EmulatorProcess emulator({"--port", "0", "--delay", "3600000", "--idle-drop", "3600000"});
    StreamClient waiting = emulator.Connect();
    waiting.Send("*IDN?\n");
    StreamClient silent = emulator.Connect();
    EXPECT_FALSE(waiting.HasInputWithin(milliseconds(100)));
    emulator.Signal(SIGTERM);
    EXPECT_EQ(emulator.Wait(), 0);
    EXPECT_EQ(emulator.Errors(), "");
}

TEST(Emulator, QuietPrintsNothing) {
    EmulatorProcess first({"--port", "0"});
    const std::string port = std::to_string(first.Port());
    first.Signal(SIGTERM);
    EXPECT_EQ(first.Wait(), 0);
    EmulatorProcess quiet({"--port", port, "--quiet"});
    EXPECT_EQ(ConnectWithRetries(first.Port()).Query("*OPC?"), "1");
    quiet.Signal(SIGTERM);
    EXPECT_EQ(quiet.Wait(), 0);
    EXPECT_EQ(quiet.Output(), "");
    EXPECT_EQ(quiet.Errors(), "");
}

TEST(Emulator, TakesTheSettingsOfTheInstrument) {
    EmulatorProcess emulator(
        {"--port", "0", "--curve-length", "12", "--trace-points", "34", "--seed", "5"});
    EmulatorProcess other({"--port", "0", "--seed", "6"});
    EmulatorProcess same({"--port", "0", "--seed", "5"});
    const std::string reading = emulator.Connect().Query("READ?");
    EXPECT_EQ(emulator.Connect().Query("CURV:LENG?;:TRAC:POIN?"), "12;34");
    EXPECT_EQ(same.Connect().Query("READ?"), reading);
    EXPECT_NE(other.Connect().Query("READ?"), reading);
}

TEST(Emulator, TakesThePacing) {
    EmulatorProcess emulator({"--port", "0", "--delay", "60", "--chunk", "5", "--chunk-interval",
                              "60", "--idle-drop", "1000"});
    const auto start = std::chrono::steady_clock::now();
    StreamClient client = emulator.Connect();
    EXPECT_EQ(client.Query("SYST:VERS?"), "1999.0");
    EXPECT_GE(std::chrono::steady_clock::now() - start, milliseconds(120));
    EXPECT_EQ(client.ReadToEnd(), "");
}

TEST(Emulator, PortInUseIsAnError) {
    EmulatorProcess first({"--port", "0"});
    const std::string port = std::to_string(first.Port());
    EmulatorProcess second({"--port", port});
    EXPECT_EQ(second.Wait(), 1);
    EXPECT_EQ(second.Output(), "");
    EXPECT_EQ(second.Errors(), "uxvisa-emulator: cannot listen on 127.0.0.1 port " + port +
                                   ": Address already in use\n");
    EXPECT_EQ(first.Connect().Query("*OPC?"), "1");
}

TEST(Emulator, InvalidAddressIsAnError) {
    EmulatorProcess emulator({"--port", "0", "--bind", "nowhere"});
    EXPECT_EQ(emulator.Wait(), 1);
    EXPECT_EQ(emulator.Output(), "");
    EXPECT_EQ(emulator.Errors(), "uxvisa-emulator: 'nowhere' is not an IP address\n");
}

TEST(Emulator, AddressOfAnotherMachineIsAnError) {
    EmulatorProcess emulator({"--port", "0", "--bind", "192.0.2.1"});
    EXPECT_EQ(emulator.Wait(), 1);
    EXPECT_THAT(emulator.Errors(), StartsWith("uxvisa-emulator: cannot listen on 192.0.2.1"));
}

TEST(Emulator, UsageErrorHasItsOwnExitCode) {
    EmulatorProcess emulator({"--nonsense"});
    EXPECT_EQ(emulator.Wait(), 2);
    EXPECT_EQ(emulator.Output(), "");
    EXPECT_THAT(emulator.Errors(), StartsWith("uxvisa-emulator: "));
}

TEST(Emulator, HelpAndVersionGoToStandardOutput) {
    EmulatorProcess help({"--help"});
    EXPECT_EQ(help.Wait(), 0);
    EXPECT_THAT(help.Output(), HasSubstr("--idle-drop"));
    EmulatorProcess version({"--version"});
    EXPECT_EQ(version.Wait(), 0);
    EXPECT_EQ(version.Output(), "uxvisa-emulator " UXVISA_VERSION "\n");
}

TEST(Emulator, ClientsThatNeverReadDoNotMakeMemoryGrow) {
    EmulatorProcess emulator({"--port", "0", "--curve-length", "268435456"});
    StreamClient other = emulator.Connect();
    other.Query("*OPC?");
    const std::size_t before = ResidentKilobytes(emulator.Id());
    std::vector<StreamClient> greedy;
    greedy.reserve(20);
    for (int i = 0; i < 20; ++i) {
        greedy.push_back(emulator.Connect());
        greedy.back().Send("CURV?;CURV?;CURV?\nTRAC:POIN MAX;DATA?\n");
    }
    for (int i = 0; i < 200; ++i) {
        ASSERT_EQ(other.Query("*OPC?"), "1");
    }
    EXPECT_LT(ResidentKilobytes(emulator.Id()), before + 32768);
}

TEST(Emulator, CommandsWaitWhileAResponseIsNotTaken) {
    EmulatorProcess emulator({"--port", "0", "--curve-length", "268435456"});
    StreamClient greedy = emulator.Connect();
    greedy.Send("CURV?\n*ESE 4\n");
    greedy.ReadExactly(11);
    EXPECT_EQ(emulator.Connect().Query("*ESE?"), "0");
}

TEST(Emulator, AcceptsClientsAgainAfterDescriptorsRanOut) {
    EmulatorProcess emulator({"--port", "0"}, 16);
    std::vector<StreamClient> clients;
    clients.reserve(30);
    for (int i = 0; i < 30; ++i) {
        clients.push_back(emulator.Connect());
    }
    EXPECT_EQ(clients.front().Query("*OPC?"), "1");
    clients.back().Send("*OPC?\n");
    EXPECT_FALSE(clients.back().HasInputWithin(milliseconds(200)));
    clients.erase(clients.begin(), clients.end() - 1);
    EXPECT_EQ(clients.back().ReadLine(), "1");
    emulator.Signal(SIGTERM);
    EXPECT_EQ(emulator.Wait(), 0);
}

TEST(Emulator, ServesALocalSocketToo) {
    const TemporaryDirectory directory;
    const std::string path = directory.File("socket");
    EmulatorProcess emulator({"--port", "0", "--usock", path});
    StreamClient remote = emulator.Connect();
    EXPECT_EQ(emulator.PrintedLine(), "listening on " + path);
    StreamClient local = StreamClient::ConnectTo(path);
    EXPECT_EQ(local.Query("*ESE 4;*IDN?"), "Orvane,Emulator,0," UXVISA_VERSION);
    EXPECT_EQ(remote.Query("*ESE?"), "4") << "it is the same instrument";
    emulator.Signal(SIGTERM);
    EXPECT_EQ(emulator.Wait(), 0);
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST(Emulator, TakesTheLocalSocketOfOneThatWasKilled) {
    const TemporaryDirectory directory;
    const std::string path = directory.File("socket");
    EmulatorProcess first({"--port", "0", "--usock", path});
    first.Port();
    first.PrintedLine();
    EmulatorProcess second({"--port", "0", "--usock", path});
    EXPECT_EQ(second.Wait(), 1);
    EXPECT_EQ(second.Errors(),
              "uxvisa-emulator: cannot listen on " + path + ": Address already in use\n");
    first.Signal(SIGKILL);
    first.Wait();
    EmulatorProcess third({"--port", "0", "--usock", path});
    third.Port();
    third.PrintedLine();
    EXPECT_EQ(StreamClient::ConnectTo(path).Query("*OPC?"), "1");
}

TEST(Emulator, LocalSocketThatCannotBeMadeIsAnError) {
    const TemporaryDirectory directory;
    const std::string file = directory.File("file");
    WriteFile(file, "precious");
    EmulatorProcess occupied({"--port", "0", "--usock", file});
    EXPECT_EQ(occupied.Wait(), 1);
    EXPECT_EQ(occupied.Errors(), "uxvisa-emulator: cannot listen on " + file +
                                     ": there is a file that is no socket\n");
    EXPECT_EQ(FileContents(file), "precious");
    EmulatorProcess lost({"--port", "0", "--usock", directory.File("no/folder")});
    EXPECT_EQ(lost.Wait(), 1);
    EmulatorProcess tooLong({"--port", "0", "--usock", directory.File(std::string(108, 'x'))});
    EXPECT_EQ(tooLong.Wait(), 1);
    EXPECT_THAT(tooLong.Errors(), HasSubstr("File name too long"));
}

TEST(Emulator, ServesTheCoreChannelWhereThePortmapperSays) {
    EmulatorProcess emulator({"--port", "0", "--vxi11", "0", "--portmapper", "0"});
    emulator.Port();
    const std::uint16_t core = PortOf(emulator.PrintedLine(), "vxi11 on 127.0.0.1:");
    const std::uint16_t portmapper = PortOf(emulator.PrintedLine(), "portmapper on 127.0.0.1:");
    const std::string call = uxvisa::rpc::GetPortCall(1000);
    const std::string expected = rpc_records::Accepted(1000) + rpc_records::Word(core);
    StreamClient asking = StreamClient::Connect(portmapper);
    EXPECT_EQ(Ask(asking, call), expected);
    EXPECT_EQ(Ask(asking, call), expected);
    const UdpClient udp;
    udp.Send(call, "127.0.0.1", portmapper);
    EXPECT_EQ(udp.Receive().bytes, expected);
    StreamClient client = StreamClient::Connect(core);
    const std::string linked = Ask(client, rpc_records::CreateLink("inst0"));
    ASSERT_EQ(linked.size(), 40U);
    const std::string words = linked.substr(32);
    EXPECT_EQ(Ask(client, rpc_records::DeviceWrite(words, "*OPC?")), rpc_records::WriteReply(0, 5));
    EXPECT_EQ(Ask(client, rpc_records::DeviceRead(words, 9)), rpc_records::ReadReply(0, 4, "1\n"));
}

TEST(Emulator, EveryClientOfTheCoreChannelHasALinkOfItsOwn) {
    EmulatorProcess emulator({"--port", "0", "--vxi11", "0"});
    emulator.Port();
    const std::uint16_t core = PortOf(emulator.PrintedLine(), "vxi11 on 127.0.0.1:");
    StreamClient one = StreamClient::Connect(core);
    StreamClient other = StreamClient::Connect(core);
    const std::string words = Ask(one, rpc_records::CreateLink("inst0")).substr(32);
    const std::string others = Ask(other, rpc_records::CreateLink("inst0")).substr(32);
    EXPECT_NE(words, others);
    EXPECT_EQ(Ask(one, rpc_records::DeviceWrite(words, "*TST?")), rpc_records::WriteReply(0, 5));
    EXPECT_EQ(Ask(other, rpc_records::DeviceWrite(others, "*OPC?")), rpc_records::WriteReply(0, 5));
    EXPECT_EQ(Ask(one, rpc_records::DeviceWrite(others, "*CLS")), rpc_records::WriteReply(4, 0));
    EXPECT_EQ(Ask(one, rpc_records::DeviceRead(words, 9)), rpc_records::ReadReply(0, 4, "0\n"));
    EXPECT_EQ(Ask(other, rpc_records::DeviceRead(others, 9)), rpc_records::ReadReply(0, 4, "1\n"));
}

// A client that keeps 16 bits of the length announces a write of 65475 bytes as an empty record.
TEST(Emulator, AnEmptyRecordEndsTheConnectionOnPurpose) {
    EmulatorProcess emulator({"--port", "0", "--vxi11", "0"});
    emulator.Port();
    const std::uint16_t core = PortOf(emulator.PrintedLine(), "vxi11 on 127.0.0.1:");
    StreamClient client = StreamClient::Connect(core);
    client.Send(rpc_records::Mark(65536));
    EXPECT_EQ(client.ReadToEnd(), "");
    StreamClient again = StreamClient::Connect(core);
    EXPECT_EQ(Ask(again, rpc_records::CreateLink("inst0")).size(), 40U);
}

TEST(Emulator, PortmapperPortInUseIsAnError) {
    EmulatorProcess first({"--port", "0"});
    const std::string port = std::to_string(first.Port());
    EmulatorProcess second({"--port", "0", "--vxi11", "0", "--portmapper", port});
    EXPECT_EQ(second.Wait(), 1);
    EXPECT_THAT(second.Errors(), HasSubstr("port " + port + ": Address already in use"));
}

TEST(Emulator, ServesATerminalToo) {
    const TemporaryDirectory directory;
    const std::string link = directory.File("ttyEmulated");
    EmulatorProcess emulator({"--port", "0", "--pty", link, "--idle-drop", "50", "--close-after",
                              "1", "--identity-model", "KX10", "--identity-serial", "SN1"});
    emulator.Port();
    const std::string line = emulator.PrintedLine();
    EXPECT_EQ(line, "pty on " + std::filesystem::read_symlink(link).string());
    for (int i = 0; i < 2; ++i) {
        StreamClient client = OpenTerminal(link);
        EXPECT_EQ(client.Query("*IDN?"), "Orvane,KX10,SN1," UXVISA_VERSION);
        EXPECT_EQ(client.Query("*OPC?"), "1");
        EXPECT_FALSE(client.HasInputWithin(milliseconds(100))) << "neither echo nor hang-up";
    }
    emulator.Signal(SIGTERM);
    EXPECT_EQ(emulator.Wait(), 0);
    EXPECT_FALSE(std::filesystem::is_symlink(link));
    EXPECT_EQ(emulator.Errors(), "");
}

TEST(Emulator, ATerminalTakesLargeBlocksUnchanged) {
    const TemporaryDirectory directory;
    const std::string link = directory.File("ttyEmulated");
    EmulatorProcess emulator({"--port", "0", "--pty", link, "--curve-length", "100000"});
    emulator.Port();
    emulator.PrintedLine();
    StreamClient client = OpenTerminal(link);
    client.Send("CURV?\n");
    EXPECT_EQ(client.ReadExactly(8), "#6100000");
    const std::string curve = client.ReadExactly(100000);
    for (std::size_t i = 0; i < curve.size(); ++i) {
        ASSERT_EQ(static_cast<unsigned char>(curve[i]), i & 0xFFU) << i;
    }
    EXPECT_EQ(client.ReadExactly(1), "\n");
}

TEST(Emulator, TakesTheTerminalLinkOfOneThatWasKilled) {
    const TemporaryDirectory directory;
    const std::string link = directory.File("ttyEmulated");
    EmulatorProcess first({"--port", "0", "--pty", link});
    first.Port();
    first.PrintedLine();
    first.Signal(SIGKILL);
    first.Wait();
    EXPECT_TRUE(std::filesystem::is_symlink(link));
    EmulatorProcess second({"--port", "0", "--pty", link});
    second.Port();
    second.PrintedLine();
    EXPECT_EQ(OpenTerminal(link).Query("*OPC?"), "1");
}

TEST(Emulator, TerminalLinkThatCannotBeMadeIsAnError) {
    const TemporaryDirectory directory;
    const std::string file = directory.File("file");
    WriteFile(file, "precious");
    EmulatorProcess occupied({"--port", "0", "--pty", file});
    EXPECT_EQ(occupied.Wait(), 1);
    EXPECT_EQ(occupied.Errors(), "uxvisa-emulator: cannot listen on " + file +
                                     ": there is a file that is no link to a terminal\n");
    EXPECT_EQ(FileContents(file), "precious");
    EmulatorProcess lost({"--port", "0", "--pty", directory.File("no/folder")});
    EXPECT_EQ(lost.Wait(), 1);
    EXPECT_THAT(lost.Errors(), HasSubstr("No such file or directory"));
}
