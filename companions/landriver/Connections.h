// The open connections by handle. Threads may open, use and close different ones at once.
#pragma once

#include <map>
#include <memory>
#include <mutex>

#include "companions/landriver/Connection.h"

namespace landriver {

class Connections {
public:
    // Never destroyed: a program may still close a session while it exits.
    static Connections& All();

    ViSession Add(std::unique_ptr<Connection> connection);
    // Null for an unknown handle. A connection closed meanwhile lives until its user lets go.
    std::shared_ptr<Connection> Find(ViSession handle);
    bool Remove(ViSession handle);

private:
    std::mutex m_mutex;
    std::map<ViSession, std::shared_ptr<Connection>> m_connections;
    ViSession m_last = 1;
};

} // namespace landriver
