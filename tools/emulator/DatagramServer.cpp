#include "tools/emulator/DatagramServer.h"

#include <netinet/in.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstring>
#include <optional>
#include <system_error>
#include <utility>

namespace emulator {

namespace {

using asio::ip::address_v4;

// Room for the one control message that goes with a datagram: which way it came or goes.
struct Control {
    alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(in_pktinfo))> bytes{};
};

msghdr Message(sockaddr_in& peer, iovec& data, Control& control) {
    msghdr message{};
    message.msg_name = &peer;
    message.msg_namelen = sizeof peer;
    message.msg_iov = &data;
    message.msg_iovlen = 1;
    message.msg_control = control.bytes.data();
    message.msg_controllen = control.bytes.size();
    return message;
}

std::optional<address_v4> ReachedAddress(msghdr& message) {
    for (cmsghdr* part = CMSG_FIRSTHDR(&message); part != nullptr;
         part = CMSG_NXTHDR(&message, part)) {
        if (part->cmsg_level == IPPROTO_IP && part->cmsg_type == IP_PKTINFO) {
            in_pktinfo info{};
            std::memcpy(&info, CMSG_DATA(part), sizeof info);
            return address_v4(ntohl(info.ipi_spec_dst.s_addr));
        }
    }
    return std::nullopt;
}

void Send(int descriptor, std::string& reply, sockaddr_in& receiver, const address_v4& from) {
    iovec data{reply.data(), reply.size()};
    Control control;
    msghdr message = Message(receiver, data, control);
    cmsghdr* const part = CMSG_FIRSTHDR(&message);
    part->cmsg_level = IPPROTO_IP;
    part->cmsg_type = IP_PKTINFO;
    part->cmsg_len = CMSG_LEN(sizeof(in_pktinfo));
    in_pktinfo info{};
    info.ipi_spec_dst.s_addr = htonl(from.to_uint());
    std::memcpy(CMSG_DATA(part), &info, sizeof info);
    // A reply that cannot be sent is a lost one, as any datagram may be.
    ::sendmsg(descriptor, &message, MSG_DONTWAIT | MSG_NOSIGNAL);
}

} // namespace

DatagramServer::DatagramServer(asio::io_context& context, Answer answer)
    : m_socket(context), m_answer(std::move(answer)) {}

void DatagramServer::Listen(std::uint16_t port) {
    m_socket.open(asio::ip::udp::v4());
    m_socket.set_option(asio::socket_base::reuse_address(true));
    const int on = 1;
    if (::setsockopt(m_socket.native_handle(), IPPROTO_IP, IP_PKTINFO, &on, sizeof on) != 0) {
        throw std::system_error(errno, std::generic_category());
    }
    // Broadcasts reach only sockets that are bound to no single address.
    m_socket.bind({address_v4::any(), port});
    Await();
}

void DatagramServer::Await() {
    m_socket.async_wait(asio::socket_base::wait_read, [this](std::error_code error) {
        if (!error) {
            AnswerAll();
            Await();
        }
    });
}

void DatagramServer::AnswerAll() {
    while (AnswerNext()) {
    }
}

bool DatagramServer::AnswerNext() {
    sockaddr_in sender{};
    iovec data{m_request.data(), m_request.size()};
    Control control;
    msghdr message = Message(sender, data, control);
    const ssize_t count = ::recvmsg(m_socket.native_handle(), &message, MSG_DONTWAIT);
    if (count < 0) {
        return errno == EINTR;
    }
    const auto local = ReachedAddress(message);
    if (!local || (message.msg_flags & MSG_TRUNC) != 0) {
        return true;
    }
    std::string reply = m_answer({m_request.data(), static_cast<std::size_t>(count)}, *local);
    if (!reply.empty()) {
        Send(m_socket.native_handle(), reply, sender, *local);
    }
    return true;
}

} // namespace emulator
