#pragma once

#include "tools/emulator/RecordAssembler.h"

#include <asio.hpp>

#include <array>
#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>

namespace emulator {

// What goes out for a record, and how long it is held back. Nothing for a record that makes no
// sense, which ends the connection.
struct RpcReply {
    std::string bytes;
    std::chrono::milliseconds pause{0};
};

// One client that sends records and gets one reply for each, in order. Nothing is read while a
// reply is on its way. The pending operations keep the connection alive.
class RpcConnection : public std::enable_shared_from_this<RpcConnection> {
public:
    using Socket = asio::generic::stream_protocol::socket;
    using Answer = std::function<RpcReply(std::string_view record)>;

    // Zero lets a client be silent for ever.
    RpcConnection(Socket socket, Answer answer, std::chrono::milliseconds idle_drop);

    void Start() { Read(); }

private:
    using Clock = std::chrono::steady_clock;

    static constexpr std::size_t ReadSize = std::size_t{16} << 10U;

    void Read();
    void OnRead(std::error_code error, std::size_t count);
    void Serve();
    void WriteAfter(std::chrono::milliseconds pause);
    void Write();
    void WatchSilence();
    void Close();

    Socket m_socket;
    asio::steady_timer m_timer;
    const Answer m_answer;
    const std::chrono::milliseconds m_idle_drop;
    RecordAssembler m_records;
    std::array<char, ReadSize> m_input{};
    std::string_view m_unread;
    std::string m_output;
    bool m_reading = false;
};

} // namespace emulator
