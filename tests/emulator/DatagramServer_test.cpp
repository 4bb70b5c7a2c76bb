#include "tools/emulator/DatagramServer.h"

#include "emulator/UdpClient.h"

#include <gtest/gtest.h>

#include <string>
#include <system_error>
#include <thread>

using emulator::DatagramServer;
using std::chrono::milliseconds;

namespace {

// Answers with the request and the address it reached; "quiet" is not answered.
class EchoThread {
public:
    EchoThread() {
        m_server.Listen(0);
        m_thread = std::thread([this] { m_context.run(); });
    }
    EchoThread(const EchoThread&) = delete;
    EchoThread& operator=(const EchoThread&) = delete;
    ~EchoThread() {
        m_context.stop();
        m_thread.join();
    }

    std::uint16_t Port() const { return m_server.Port(); }
    std::string Name(const std::string& address) const {
        return address + ":" + std::to_string(Port());
    }

private:
    static std::string Answer(std::string_view request, const asio::ip::address_v4& local) {
        return request == "quiet" ? std::string() : std::string(request) + " " + local.to_string();
    }

    asio::io_context m_context;
    DatagramServer m_server{m_context, &Answer};
    std::thread m_thread;
};

} // namespace

TEST(DatagramServer, AnswersTheSender) {
    const EchoThread server;
    const UdpClient one;
    const UdpClient other;
    one.Send("one", "127.0.0.1", server.Port());
    other.Send("other", "127.0.0.1", server.Port());
    EXPECT_EQ(one.Receive(), (UdpClient::Datagram{"one 127.0.0.1", server.Name("127.0.0.1")}));
    EXPECT_EQ(other.Receive(), (UdpClient::Datagram{"other 127.0.0.1", server.Name("127.0.0.1")}));
}

TEST(DatagramServer, RepliesComeFromTheAddressThatWasAsked) {
    const EchoThread server;
    const UdpClient client;
    client.Send("a", "127.0.0.7", server.Port());
    EXPECT_EQ(client.Receive(), (UdpClient::Datagram{"a 127.0.0.7", server.Name("127.0.0.7")}));
}

TEST(DatagramServer, EmptyRequestsAreRequests) {
    const EchoThread server;
    const UdpClient client;
    client.Send("", "127.0.0.1", server.Port());
    EXPECT_EQ(client.Receive().bytes, " 127.0.0.1");
}

TEST(DatagramServer, LongRequestsAndThoseWithoutAReplyAreIgnored) {
    const EchoThread server;
    const UdpClient client;
    client.Send("quiet", "127.0.0.1", server.Port());
    client.Send(std::string(DatagramServer::MaxRequest + 1, 'x'), "127.0.0.1", server.Port());
    client.Send(std::string(65000, 'x'), "127.0.0.1", server.Port());
    const std::string longest(DatagramServer::MaxRequest, 'y');
    client.Send(longest, "127.0.0.1", server.Port());
    EXPECT_EQ(client.Receive().bytes, longest + " 127.0.0.1");
    EXPECT_FALSE(client.HasInputWithin(milliseconds(50)));
}

TEST(DatagramServer, SurvivesSendersThatVanish) {
    const EchoThread server;
    for (int i = 0; i < 20; ++i) {
        UdpClient().Send("gone", "127.0.0.1", server.Port());
    }
    const UdpClient client;
    client.Send("here", "127.0.0.1", server.Port());
    EXPECT_EQ(client.Receive().bytes, "here 127.0.0.1");
}

TEST(DatagramServer, SeveralShareAPort) {
    const EchoThread first;
    asio::io_context context;
    DatagramServer second(context, {});
    EXPECT_NO_THROW(second.Listen(first.Port()));
}

TEST(DatagramServer, PortOfAnExclusiveSocketIsAnError) {
    asio::io_context context;
    const asio::ip::udp::socket exclusive(context, {asio::ip::address_v4::any(), 0});
    DatagramServer server(context, {});
    try {
        server.Listen(exclusive.local_endpoint().port());
        FAIL() << "the port is taken";
    } catch (const std::system_error& error) {
        EXPECT_EQ(error.code(), asio::error::address_in_use);
    }
}
