// Searches by hand, in networks of the tests' own, where the well-known ports are free.
#include "emulator/EmulatorProcess.h"
#include "emulator/RpcRecords.h"
#include "emulator/UdpClient.h"
#include "support/Namespace.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

using std::chrono::milliseconds;
using testing::StartsWith;
using testing::UnorderedElementsAre;
using uxvisa::test::NetworkNamespace;
using Datagram = UdpClient::Datagram;

namespace {

constexpr char Request[] = "UxVISA Discovery";
constexpr std::uint16_t Port = 8889;
constexpr char Everybody[] = "255.255.255.255";

// A machine with instruments that is on two networks, with one other machine on each.
class DiscoverableEmulator : public uxvisa::test::NamespaceTest {
protected:
    void SetUp() override {
        NamespaceTest::SetUp();
        if (IsSkipped() || HasFatalFailure()) {
            return;
        }
        lab = std::make_unique<NetworkNamespace>();
        red = Wire("red", "10.96.1");
        blue = Wire("blue", "10.96.2");
    }

    // The machines have the addresses 1 (in the lab) and 2 of the network.
    std::unique_ptr<NetworkNamespace> Wire(const std::string& name, const std::string& network) {
        auto other = std::make_unique<NetworkNamespace>();
        lab->WireTo(*other, network + ".1", network + ".2");
        lab->Ip("link set wire down");
        lab->Ip("link set wire name " + name);
        lab->Ip("link set " + name + " up");
        return other;
    }

    std::unique_ptr<NetworkNamespace> lab;
    std::unique_ptr<NetworkNamespace> red;
    std::unique_ptr<NetworkNamespace> blue;
};

// As a search does it: from the address of an interface to all on its network.
std::string Search(const NetworkNamespace& from, const std::string& own, const std::string& to) {
    std::string answer;
    from.Do([&] {
        const UdpClient client(own);
        client.Send(Request, to, Port);
        const Datagram reply = client.Receive();
        answer = reply.sender + " " + reply.bytes;
    });
    return answer;
}

std::uint16_t PortOf(const std::string& line) {
    return static_cast<std::uint16_t>(std::stoul(line.substr(line.rfind(':') + 1)));
}

} // namespace

TEST_F(DiscoverableEmulator, TellsEachNetworkTheAddressItIsReachedAt) {
    lab->Do([&] {
        EmulatorProcess emulator({"--port", "0", "--discoverable"});
        const std::string line = emulator.PrintedLine();
        EXPECT_THAT(line, StartsWith("listening on 0.0.0.0:"));
        const std::string rest =
            "\t" + std::to_string(PortOf(line)) + "\tOrvane Emulator\tEmulator 0";
        for (const char* to : {Everybody, "10.96.1.255", "10.96.1.1"}) {
            EXPECT_EQ(Search(*red, "10.96.1.2", to), "10.96.1.1:8889 10.96.1.1" + rest) << to;
        }
        for (const char* to : {Everybody, "10.96.2.255", "10.96.2.1"}) {
            EXPECT_EQ(Search(*blue, "10.96.2.2", to), "10.96.2.1:8889 10.96.2.1" + rest) << to;
        }
        red->Do([&] {
            StreamClient client = StreamClient::Connect(PortOf(line), "10.96.1.1");
            EXPECT_EQ(client.Query("*OPC?"), "1");
        });
    });
}

TEST_F(DiscoverableEmulator, IgnoresOtherDatagrams) {
    lab->Do([&] {
        EmulatorProcess emulator({"--port", "0", "--discoverable"});
        emulator.PrintedLine();
        red->Do([] {
            const UdpClient client("10.96.1.2");
            for (const std::string noise : {"", "Discovery", "UxVISA Discovery2"}) {
                client.Send(noise, Everybody, Port);
            }
            client.Send(std::string(60000, 'U'), "10.96.1.1", Port);
            client.Send(Request, Everybody, Port);
            EXPECT_THAT(client.Receive().bytes, StartsWith("10.96.1.1\t"));
            EXPECT_FALSE(client.HasInputWithin(milliseconds(100)));
        });
    });
}

TEST_F(DiscoverableEmulator, SeveralOnOneMachineAnswer) {
    lab->Do([&] {
        EmulatorProcess one({"--port", "7001", "--discoverable", "--identity-model", "KX10",
                             "--identity-serial", "A1"});
        EmulatorProcess two({"--port", "7002", "--discoverable", "--identity-model", "KX 20",
                             "--identity-serial", "A2"});
        one.PrintedLine();
        two.PrintedLine();
        red->Do([] {
            const UdpClient client("10.96.1.2");
            client.Send(Request, Everybody, Port);
            EXPECT_THAT((std::vector<std::string>{client.Receive().bytes, client.Receive().bytes}),
                        UnorderedElementsAre("10.96.1.1\t7001\tOrvane KX10\tKX10 A1",
                                             "10.96.1.1\t7002\tOrvane KX 20\tKX 20 A2"));
            StreamClient second = StreamClient::Connect(7002, "10.96.1.1");
            EXPECT_EQ(second.Query("*IDN?"), "Orvane,KX 20,A2," UXVISA_VERSION);
        });
    });
}

TEST_F(DiscoverableEmulator, AnswersOnlyWhereItListens) {
    lab->Do([&] {
        EmulatorProcess emulator({"--port", "7001", "--discoverable", "--bind", "10.96.2.1"});
        EXPECT_EQ(emulator.PrintedLine(), "listening on 10.96.2.1:7001");
        red->Do([] {
            const UdpClient client("10.96.1.2");
            client.Send(Request, Everybody, Port);
            client.Send(Request, "10.96.1.1", Port);
            EXPECT_FALSE(client.HasInputWithin(milliseconds(300)));
        });
        EXPECT_THAT(Search(*blue, "10.96.2.2", Everybody),
                    StartsWith("10.96.2.1:8889 10.96.2.1\t7001\t"));
    });
}

TEST_F(DiscoverableEmulator, ThePortmapperAnswersBroadcasts) {
    lab->Do([&] {
        EmulatorProcess emulator(
            {"--port", "0", "--bind", "0.0.0.0", "--vxi11", "7011", "--portmapper", "111"});
        emulator.PrintedLine();
        EXPECT_EQ(emulator.PrintedLine(), "vxi11 on 0.0.0.0:7011");
        EXPECT_EQ(emulator.PrintedLine(), "portmapper on 0.0.0.0:111");
        for (const char* to : {Everybody, "10.96.2.255"}) {
            blue->Do([&] {
                const UdpClient client("10.96.2.2");
                client.Send(uxvisa::rpc::GetPortCall(1234), to, 111);
                EXPECT_EQ(client.Receive(),
                          (Datagram{rpc_records::Accepted(1234) + rpc_records::Word(7011),
                                    "10.96.2.1:111"}));
            });
        }
    });
}

TEST_F(DiscoverableEmulator, SearchesAreForIpv4Only) {
    lab->Do([] {
        EmulatorProcess emulator({"--port", "0", "--discoverable", "--bind", "::1"});
        EXPECT_EQ(emulator.Wait(), 1);
        EXPECT_EQ(emulator.Errors(), "uxvisa-emulator: searches are for IPv4 only, and '::1' is "
                                     "no such address\n");
    });
}
