#include "support/PseudoTerminal.h"

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <thread>

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace uxvisa::test {

namespace {

constexpr int WaitMs = 20000;
constexpr int MomentMs = 50;

int Checked(int result, const std::string& what) {
    if (result < 0) {
        throw std::runtime_error(what + ": " + std::strerror(errno));
    }
    return result;
}

int OpenInstrumentSide() {
    const int fd = Checked(open("/dev/ptmx", O_RDWR | O_NOCTTY | O_CLOEXEC),
                           "a pseudo-terminal cannot be made");
    Checked(grantpt(fd), "grantpt");
    Checked(unlockpt(fd), "unlockpt");
    return fd;
}

std::string NameOfTerminal(int instrument) {
    char name[64];
    if (ptsname_r(instrument, name, sizeof name) != 0) {
        throw std::runtime_error("ptsname_r failed");
    }
    return name;
}

bool IsReadable(int fd, int waitMs) {
    pollfd waited{fd, POLLIN, 0};
    return poll(&waited, 1, waitMs) == 1 && (waited.revents & POLLIN) != 0;
}

} // namespace

Link::Link(const std::string& target, const std::string& path) : m_path(path) {
    Checked(symlink(target.c_str(), path.c_str()), "a link at " + path);
}

Link::~Link() {
    unlink(m_path.c_str());
}

std::string NewTerminalName() {
    static unsigned int made = 0;
    const unsigned long number = static_cast<unsigned long>(getpid()) * 1000 + made++;
    return "ttyUxVisaTest" + std::to_string(number);
}

PseudoTerminal::PseudoTerminal(const std::string& folder)
    : m_instrument(OpenInstrumentSide()), m_device(NameOfTerminal(m_instrument.Get())),
      m_name(folder + NewTerminalName()), m_link(m_device, "/dev/" + m_name) {
    m_terminal =
        Descriptor(Checked(open(m_device.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC), m_device));
}

termios PseudoTerminal::Settings() const {
    termios settings{};
    Checked(tcgetattr(m_terminal.Get(), &settings), "tcgetattr");
    return settings;
}

void PseudoTerminal::Apply(const termios& settings) const {
    Checked(tcsetattr(m_terminal.Get(), TCSANOW, &settings), "tcsetattr");
}

void PseudoTerminal::Send(const std::string& bytes) const {
    const int before = Waiting();
    const ssize_t sent = write(m_instrument.Get(), bytes.data(), bytes.size());
    if (sent != static_cast<ssize_t>(bytes.size())) {
        throw std::runtime_error("the terminal does not take " + std::to_string(bytes.size()) +
                                 " bytes");
    }
    for (int waitedMs = 0; Waiting() < before + sent; ++waitedMs) {
        if (waitedMs == WaitMs) {
            throw std::runtime_error("bytes do not arrive at the terminal");
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

int PseudoTerminal::Waiting() const {
    int count = 0;
    Checked(ioctl(m_terminal.Get(), FIONREAD, &count), "FIONREAD");
    return count;
}

std::string PseudoTerminal::Receive(std::size_t count) const {
    std::string received;
    while (received.size() < count && IsReadable(m_instrument.Get(), WaitMs)) {
        std::string piece(count - received.size(), '\0');
        const ssize_t size = read(m_instrument.Get(), piece.data(), piece.size());
        received.append(piece, 0,
                        static_cast<std::size_t>(Checked(static_cast<int>(size), "read")));
    }
    return received;
}

bool PseudoTerminal::IsSilent() const {
    return !IsReadable(m_instrument.Get(), MomentMs);
}

void PseudoTerminal::HangUp() {
    m_instrument.Close();
}

} // namespace uxvisa::test
