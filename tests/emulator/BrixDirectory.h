#pragma once

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>

// A working directory with what a BRIX session looks for there.
class BrixDirectory {
public:
    BrixDirectory() : m_before(std::filesystem::current_path()) {
        std::string name = (std::filesystem::temp_directory_path() / "uxvisa-brix-XXXXXX").string();
        if (::mkdtemp(name.data()) == nullptr) {
            throw std::runtime_error("no temporary directory");
        }
        m_path = name;
        std::filesystem::create_symlink(UXVISA_PROTO_DESC, m_path / "libProtoDesc.so.1.0.0");
        std::filesystem::copy_file(UXVISA_EXAMPLE_PROTOCOL, m_path / "Protocol.xml");
        std::filesystem::current_path(m_path);
    }
    BrixDirectory(const BrixDirectory&) = delete;
    BrixDirectory& operator=(const BrixDirectory&) = delete;
    ~BrixDirectory() {
        std::filesystem::current_path(m_before);
        std::filesystem::remove_all(m_path);
    }

private:
    std::filesystem::path m_before;
    std::filesystem::path m_path;
};
