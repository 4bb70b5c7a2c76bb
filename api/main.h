// The library's one global object and its life.
#pragma once

#include "Library/Export.h"
#include "core/resourcemanager.h"

// Plain, so that programs find it as the data symbol "ResManager". Set when the library is loaded
// and not reset when it is unloaded.
extern UXVISA_API CResourceManager* ResManager;

UXVISA_API void Initializer();
UXVISA_API void Finalizer();

namespace uxvisa {

// The manager that calls may use: ResManager, or null before loading and once unloading has begun.
CResourceManager* LiveManager();

} // namespace uxvisa
