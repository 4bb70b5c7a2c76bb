#include "companions/protodesc/Sessions.h"

#include <limits>
#include <type_traits>
#include <utility>

namespace protodesc {

namespace {

constinit Sessions AllSessions;
static_assert(std::is_trivially_destructible_v<Sessions>, "nothing runs at exit");

} // namespace

Sessions& Sessions::All() {
    return AllSessions;
}

// 0 is never a handle, and closed ones come again late.
int Sessions::NextHandle() {
    do {
        m_last = m_last == std::numeric_limits<int>::max() ? 1 : m_last + 1;
    } while (m_open->contains(m_last));
    return m_last;
}

int Sessions::Open() {
    auto nothing = std::make_shared<const ProtocolDescription>();
    auto first = std::make_unique<Descriptions>();
    const std::lock_guard lock(m_mutex);
    if (m_open == nullptr) {
        m_open = first.release();
    }
    const int handle = NextHandle();
    m_open->emplace(handle, std::move(nothing));
    return handle;
}

std::shared_ptr<const ProtocolDescription> Sessions::Find(int handle) {
    const std::lock_guard lock(m_mutex);
    if (m_open == nullptr) {
        return nullptr;
    }
    const auto found = m_open->find(handle);
    return found == m_open->end() ? nullptr : found->second;
}

bool Sessions::Replace(int handle, std::shared_ptr<const ProtocolDescription> description) {
    // `description` leaves with the old content, which takes its time to free, after the lock.
    const std::lock_guard lock(m_mutex);
    if (m_open == nullptr) {
        return false;
    }
    const auto found = m_open->find(handle);
    if (found == m_open->end()) {
        return false;
    }
    found->second.swap(description);
    return true;
}

void Sessions::Close(int handle) {
    Descriptions::node_type closed;
    std::unique_ptr<Descriptions> last;
    const std::lock_guard lock(m_mutex);
    if (m_open == nullptr) {
        return;
    }
    closed = m_open->extract(handle);
    if (m_open->empty()) {
        last.reset(std::exchange(m_open, nullptr));
    }
}

} // namespace protodesc
