#pragma once

#include <sys/types.h>

#include <string>

namespace emulator {

// Removes a socket at the path that nobody listens on. Throws std::runtime_error when there is
// anything else, and std::system_error when the path is too long for a socket.
void RemoveStaleSocket(const std::string& path);

// The file of a socket that this program bound, removed with the object; not, however, one that
// somebody else has put in its place.
class SocketFile {
public:
    explicit SocketFile(std::string path);
    SocketFile(const SocketFile&) = delete;
    SocketFile& operator=(const SocketFile&) = delete;
    ~SocketFile();

private:
    std::string m_path;
    dev_t m_device = 0;
    ino_t m_number = 0;
};

} // namespace emulator
