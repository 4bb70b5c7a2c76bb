#pragma once

#include "emulator/StreamClient.h"
#include "tools/emulator/Server.h"

#include <asio.hpp>

#include <cstdint>
#include <thread>

// A server on a free port of the loopback, run by a thread of its own.
class ServerThread {
public:
    explicit ServerThread(const emulator::Pacing& pacing = {},
                          const emulator::InstrumentSettings& settings = {})
        : m_instrument(settings), m_server(m_context, m_instrument, pacing) {
        m_server.Listen(asio::ip::tcp::endpoint(asio::ip::address_v4::loopback(), 0));
        m_port = emulator::TcpEndpoint(m_server.LocalEndpoint()).port();
        m_thread = std::thread([this] { m_context.run(); });
    }

    ServerThread(const ServerThread&) = delete;
    ServerThread& operator=(const ServerThread&) = delete;

    ~ServerThread() {
        m_context.stop();
        m_thread.join();
    }

    std::uint16_t Port() const { return m_port; }
    StreamClient Connect() const { return StreamClient::Connect(m_port); }

private:
    emulator::Instrument m_instrument;
    asio::io_context m_context;
    emulator::Server m_server;
    std::uint16_t m_port = 0;
    std::thread m_thread;
};
