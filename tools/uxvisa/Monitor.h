// A reader of the traffic that hooked sessions on a resource show.
#pragma once

#include <memory>
#include <string>

#include "monitor/SessionDebug.h"
#include "tools/uxvisa/MonitoredMessage.h"

namespace uxvisa::tool {

// Signs on when it is made and off when it goes. In between it has to be read: whoever is watched
// waits for it.
class Monitor {
public:
    // The resource string of the hooked session, with or without "::HOOK" behind it. Throws an
    // InstrumentFailure when there can be no block of this name.
    explicit Monitor(const std::string& resource);
    ~Monitor();
    Monitor(const Monitor&) = delete;
    Monitor& operator=(const Monitor&) = delete;

    // After 100 ms at the latest. The data are good until the next call.
    MonitorReading Read();

private:
    class Connection;

    std::unique_ptr<Connection> Connect() const;

    std::string m_resource;
    std::unique_ptr<Connection> m_connection;
    unsigned char m_buffer[64];
};

} // namespace uxvisa::tool
