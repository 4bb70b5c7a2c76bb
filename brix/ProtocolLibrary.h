// A protocol-description library, loaded and bound by name.
#pragma once

#include <string>

#include "brix/Protocol.h"

namespace uxvisa::brix {

constexpr const char* ProtocolFile = "Protocol.xml";

// Where sessions look for the library: in the working directory of the moment. Empty when that
// directory does not exist any more.
std::string ProtocolLibraryPath();

// Has no destructor that unloads: sessions say when. Part of the session's binary layout.
class ProtocolLibrary {
public:
    // False when the library cannot be loaded, or lacks a function; it stays loaded then.
    bool Load(const std::string& path);
    void Unload();

    bool Complete() const { return m_functions.CloseSession != nullptr; } // bound last
    const ProtocolFunctions& Functions() const { return m_functions; }

private:
    void* m_handle = nullptr;
    ProtocolFunctions m_functions;
};

} // namespace uxvisa::brix
