#include "api/DynamicVisa.h"

#include <cstdio>

#include <dlfcn.h>

#include "uxvisa/visatype.h"

DynamicVisa Visa(nullptr);

namespace {

constexpr int NoPath = -101;
constexpr int NotLoaded = -1;

template <typename Function>
void Bind(void* library, const char* name, Function*& entry, int& missing) {
    void* found = dlsym(library, name);
    if (found == nullptr) {
        ++missing;
        return;
    }
    entry = reinterpret_cast<Function*>(found);
}

} // namespace

extern "C" {

#define UXVISA_DEFINE_STATUS(name, types)                                                          \
    ViStatus noVi##name types {                                                                    \
        return VI_ERROR_LIBRARY_NFOUND;                                                            \
    }
#define UXVISA_DEFINE_NOTHING(name, types)                                                         \
    void noVi##name types {}
UXVISA_DRIVER_OPERATIONS(UXVISA_DEFINE_STATUS, UXVISA_DEFINE_NOTHING)
#undef UXVISA_DEFINE_STATUS
#undef UXVISA_DEFINE_NOTHING

} // extern "C"

DynamicVisa::DynamicVisa(const char* libraryPath) : m_handle(nullptr) {
    Initialize(libraryPath);
}

DynamicVisa::~DynamicVisa() {
    Uninitialize();
}

int DynamicVisa::Initialize(const char* libraryPath) {
    Uninitialize();
    if (libraryPath == nullptr || *libraryPath == '\0') {
        return NoPath;
    }
    m_handle = dlopen(libraryPath, RTLD_LAZY | RTLD_LOCAL);
    if (m_handle == nullptr) {
        std::fprintf(stderr, "%s\n", dlerror());
        return NotLoaded;
    }
    m_missing = 0;
#define UXVISA_BIND(name, types) Bind(m_handle, "ux" #name, ux##name, m_missing);
    UXVISA_DRIVER_OPERATIONS(UXVISA_BIND, UXVISA_BIND)
#undef UXVISA_BIND
    return m_missing;
}

// Never inlined: the destructor runs it, and sessions that outlive the global table at the
// process's end rely on what it leaves behind, which the compiler could otherwise drop with the
// object.
__attribute__((noinline)) void DynamicVisa::Uninitialize() {
    if (m_handle != nullptr) {
        dlclose(m_handle);
        m_handle = nullptr;
    }
    m_missing = -1;
#define UXVISA_UNBIND(name, types) ux##name = noVi##name;
    UXVISA_DRIVER_OPERATIONS(UXVISA_UNBIND, UXVISA_UNBIND)
#undef UXVISA_UNBIND
}

bool DynamicVisa::Initialized() {
    return m_missing >= 0;
}

int DynamicVisa::MissingFnCount() {
    return m_missing;
}

bool IsLibExists(const char* libraryPath) {
    void* library = dlopen(libraryPath, RTLD_LAZY | RTLD_LOCAL);
    if (library == nullptr) {
        return false;
    }
    dlclose(library);
    return true;
}
