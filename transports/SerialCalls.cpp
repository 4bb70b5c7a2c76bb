#include "transports/SerialCalls.h"

#include <cerrno>

#include <fcntl.h>
#include <linux/serial.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace uxvisa::sys {

namespace {

template <typename Call>
auto Unbroken(Call&& call) {
    auto result = call();
    while (result < 0 && errno == EINTR) {
        result = call();
    }
    return result;
}

int PastStandardDescriptors(int fd) {
    if (fd < 0 || fd > STDERR_FILENO) {
        return fd;
    }
    const int moved = ::fcntl(fd, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    ::close(fd);
    return moved;
}

} // namespace

int OpenTerminal(const char* path) {
    constexpr int Flags = O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC;
    return PastStandardDescriptors(Unbroken([&] { return ::open(path, Flags); }));
}

int GetTerminalSettings(int fd, termios& settings) {
    return ::tcgetattr(fd, &settings);
}

int SetTerminalSettings(int fd, int when, const termios& settings) {
    return Unbroken([&] { return ::tcsetattr(fd, when, &settings); });
}

int CountWaitingBytes(int fd, int& count) {
    return ::ioctl(fd, FIONREAD, &count);
}

ssize_t ReadTerminal(int fd, void* data, std::size_t size) {
    return Unbroken([&] { return ::read(fd, data, size); });
}

ssize_t WriteTerminal(int fd, const void* data, std::size_t size) {
    return Unbroken([&] { return ::write(fd, data, size); });
}

int DrainTerminal(int fd) {
    return Unbroken([&] { return ::tcdrain(fd); });
}

int GetSerialPortType(int fd, int& type) {
    serial_struct port{};
    const int result = ::ioctl(fd, TIOCGSERIAL, &port);
    type = port.type;
    return result;
}

} // namespace uxvisa::sys
