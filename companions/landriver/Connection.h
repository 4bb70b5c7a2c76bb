// One raw TCP connection with deadlines.
#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "uxvisa/visatype.h"

namespace landriver {

class Connection {
public:
    // Null, and why in `status`, when there is no connection within `timeoutMs`.
    static std::unique_ptr<Connection> Open(const std::string& host, const std::string& port,
                                            ViUInt32 timeoutMs, ViStatus& status);
    explicit Connection(int fd) : m_fd(fd) {}
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    // Exactly `count` bytes: VI_SUCCESS, or VI_ERROR_TMO or VI_ERROR_CONN_LOST with fewer.
    ViStatus Read(ViPByte buffer, ViUInt32 count, ViUInt32& done) const;
    ViStatus Write(ViConstBuf buffer, ViUInt32 count, ViUInt32& done) const;
    // Drops what has arrived and was not read.
    void Discard() const;

    ViUInt32 Timeout() const { return m_timeoutMs; }
    void SetTimeout(ViUInt32 ms) { m_timeoutMs = ms; }

private:
    int m_fd;
    ViUInt32 m_timeoutMs = 2000;
};

} // namespace landriver
