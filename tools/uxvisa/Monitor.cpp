#include "tools/uxvisa/Monitor.h"

#include <sys/stat.h>

#include "tools/uxvisa/Failure.h"
#include "tools/uxvisa/MonitorReaders.h"
#include "tools/uxvisa/StatusTable.h"

namespace uxvisa::tool {

namespace {

constexpr char Suffix[] = "::HOOK";

} // namespace

class Monitor::Connection : public CSessionDebug {
public:
    Connection() = default;
    ~Connection() override { CloseConnection(); }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    // Somebody who has closed has removed the name: whoever opens it now gets another block.
    bool IsOrphaned() const {
        struct stat block {};
        return m_fd != 0 && ::fstat(m_fd, &block) == 0 && block.st_nlink == 0;
    }

    // The name goes with who closes, which must not hit the block that has it now, nor the block of
    // monitors that stay.
    long CloseConnection() override {
        if (IsOrphaned() || MonitorReaders(*this) > 1) {
            m_name.clear();
        }
        return CSessionDebug::CloseConnection();
    }
};

Monitor::Monitor(const std::string& resource) : m_resource(resource), m_buffer() {
    if (m_resource.find(Suffix) == std::string::npos) {
        m_resource += Suffix;
    }
    m_connection = Connect();
}

Monitor::~Monitor() = default;

std::unique_ptr<Monitor::Connection> Monitor::Connect() const {
    auto connection = std::make_unique<Connection>();
    std::string name = m_resource;
    const ViStatus status = connection->OpenConnection(name.data(), 0, 0);
    if (status < VI_SUCCESS) {
        throw InstrumentFailure(
            m_resource, status, StatusText(status),
            "a block of shared memory of this name cannot be opened: names have at most 248 "
            "bytes, and a block belongs to the user who has opened it first (see /dev/shm)");
    }
    return connection;
}

// Only in a silence, when nothing is left to be taken from the block that was.
MonitorReading Monitor::Read() {
    unsigned long count = 0;
    const ViStatus status = m_connection->Read(m_buffer, sizeof m_buffer, &count);
    const MonitorReading reading{std::chrono::system_clock::now(),
                                 status,
                                 m_connection->LastPlace(),
                                 {reinterpret_cast<const char*>(m_buffer), count}};
    if (status == VI_ERROR_RSRC_BUSY && count == 0 && m_connection->IsOrphaned()) {
        m_connection = Connect();
    }
    return reading;
}

} // namespace uxvisa::tool
