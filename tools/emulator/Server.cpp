#include "tools/emulator/Server.h"

#include "tools/emulator/Connection.h"

#include <chrono>
#include <cstring>
#include <memory>
#include <utility>

namespace emulator {

Server::Server(asio::io_context& context, Instrument& instrument, const Pacing& pacing)
    : acceptor_(context), retry_(context), instrument_(instrument), pacing_(pacing) {}

void Server::Listen(const Protocol::endpoint& endpoint) {
    acceptor_.open(endpoint.protocol());
    acceptor_.set_option(asio::socket_base::reuse_address(true));
    acceptor_.bind(endpoint);
    acceptor_.listen();
    Accept();
}

void Server::Accept() {
    acceptor_.async_accept([this](std::error_code error, Protocol::socket socket) {
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
    std::make_shared<Connection<Protocol::socket>>(std::move(socket), instrument_, pacing_)
        ->Start();
    Accept();
}

// The usual reason is that descriptors ran out; the client stays in the queue of the kernel, and
// trying again at once would keep the processor busy.
void Server::AcceptLater() {
    retry_.expires_after(std::chrono::milliseconds(50));
    retry_.async_wait([this](std::error_code error) {
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
