#include "brix/ProtocolLibrary.h"

#include <cstdlib>
#include <memory>

#include <dlfcn.h>
#include <unistd.h>

namespace uxvisa::brix {

namespace {

template <typename Function>
bool Bind(void* library, const char* name, Function*& entry) {
    entry = reinterpret_cast<Function*>(dlsym(library, name));
    return entry != nullptr;
}

} // namespace

std::string ProtocolLibraryPath() {
    const std::unique_ptr<char, void (*)(void*)> directory(getcwd(nullptr, 0), std::free);
    return directory == nullptr ? "" : std::string(directory.get()) + "/libProtoDesc.so.1.0.0";
}

bool ProtocolLibrary::Load(const std::string& path) {
    // The loader takes an empty path for the running program.
    m_handle = path.empty() ? nullptr : dlopen(path.c_str(), RTLD_LAZY);
    if (m_handle == nullptr) {
        return false;
    }
    ProtocolFunctions& to = m_functions;
    return Bind(m_handle, "OpenSession", to.OpenSession) &&
           Bind(m_handle, "ProtLoadFromFile", to.ProtLoadFromFile) &&
           Bind(m_handle, "GetErrorName", to.GetErrorName) &&
           Bind(m_handle, "GetCommandName", to.GetCommandName) &&
           Bind(m_handle, "GetParameterName", to.GetParameterName) &&
           Bind(m_handle, "GetCommandID", to.GetCommandID) &&
           Bind(m_handle, "GetParameterFract", to.GetParameterFract) &&
           Bind(m_handle, "GetParameterSize", to.GetParameterSize) &&
           Bind(m_handle, "GetParameterID", to.GetParameterID) &&
           Bind(m_handle, "CloseSession", to.CloseSession);
}

void ProtocolLibrary::Unload() {
    if (m_handle != nullptr) {
        dlclose(m_handle);
    }
    m_handle = nullptr;
    m_functions = {};
}

} // namespace uxvisa::brix
