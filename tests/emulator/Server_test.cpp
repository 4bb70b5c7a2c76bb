#include "tools/emulator/Server.h"

#include "emulator/ServerThread.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

using std::chrono::milliseconds;
using testing::StartsWith;

namespace {

std::string RepeatedQuery(const ServerThread& server, int count) {
    StreamClient client = server.Connect();
    std::string last;
    for (int i = 0; i < count; ++i) {
        last = client.Query("*IDN?");
    }
    return last;
}

} // namespace

TEST(Server, AnswersAQuery) {
    ServerThread server;
    StreamClient client = server.Connect();
    EXPECT_THAT(client.Query("*IDN?"), StartsWith("Orvane,Emulator,0,"));
}

TEST(Server, ServesClientsOneAfterTheOther) {
    ServerThread server;
    for (int i = 0; i < 50; ++i) {
        EXPECT_EQ(server.Connect().Query("*OPC?"), "1");
    }
}

TEST(Server, ServesClientsAtTheSameTime) {
    ServerThread server;
    std::vector<StreamClient> clients;
    clients.reserve(100);
    for (int i = 0; i < 100; ++i) {
        clients.push_back(server.Connect());
    }
    for (auto& client : clients) {
        client.Send("*OPC?\n");
    }
    for (auto& client : clients) {
        EXPECT_EQ(client.ReadLine(), "1");
    }
}

TEST(Server, ServesClientsOfManyThreads) {
    ServerThread server;
    std::vector<std::string> last(8);
    std::vector<std::thread> threads;
    threads.reserve(last.size());
    for (auto& answer : last) {
        threads.emplace_back([&server, &answer] { answer = RepeatedQuery(server, 200); });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    for (const auto& answer : last) {
        EXPECT_THAT(answer, StartsWith("Orvane,Emulator,0,"));
    }
}

TEST(Server, ClientsShareOneInstrument) {
    ServerThread server;
    StreamClient one = server.Connect();
    StreamClient other = server.Connect();
    EXPECT_EQ(one.Query("TRAC:POIN 5;*OPC?"), "1");
    EXPECT_EQ(other.Query("TRAC:POIN?"), "5");
    EXPECT_EQ(other.Query("NONSENSE;*OPC?"), "1");
    EXPECT_EQ(one.Query("SYST:ERR?"), "-113,\"Undefined header\"");
}

TEST(Server, ClientsDoNotShareHalfALine) {
    ServerThread server;
    StreamClient one = server.Connect();
    StreamClient other = server.Connect();
    one.Send("*OP");
    EXPECT_EQ(other.Query("*TST?"), "0");
    EXPECT_EQ(one.Query("C?"), "1");
    EXPECT_EQ(one.Query("SYST:ERR:COUN?"), "0");
}

TEST(Server, ClientThatNeverReadsDoesNotHoldUpOthers) {
    ServerThread server;
    StreamClient greedy = server.Connect();
    greedy.Send("CURV:LENG MAX\nCURV?;CURV?;CURV?\nCURV?\n");
    StreamClient other = server.Connect();
    for (int i = 0; i < 100; ++i) {
        EXPECT_EQ(other.Query("*OPC?"), "1");
    }
    EXPECT_EQ(greedy.ReadExactly(11), "#9268435456");
}

TEST(Server, SurvivesClientsThatVanish) {
    ServerThread server;
    for (int i = 0; i < 20; ++i) {
        StreamClient client = server.Connect();
        client.Send("CURV:LENG MAX;:CURV?\n");
        client.ReadExactly(1000);
    }
    EXPECT_EQ(server.Connect().Query("*OPC?"), "1");
}

TEST(Server, AddressInUseIsAnError) {
    ServerThread server;
    emulator::Instrument instrument;
    asio::io_context context;
    emulator::Server second(context, instrument, {});
    const asio::ip::tcp::endpoint taken(asio::ip::address_v4::loopback(), server.Port());
    try {
        second.Listen(taken);
        FAIL() << "two servers on one port";
    } catch (const std::system_error& error) {
        EXPECT_EQ(error.code(), asio::error::address_in_use);
    }
    EXPECT_EQ(server.Connect().Query("*OPC?"), "1");
}

TEST(Server, PortCanBeTakenAgainAtOnce) {
    std::uint16_t port = 0;
    {
        ServerThread server;
        port = server.Port();
        StreamClient client = server.Connect();
        client.Query("*OPC?");
    }
    emulator::Instrument instrument;
    asio::io_context context;
    emulator::Server again(context, instrument, {});
    EXPECT_NO_THROW(again.Listen(asio::ip::tcp::endpoint(asio::ip::address_v4::loopback(), port)));
}

TEST(Server, ServesOtherStreamProtocols) {
    const std::string name =
        std::string("\0emulator-server-test-", 22) + std::to_string(::getpid());
    emulator::Instrument instrument;
    asio::io_context context;
    emulator::Server server(context, instrument, {});
    server.Listen(asio::local::stream_protocol::endpoint(name));
    std::thread thread([&context] { context.run(); });
    asio::io_context own;
    asio::local::stream_protocol::socket socket(own);
    socket.connect(asio::local::stream_protocol::endpoint(name));
    StreamClient client(socket.release());
    EXPECT_EQ(client.Query("*OPC?"), "1");
    context.stop();
    thread.join();
}

TEST(Server, HandsSocketsToWhoeverServesThem) {
    asio::io_context context;
    emulator::Server server(context, [](emulator::Server::Protocol::socket socket) {
        asio::write(socket, asio::buffer("hello", 5));
    });
    server.Listen(asio::ip::tcp::endpoint(asio::ip::address_v4::loopback(), 0));
    std::thread thread([&context] { context.run(); });
    const std::uint16_t port = emulator::TcpEndpoint(server.LocalEndpoint()).port();
    EXPECT_EQ(StreamClient::Connect(port).ReadToEnd(), "hello");
    EXPECT_EQ(StreamClient::Connect(port).ReadToEnd(), "hello");
    context.stop();
    thread.join();
}

TEST(Server, StopsWithClientsAndResponsesPending) {
    auto server = std::make_unique<ServerThread>(emulator::Pacing{.delay = milliseconds(3600000)});
    StreamClient waiting = server->Connect();
    StreamClient silent = server->Connect();
    waiting.Send("*IDN?\n");
    EXPECT_FALSE(waiting.HasInputWithin(milliseconds(50)));
    server.reset();
    EXPECT_EQ(waiting.ReadToEnd(), "");
    EXPECT_EQ(silent.ReadToEnd(), "");
}
