#include "tools/emulator/Terminal.h"

#include <fcntl.h>
#include <stdlib.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <filesystem>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace emulator {

namespace {

constexpr const char* TerminalFolder = "/dev/pts/";

void Require(bool succeeded) {
    if (!succeeded) {
        throw std::system_error(errno, std::generic_category());
    }
}

// Empty where there is no link.
std::string TargetOf(const std::string& path) {
    std::error_code none;
    return std::filesystem::read_symlink(path, none).string();
}

} // namespace

Link::Link(std::string path, std::string target)
    : m_path(std::move(path)), m_target(std::move(target)) {
    if (TargetOf(m_path).starts_with(TerminalFolder)) {
        ::unlink(m_path.c_str());
    }
    if (::symlink(m_target.c_str(), m_path.c_str()) != 0) {
        if (errno == EEXIST) {
            throw std::runtime_error("there is a file that is no link to a terminal");
        }
        Require(false);
    }
}

Link::~Link() {
    if (TargetOf(m_path) == m_target) {
        ::unlink(m_path.c_str());
    }
}

Terminal::Terminal() {
    try {
        Open();
    } catch (...) {
        Close();
        throw;
    }
}

void Terminal::Open() {
    m_instrument_end = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    Require(m_instrument_end >= 0);
    Require(::grantpt(m_instrument_end) == 0 && ::unlockpt(m_instrument_end) == 0);
    std::array<char, 128> name{};
    const int error = ::ptsname_r(m_instrument_end, name.data(), name.size());
    if (error != 0) {
        throw std::system_error(error, std::generic_category());
    }
    m_device = name.data();
    m_client_end = ::open(name.data(), O_RDWR | O_NOCTTY | O_CLOEXEC);
    Require(m_client_end >= 0);
    termios settings{};
    Require(::tcgetattr(m_client_end, &settings) == 0);
    ::cfmakeraw(&settings);
    Require(::tcsetattr(m_client_end, TCSANOW, &settings) == 0);
}

Terminal::~Terminal() {
    Close();
}

void Terminal::Close() {
    for (const int descriptor : {m_instrument_end, m_client_end}) {
        if (descriptor >= 0) {
            ::close(descriptor);
        }
    }
}

int Terminal::TakeInstrumentEnd() {
    return std::exchange(m_instrument_end, -1);
}

} // namespace emulator
