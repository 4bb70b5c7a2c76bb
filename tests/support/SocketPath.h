// A path for a local socket.
#pragma once

#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdlib>
#include <string>

namespace uxvisa::test {

// A path of exactly `size` bytes in a folder of its own.
class SocketPath {
public:
    explicit SocketPath(std::size_t size = 60) {
        char folder[] = "/tmp/uxvisa-usock-XXXXXX";
        EXPECT_NE(mkdtemp(folder), nullptr);
        m_folder = folder;
        m_path = m_folder + "/";
        m_path.append(size - m_path.size(), 's');
    }
    ~SocketPath() {
        unlink(m_path.c_str());
        rmdir(m_folder.c_str());
    }
    SocketPath(const SocketPath&) = delete;
    SocketPath& operator=(const SocketPath&) = delete;

    const std::string& Get() const { return m_path; }
    std::string Resource() const { return "USOCK::" + m_path + "::SOCKET"; }

private:
    std::string m_folder;
    std::string m_path;
};

} // namespace uxvisa::test
