// A session that monitors can watch.
#pragma once

#include "uxvisa/hook.h"

namespace uxvisa::tool {

// Leaves the name of its block to the monitors that are there, so that they see the next command on
// the same resource too.
class HookedSession : public CSessionHook {
public:
    HookedSession() : CSessionHook(new VisaSession) {}
    ~HookedSession() override { LeaveNameToMonitors(); }
    HookedSession(const HookedSession&) = delete;
    HookedSession& operator=(const HookedSession&) = delete;

    long CloseConnection() override;

private:
    void LeaveNameToMonitors();
};

} // namespace uxvisa::tool
