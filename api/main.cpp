#include "api/main.h"

#include <new>

CResourceManager* ResManager = nullptr;

namespace {

// ResManager keeps its value when the library is unloaded; what late calls must not touch any more
// is told by this.
bool unloading = false;

} // namespace

namespace uxvisa {

CResourceManager* LiveManager() {
    return unloading ? nullptr : ResManager;
}

} // namespace uxvisa

// The earliest priority open to programs: the manager must exist before any other static object of
// the library, and, with a destructor function of no priority, is gone before them.
__attribute__((constructor(101))) void Initializer() {
    if (ResManager != nullptr) {
        return;
    }
    try {
        ResManager = new CResourceManager(nullptr);
    } catch (...) {
        // Calls then answer VI_ERROR_SYSTEM_ERROR, as they do without a manager.
        ResManager = nullptr;
    }
}

__attribute__((destructor)) void Finalizer() {
    if (unloading) {
        return;
    }
    unloading = true;
    delete ResManager;
}
