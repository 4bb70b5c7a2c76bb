#pragma once

#include <asio.hpp>

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace emulator {

// Answers datagrams, broadcast ones too, on one UDP port of every IPv4 interface. Several programs
// can share a port; each of them gets every broadcast. Runs on the thread that runs the context.
class DatagramServer {
public:
    // Longer requests are ignored.
    static constexpr std::size_t MaxRequest = 2048;

    // Gets the own address that the sender reaches, also when the request was broadcast; the reply
    // comes from it. Nothing is sent for an empty reply.
    using Answer =
        std::function<std::string(std::string_view request, const asio::ip::address_v4& local)>;

    DatagramServer(asio::io_context& context, Answer answer);

    // Throws std::system_error.
    void Listen(std::uint16_t port);

    std::uint16_t Port() const { return m_socket.local_endpoint().port(); }

private:
    void Await();
    void AnswerAll();
    bool AnswerNext();

    asio::ip::udp::socket m_socket;
    const Answer m_answer;
    std::array<char, MaxRequest> m_request{};
};

} // namespace emulator
