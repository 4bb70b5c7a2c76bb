#pragma once

#include "tools/emulator/Instrument.h"
#include "tools/emulator/Options.h"

#include <asio.hpp>

#include <functional>
#include <system_error>

namespace emulator {

// Accepts every client of one listening socket, of any stream protocol. Runs on the thread that
// runs the context.
class Server {
public:
    using Protocol = asio::generic::stream_protocol;
    // Takes over what was accepted.
    using Serve = std::function<void(Protocol::socket)>;

    Server(asio::io_context& context, Serve serve);
    // Commands in lines of text for one instrument, which must outlive the context.
    static Serve ServeText(Instrument& instrument, const Pacing& pacing);
    Server(asio::io_context& context, Instrument& instrument, const Pacing& pacing);

    // Throws std::system_error.
    void Listen(const Protocol::endpoint& endpoint);

    Protocol::endpoint LocalEndpoint() const { return m_acceptor.local_endpoint(); }

private:
    void Accept();
    void OnAccept(std::error_code error, Protocol::socket socket);
    void AcceptLater();

    asio::basic_socket_acceptor<Protocol> m_acceptor;
    asio::steady_timer m_retry;
    const Serve m_serve;
};

asio::ip::tcp::endpoint TcpEndpoint(const Server::Protocol::endpoint& endpoint);

} // namespace emulator
