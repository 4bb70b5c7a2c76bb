#include "tools/uxvisa/HookedSession.h"

#include "tools/uxvisa/MonitorReaders.h"

namespace uxvisa::tool {

long HookedSession::CloseConnection() {
    LeaveNameToMonitors();
    return CSessionHook::CloseConnection();
}

// Whoever closes removes the name that it knows.
void HookedSession::LeaveNameToMonitors() {
    if (MonitorReaders(*this) > 0) {
        m_name.clear();
    }
}

} // namespace uxvisa::tool
