// A server of RPC records over TCP, for one connection after the other.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <thread>

#include "support/ScriptedPeer.h"

namespace uxvisa::test {

class RpcPeer {
public:
    // The bytes to send for a record's body; none: the client waits in vain.
    using Answer = std::function<std::string(const std::string& body)>;

    // On every address of the calling thread's namespace; port 0 takes a free one.
    RpcPeer(int port, Answer answer);
    ~RpcPeer();
    RpcPeer(const RpcPeer&) = delete;
    RpcPeer& operator=(const RpcPeer&) = delete;

    int Port() const;

private:
    void Serve();
    void ServeConnection(int fd);
    bool Await(int fd);
    bool Receive(int fd, std::string& bytes);

    Answer m_answer;
    Descriptor m_listener;
    Descriptor m_stop;
    std::thread m_thread;
};

// The procedure of a call.
std::uint32_t ProcedureOf(const std::string& body);

} // namespace uxvisa::test
