#include "support/ScriptedPeer.h"

#include <cstdlib>
#include <cstring>
#include <string>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

using namespace std::chrono_literals;
using namespace uxvisa::test;

namespace {

class Client {
public:
    explicit Client(int port) : m_socket(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_in name{};
        name.sin_family = AF_INET;
        name.sin_port = htons(static_cast<std::uint16_t>(port));
        name.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        Connect(reinterpret_cast<const sockaddr*>(&name), sizeof name);
    }

    explicit Client(const std::string& path)
        : m_socket(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_un name{};
        name.sun_family = AF_UNIX;
        std::memcpy(name.sun_path, path.c_str(), path.size());
        Connect(reinterpret_cast<const sockaddr*>(&name), sizeof name);
    }

    void Send(const std::string& bytes) const {
        ASSERT_EQ(send(m_socket.Get(), bytes.data(), bytes.size(), MSG_NOSIGNAL),
                  static_cast<ssize_t>(bytes.size()));
    }

    // Up to the peer's end.
    std::string Receive() const {
        std::string bytes;
        char piece[100];
        for (ssize_t size = 1; size > 0;) {
            size = recv(m_socket.Get(), piece, sizeof piece, 0);
            bytes.append(piece, static_cast<std::size_t>(size > 0 ? size : 0));
        }
        return bytes;
    }

    void Close() { m_socket.Close(); }

private:
    void Connect(const sockaddr* address, socklen_t size) const {
        EXPECT_EQ(connect(m_socket.Get(), address, size), 0);
    }

    Descriptor m_socket;
};

class TemporaryFolder {
public:
    TemporaryFolder() { EXPECT_NE(mkdtemp(m_path.data()), nullptr); }
    ~TemporaryFolder() { rmdir(m_path.c_str()); }
    std::string Place(const std::string& name) const { return m_path + "/" + name; }

private:
    std::string m_path = testing::TempDir() + "uxvisa-peer-XXXXXX";
};

} // namespace

TEST(ScriptedPeer, PlaysItsSteps) {
    ScriptedPeer peer;
    peer.Accept().Expect("*IDN?\n").SendPieces("a reply", {3, 1}, 1ms).HalfClose().Expect("more");
    peer.ExpectEnd().Start();
    Client client(peer.Port());
    client.Send("*IDN?\n");
    EXPECT_EQ(client.Receive(), "a reply");
    client.Send("more");
    client.Close();
    peer.Finish();
}

TEST(ScriptedPeer, PlaysOnALocalSocketToo) {
    const TemporaryFolder folder;
    const std::string path = folder.Place("peer");
    {
        ScriptedPeer peer(PeerListener::OnPath(path));
        peer.Accept().Expect("*IDN?\n").Send("a reply").Close().Start();
        const Client client(path);
        client.Send("*IDN?\n");
        EXPECT_EQ(client.Receive(), "a reply");
    }
    EXPECT_NE(access(path.c_str(), F_OK), 0) << "the socket's file is left behind";
}

TEST(ScriptedPeer, ReportsBytesThatDiffer) {
    ScriptedPeer peer;
    peer.Accept().Expect("abc").Start();
    const Client client(peer.Port());
    client.Send("abd");
    EXPECT_NONFATAL_FAILURE(peer.Finish(), "byte 2 differs");
}

TEST(ScriptedPeer, ReportsAnEndThatComesTooSoon) {
    ScriptedPeer peer;
    peer.Accept().Expect("abc").Start();
    Client client(peer.Port());
    client.Send("ab");
    client.Close();
    EXPECT_NONFATAL_FAILURE(peer.Finish(), "closed after 2 of 3 bytes");
}

TEST(ScriptedPeer, ReportsBytesInsteadOfAnEnd) {
    ScriptedPeer peer;
    peer.Accept().ExpectEnd().Start();
    const Client client(peer.Port());
    client.Send("x");
    EXPECT_NONFATAL_FAILURE(peer.Finish(), "sent more");
}

TEST(ScriptedPeer, ReportsAMarkThatItCannotReach) {
    ScriptedPeer peer;
    peer.Accept().Expect("abc").Mark("there").Start();
    const Client client(peer.Port());
    client.Send("xyz");
    EXPECT_NONFATAL_FAILURE(EXPECT_FALSE(peer.WaitFor("there")), "did not get to");
    EXPECT_NONFATAL_FAILURE(peer.Finish(), "byte 0 differs");
}

TEST(ScriptedPeer, ReportsAScriptThatNobodyStarted) {
    ScriptedPeer peer;
    peer.Accept();
    EXPECT_NONFATAL_FAILURE(peer.Finish(), "never started");
}

TEST(ScriptedPeer, ResetsAndRefuses) {
    ScriptedPeer peer;
    peer.Accept().StopListening().Reset().Start();
    const Client client(peer.Port());
    peer.Finish();
    EXPECT_EQ(client.Receive(), "");
    const Descriptor late(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_in name{};
    name.sin_family = AF_INET;
    name.sin_port = htons(static_cast<std::uint16_t>(peer.Port()));
    name.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    EXPECT_NE(connect(late.Get(), reinterpret_cast<sockaddr*>(&name), sizeof name), 0);
}
