#include "companions/landriver/Connection.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <limits>

#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace landriver {

namespace {

class Deadline {
public:
    explicit Deadline(ViUInt32 ms)
        : m_end(std::chrono::steady_clock::now() +
                std::chrono::milliseconds(std::min<ViUInt32>(ms, Longest))) {}

    // False when the time is over before `events` are there.
    bool Await(int fd, short events) const {
        for (;;) {
            pollfd waited{fd, events, 0};
            const int ready = poll(&waited, 1, LeftMs());
            if (ready != -1 || errno != EINTR) {
                return ready > 0;
            }
        }
    }

private:
    static constexpr ViUInt32 Longest = std::numeric_limits<int>::max();

    int LeftMs() const {
        const auto left =
            std::chrono::ceil<std::chrono::milliseconds>(m_end - std::chrono::steady_clock::now());
        return static_cast<int>(std::clamp<long>(left.count(), 0, Longest));
    }

    std::chrono::steady_clock::time_point m_end;
};

bool IsLater(int error) {
    return error == EAGAIN || error == EINTR;
}

int ConnectTo(const addrinfo& address, const Deadline& deadline) {
    const int fd = socket(address.ai_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (fd == -1) {
        return -1;
    }
    int error = 0;
    socklen_t size = sizeof error;
    if (connect(fd, address.ai_addr, address.ai_addrlen) != 0 &&
        (errno != EINPROGRESS || !deadline.Await(fd, POLLOUT) ||
         getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &size) != 0 || error != 0)) {
        close(fd);
        return -1;
    }
    const int on = 1;
    setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    return fd;
}

} // namespace

std::unique_ptr<Connection> Connection::Open(const std::string& host, const std::string& port,
                                             ViUInt32 timeoutMs, ViStatus& status) {
    const Deadline deadline(timeoutMs);
    addrinfo hints{};
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    status = VI_ERROR_RSRC_NFOUND;
    if (getaddrinfo(host.c_str(), port.c_str(), &hints, &found) != 0) {
        return nullptr;
    }
    const std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> addresses(found, freeaddrinfo);
    for (const addrinfo* address = found; address != nullptr; address = address->ai_next) {
        const int fd = ConnectTo(*address, deadline);
        if (fd != -1) {
            status = VI_SUCCESS;
            return std::make_unique<Connection>(fd);
        }
    }
    return nullptr;
}

Connection::~Connection() {
    close(m_fd);
}

ViStatus Connection::Read(ViPByte buffer, ViUInt32 count, ViUInt32& done) const {
    const Deadline deadline(m_timeoutMs);
    done = 0;
    while (done < count) {
        const ssize_t chunk = recv(m_fd, buffer + done, count - done, 0);
        if (chunk > 0) {
            done += static_cast<ViUInt32>(chunk);
        } else if (chunk == 0 || !IsLater(errno)) {
            return VI_ERROR_CONN_LOST;
        } else if (!deadline.Await(m_fd, POLLIN)) {
            return VI_ERROR_TMO;
        }
    }
    return VI_SUCCESS;
}

ViStatus Connection::Write(ViConstBuf buffer, ViUInt32 count, ViUInt32& done) const {
    const Deadline deadline(m_timeoutMs);
    done = 0;
    while (done < count) {
        const ssize_t chunk = send(m_fd, buffer + done, count - done, MSG_NOSIGNAL);
        if (chunk >= 0) {
            done += static_cast<ViUInt32>(chunk);
        } else if (!IsLater(errno)) {
            return VI_ERROR_CONN_LOST;
        } else if (!deadline.Await(m_fd, POLLOUT)) {
            return VI_ERROR_TMO;
        }
    }
    return VI_SUCCESS;
}

void Connection::Discard() const {
    ViByte scratch[4096];
    while (recv(m_fd, scratch, sizeof scratch, 0) > 0) {
    }
}

} // namespace landriver
