// The name of a shared block that no other test uses.
#pragma once

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <string>

namespace uxvisa::test {

// What the system knows of it goes with the object.
class BlockName {
public:
    explicit BlockName(const std::string& tail = "") {
        static std::atomic<int> last{0};
        m_name = "uxvisa-test-" + std::to_string(getpid()) + "-" + std::to_string(++last) + tail;
    }
    ~BlockName() {
        std::error_code ignored;
        std::filesystem::remove(Path(), ignored);
    }
    BlockName(const BlockName&) = delete;
    BlockName& operator=(const BlockName&) = delete;

    const std::string& Get() const { return m_name; }
    std::string Watched() const { return m_name + "::HOOK"; }
    std::string Path() const {
        std::string file = m_name + "_v2_Map";
        std::replace(file.begin(), file.end(), '/', '_');
        return "/dev/shm/" + file;
    }
    bool Exists() const { return std::filesystem::exists(Path()); }

private:
    std::string m_name;
};

} // namespace uxvisa::test
