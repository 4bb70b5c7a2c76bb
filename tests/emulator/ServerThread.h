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
        : instrument_(settings), server_(context_, instrument_, pacing) {
        server_.Listen(asio::ip::tcp::endpoint(asio::ip::address_v4::loopback(), 0));
        port_ = emulator::TcpEndpoint(server_.LocalEndpoint()).port();
        thread_ = std::thread([this] { context_.run(); });
    }

    ServerThread(const ServerThread&) = delete;
    ServerThread& operator=(const ServerThread&) = delete;

    ~ServerThread() {
        context_.stop();
        thread_.join();
    }

    std::uint16_t Port() const { return port_; }
    StreamClient Connect() const { return StreamClient::Connect(port_); }

private:
    emulator::Instrument instrument_;
    asio::io_context context_;
    emulator::Server server_;
    std::uint16_t port_ = 0;
    std::thread thread_;
};
