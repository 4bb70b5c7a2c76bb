#include "companions/landriver/Connections.h"

#include <utility>

namespace landriver {

Connections& Connections::All() {
    static auto* connections = new Connections;
    return *connections;
}

ViSession Connections::Add(std::unique_ptr<Connection> connection) {
    const std::lock_guard lock(m_mutex);
    m_connections[++m_last] = std::move(connection);
    return m_last;
}

std::shared_ptr<Connection> Connections::Find(ViSession handle) {
    const std::lock_guard lock(m_mutex);
    const auto found = m_connections.find(handle);
    return found == m_connections.end() ? nullptr : found->second;
}

bool Connections::Remove(ViSession handle) {
    const std::lock_guard lock(m_mutex);
    return m_connections.erase(handle) != 0;
}

} // namespace landriver
