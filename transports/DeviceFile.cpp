#include "transports/DeviceFile.h"

#include <cerrno>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace uxvisa::sys {

namespace {

// USBTMC_IOCTL_ABORT_BULK_IN of linux/usb/tmc.h.
constexpr unsigned long AbortBulkInRequest = 0x5B04;

template <typename Call>
auto Restarted(Call&& call) {
    auto result = call();
    while (result < 0 && errno == EINTR) {
        result = call();
    }
    return result;
}

int AwayFromStandardDescriptors(int fd) {
    if (fd < 0 || fd > STDERR_FILENO) {
        return fd;
    }
    const int moved = ::fcntl(fd, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    ::close(fd);
    return moved;
}

} // namespace

int OpenDevice(const char* path) {
    return AwayFromStandardDescriptors(
        Restarted([&] { return ::open(path, O_RDWR | O_CLOEXEC | O_NOCTTY); }));
}

ssize_t ReadDevice(int fd, void* data, std::size_t size) {
    return Restarted([&] { return ::read(fd, data, size); });
}

ssize_t WriteDevice(int fd, const void* data, std::size_t size) {
    return Restarted([&] { return ::write(fd, data, size); });
}

int AbortBulkIn(int fd) {
    return Restarted([&] { return ::ioctl(fd, AbortBulkInRequest); });
}

int CloseDevice(int fd) {
    return ::close(fd);
}

ssize_t ReadFileStart(const char* path, void* data, std::size_t size) {
    const int fd = Restarted([&] { return ::open(path, O_RDONLY | O_CLOEXEC); });
    if (fd < 0) {
        return -1;
    }
    std::size_t filled = 0;
    ssize_t got = 1;
    while (filled < size && got > 0) {
        got = ReadDevice(fd, static_cast<char*>(data) + filled, size - filled);
        filled += got > 0 ? static_cast<std::size_t>(got) : 0;
    }
    ::close(fd);
    return static_cast<ssize_t>(filled);
}

} // namespace uxvisa::sys
