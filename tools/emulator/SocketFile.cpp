#include "tools/emulator/SocketFile.h"

#include <asio.hpp>

#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace emulator {

namespace {

using Endpoint = asio::local::stream_protocol::endpoint;

// Only a refusal shows that nobody does; without blocking, a listener too busy to accept shows too.
bool SomebodyListens(const Endpoint& endpoint) {
    const int descriptor = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (descriptor < 0) {
        throw std::system_error(errno, std::generic_category());
    }
    const bool refused =
        ::connect(descriptor, endpoint.data(), static_cast<socklen_t>(endpoint.size())) != 0 &&
        errno == ECONNREFUSED;
    ::close(descriptor);
    return !refused;
}

} // namespace

void RemoveStaleSocket(const std::string& path) {
    const Endpoint endpoint(path);
    struct stat file {};
    if (::lstat(path.c_str(), &file) != 0) {
        return;
    }
    if (!S_ISSOCK(file.st_mode)) {
        throw std::runtime_error("there is a file that is no socket");
    }
    if (SomebodyListens(endpoint)) {
        throw std::system_error(std::make_error_code(std::errc::address_in_use));
    }
    ::unlink(path.c_str());
}

SocketFile::SocketFile(std::string path) : m_path(std::move(path)) {
    struct stat file {};
    if (::lstat(m_path.c_str(), &file) == 0) {
        m_device = file.st_dev;
        m_number = file.st_ino;
    }
}

SocketFile::~SocketFile() {
    struct stat file {};
    if (::lstat(m_path.c_str(), &file) == 0 && file.st_dev == m_device && file.st_ino == m_number) {
        ::unlink(m_path.c_str());
    }
}

} // namespace emulator
