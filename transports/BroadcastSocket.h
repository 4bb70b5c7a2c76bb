// The system calls of the LAN discovery: one UDP socket per interface.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace uxvisa {

struct BroadcastInterface {
    std::string address;
    std::string broadcast; // empty when it has none
};

// Every IPv4 address of this machine but 127.0.0.1. Ends the process when the system does not tell.
std::vector<BroadcastInterface> BroadcastInterfaces();

class BroadcastSocket {
public:
    struct Datagram {
        int length; // of what is in the buffer
        std::string sender;
    };

    // Nothing when the system has none to give.
    static std::optional<BroadcastSocket> Open();
    BroadcastSocket(BroadcastSocket&& other) noexcept;
    BroadcastSocket& operator=(BroadcastSocket&&) = delete;
    ~BroadcastSocket();

    // Each is false when the system refuses.
    bool Bind(const std::string& address, int port) const;
    bool Send(const std::string& request, const std::string& address, int port) const;
    // What has arrived, without waiting.
    std::optional<Datagram> Receive(std::vector<char>& buffer) const;

    int Descriptor() const { return m_fd; }

private:
    explicit BroadcastSocket(int fd) : m_fd(fd) {}

    int m_fd;
};

// Waits until a datagram is there for one of them, `milliseconds` at the most.
void AwaitDatagram(const std::vector<BroadcastSocket>& sockets, int milliseconds);

} // namespace uxvisa
