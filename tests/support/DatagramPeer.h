// An instrument that answers datagrams, in a namespace of its own.
#pragma once

#include <chrono>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "support/Namespace.h"
#include "support/ScriptedPeer.h"

namespace uxvisa::test {

class DatagramPeer {
public:
    struct Request {
        std::string bytes;
        std::string sender;
        int senderPort;
    };
    // The answers to a request, sent back one by one.
    using Answer = std::function<std::vector<std::string>(const Request& request)>;

    // Hears what comes to the port at any address of the namespace, broadcasts included, until it
    // is destroyed. The answers are held back for `delay`.
    DatagramPeer(const NetworkNamespace& where, int port, Answer answer,
                 std::chrono::milliseconds delay = std::chrono::milliseconds(0));
    ~DatagramPeer();
    DatagramPeer(const DatagramPeer&) = delete;
    DatagramPeer& operator=(const DatagramPeer&) = delete;

    std::vector<Request> Heard();

private:
    void Serve();
    void Take();

    Answer m_answer;
    std::chrono::milliseconds m_delay;
    Descriptor m_socket;
    Descriptor m_stop;
    std::mutex m_mutex;
    std::vector<Request> m_heard;
    std::thread m_thread;
};

} // namespace uxvisa::test
