// Which session class serves which resource. Declared here, where the resource manager asks, and
// defined beside the transports, so that nothing in this folder includes a transport.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "core/ISession.h"

namespace uxvisa {

struct SessionChoice {
    long status; // VI_SUCCESS exactly when there is a session
    std::unique_ptr<ISession> session;
};

// A new, unconnected session for an upper-case class word and an interface type. `manager` becomes
// the parent of sessions that open other sessions.
SessionChoice MakeSession(const std::string& classWord, unsigned short interfaceType,
                          ISession* manager);

// One new session of each kind that a search asks, in the order in which it asks them.
std::vector<std::unique_ptr<ISession>> MakeSearchableSessions();

} // namespace uxvisa
