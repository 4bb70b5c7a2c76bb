#include "tools/emulator/Server.h"

#include "tools/emulator/Connection.h"

#include <chrono>
#include <cstring>
#include <memory>
#include <utility>

namespace emulator {

Server::Server(asio::io_context& context, Serve serve)
    : m_acceptor(context), m_retry(context), m_serve(std::move(serve)) {}

Server::Server(asio::io_context& context, Instrument& instrument, const Pacing& pacing)
    : Server(context, ServeText(instrument, pacing)) {}

Server::Serve Server::ServeText(Instrument& instrument, const Pacing& pacing) {
    return [&instrument, pacing](Protocol::socket socket) {
        std::make_shared<Connection<Protocol::socket>>(std::move(socket), instrument, pacing)
            ->Start();
    };
}

void Server::Listen(const Protocol::endpoint& endpoint) {
    m_acceptor.open(endpoint.protocol());
    m_acceptor.set_option(asio::socket_base::reuse_address(true));
    m_acceptor.bind(endpoint);
    m_acceptor.listen();
    Accept();
}

void Server::Accept() {
    m_acceptor.async_accept([this](std::error_code error, Protocol::socket socket) {
        if (error != asio::error::operation_aborted) {
            OnAccept(error, std::move(socket));
        }
    });
}

void Server::OnAccept(std::error_code error, Protocol::socket socket) {
    if (error) {
        AcceptLater();
        return;
    }
    // Fails where there is nothing to switch off.
    socket.set_option(asio::ip::tcp::no_delay(true), error);
    m_serve(std::move(socket));
    Accept();
}

// The usual reason is that descriptors ran out; the client stays in the queue of the kernel, and
// trying again at once would keep the processor busy.
void Server::AcceptLater() {
    m_retry.expires_after(std::chrono::milliseconds(50));
    m_retry.async_wait([this](std::error_code error) {
        if (!error) {
            Accept();
        }
    });
}

asio::ip::tcp::endpoint TcpEndpoint(const Server::Protocol::endpoint& endpoint) {
    asio::ip::tcp::endpoint result;
    result.resize(endpoint.size());
    std::memcpy(result.data(), endpoint.data(), endpoint.size());
    return result;
}

} // namespace emulator
