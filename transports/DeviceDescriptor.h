// What the system calls of all device files need.
#pragma once

#include <cerrno>

#include <fcntl.h>
#include <unistd.h>

namespace uxvisa::sys {

// The call's result, after as many starts as signals made necessary.
template <typename Call>
auto Restarted(Call&& call) {
    auto result = call();
    while (result < 0 && errno == EINTR) {
        result = call();
    }
    return result;
}

// The sessions take descriptor 0 for none, and what a program prints must not reach an instrument.
inline int PastStandardDescriptors(int fd) {
    if (fd < 0 || fd > STDERR_FILENO) {
        return fd;
    }
    const int moved = ::fcntl(fd, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    ::close(fd);
    return moved;
}

} // namespace uxvisa::sys
