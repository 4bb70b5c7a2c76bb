// The open sessions by handle. Threads may open, use and close different ones at once.
#pragma once

#include <map>
#include <memory>
#include <mutex>

#include "companions/protodesc/ProtocolDescription.h"

namespace protodesc {

class Sessions {
public:
    // Never destroyed: a program may still use and close sessions while it exits.
    static Sessions& All();

    // The new session knows nothing.
    int Open();
    // Null for an unknown handle. What is replaced meanwhile lives until its user lets go.
    std::shared_ptr<const ProtocolDescription> Find(int handle);
    // False for an unknown handle.
    bool Replace(int handle, std::shared_ptr<const ProtocolDescription> description);
    void Close(int handle);

private:
    using Descriptions = std::map<int, std::shared_ptr<const ProtocolDescription>>;

    int NextHandle();

    std::mutex m_mutex;
    // There while a session is open, so that unloading the library afterwards leaks nothing.
    Descriptions* m_open = nullptr;
    int m_last = 0;
};

} // namespace protodesc
