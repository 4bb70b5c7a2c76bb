#include "emulator/EmulatorProcess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
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
