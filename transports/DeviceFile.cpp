#include "transports/DeviceFile.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include "transports/DeviceDescriptor.h"

namespace uxvisa::sys {

namespace {

// USBTMC_IOCTL_ABORT_BULK_IN of linux/usb/tmc.h.
constexpr unsigned long AbortBulkInRequest = 0x5B04;

} // namespace

int OpenDevice(const char* path) {
    return PastStandardDescriptors(
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
