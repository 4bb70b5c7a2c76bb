#include "transports/SerialCalls.h"

#include <fcntl.h>
#include <linux/serial.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include "transports/DeviceDescriptor.h"

namespace uxvisa::sys {

int OpenTerminal(const char* path) {
    constexpr int Flags = O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC;
    return PastStandardDescriptors(Restarted([&] { return ::open(path, Flags); }));
}

int GetTerminalSettings(int fd, termios& settings) {
    return ::tcgetattr(fd, &settings);
}

int SetTerminalSettings(int fd, int when, const termios& settings) {
    return Restarted([&] { return ::tcsetattr(fd, when, &settings); });
}

int CountWaitingBytes(int fd, int& count) {
    return ::ioctl(fd, FIONREAD, &count);
}

ssize_t ReadTerminal(int fd, void* data, std::size_t size) {
    return Restarted([&] { return ::read(fd, data, size); });
}

ssize_t WriteTerminal(int fd, const void* data, std::size_t size) {
    return Restarted([&] { return ::write(fd, data, size); });
}

int DrainTerminal(int fd) {
    return Restarted([&] { return ::tcdrain(fd); });
}

int GetSerialPortType(int fd, int& type) {
    serial_struct port{};
    const int result = ::ioctl(fd, TIOCGSERIAL, &port);
    type = port.type;
    return result;
}

} // namespace uxvisa::sys
