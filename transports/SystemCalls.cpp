#include "transports/SystemCalls.h"

#include <cerrno>
#include <ctime>

#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace uxvisa::sys {

namespace {

// A signal is no reason to report a lost connection; only blocking sockets ever see one here.
template <typename Call>
ssize_t Restarted(Call&& call) {
    ssize_t result = 0;
    do {
        result = call();
    } while (result < 0 && errno == EINTR);
    return result;
}

} // namespace

int Socket(int domain, int type, int protocol) {
    return ::socket(domain, type | SOCK_CLOEXEC, protocol);
}

int Connect(int fd, const sockaddr* address, socklen_t length) {
    return ::connect(fd, address, length);
}

ssize_t Send(int fd, const void* data, std::size_t size) {
    return Restarted([&] { return ::send(fd, data, size, MSG_NOSIGNAL); });
}

ssize_t Receive(int fd, void* data, std::size_t size, int flags) {
    return Restarted([&] { return ::recv(fd, data, size, flags); });
}

int SetOption(int fd, int level, int name, int value) {
    return ::setsockopt(fd, level, name, &value, sizeof value);
}

int PendingError(int fd) {
    int error = 0;
    TakePendingError(fd, error);
    return error;
}

bool TakePendingError(int fd, int& error) {
    socklen_t size = sizeof error;
    return ::getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &size) == 0;
}

int SetNonBlocking(int fd) {
    int on = 1;
    return ::ioctl(fd, FIONBIO, &on);
}

int ShutdownSending(int fd) {
    return ::shutdown(fd, SHUT_WR);
}

int Close(int fd) {
    return ::close(fd);
}

int Wait(int fd, short events, int timeoutMs) {
    pollfd waited{fd, events, 0};
    return ::poll(&waited, 1, timeoutMs);
}

void Pause(long microseconds) {
    timespec left{microseconds / 1000000, microseconds % 1000000 * 1000};
    while (::clock_nanosleep(CLOCK_MONOTONIC, 0, &left, &left) == EINTR) {
    }
}

} // namespace uxvisa::sys
