// Short ways to use a session in a test.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstring>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "core/ISession.h"
#include "uxvisa/visatype.h"

namespace uxvisa::test {

struct Transfer {
    long status = 0;
    unsigned long count = 0;
    std::string data = {};

    bool operator==(const Transfer& other) const {
        return status == other.status && count == other.count && data == other.data;
    }
};

inline std::ostream& operator<<(std::ostream& out, const Transfer& transfer) {
    constexpr std::size_t Shown = 40;
    const bool whole = transfer.data.size() <= Shown;
    return out << std::hex << "status 0x" << transfer.status << std::dec << ", " << transfer.count
               << " bytes: \"" << transfer.data.substr(0, Shown) << (whole ? "\"" : "\"...");
}

inline long Open(ISession& session, std::string resource, unsigned long openTimeoutMs = 5000) {
    return session.OpenConnection(resource.data(), 0, openTimeoutMs);
}

// The data are `count` bytes of the buffer, whatever the status.
inline Transfer Read(ISession& session, std::size_t room) {
    std::vector<unsigned char> buffer(room + 1, 0xA5);
    Transfer result;
    result.count = 0xC0C0C0C0;
    result.status = session.Read(buffer.data(), room, &result.count);
    if (result.count <= room) {
        result.data.assign(buffer.begin(), buffer.begin() + static_cast<long>(result.count));
    }
    return result;
}

// The data are left empty.
inline Transfer Write(ISession& session, std::string bytes) {
    Transfer result;
    result.count = 0xC0C0C0C0;
    result.status =
        session.Write(reinterpret_cast<unsigned char*>(bytes.data()), bytes.size(), &result.count);
    return result;
}

inline Transfer Sent(unsigned long count) {
    return {VI_SUCCESS, count};
}

inline Transfer Received(std::string data, long status = VI_SUCCESS) {
    return {status, data.size(), std::move(data)};
}

inline Transfer Received(const char* data, long status = VI_SUCCESS) {
    return Received(std::string(data), status);
}

class Stopwatch {
public:
    std::chrono::milliseconds Elapsed() const {
        return std::chrono::duration_cast<std::chrono::milliseconds>(
            std::chrono::steady_clock::now() - m_start);
    }

private:
    std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
};

} // namespace uxvisa::test
