// A driver library bound at run time: one function pointer per operation.
#pragma once

#include "Library/Export.h"
#include "api/DriverOperations.h"

#define UXVISA_DECLARE_STATUS(name, types) UXVISA_API ViStatus noVi##name types;
#define UXVISA_DECLARE_NOTHING(name, types) UXVISA_API void noVi##name types;
extern "C" {
// What an entry answers while no library serves it: VI_ERROR_LIBRARY_NFOUND, or nothing.
UXVISA_DRIVER_OPERATIONS(UXVISA_DECLARE_STATUS, UXVISA_DECLARE_NOTHING)
}
#undef UXVISA_DECLARE_STATUS
#undef UXVISA_DECLARE_NOTHING

// The fields and their order are binary interface. No lock: the caller serialises Initialize and
// Uninitialize against calls through the table.
class UXVISA_API DynamicVisa {
public:
    // A library that cannot be loaded leaves the table unbound.
    explicit DynamicVisa(const char* libraryPath);
    ~DynamicVisa();
    DynamicVisa(const DynamicVisa&) = delete;
    DynamicVisa& operator=(const DynamicVisa&) = delete;

    // Binds a library in place of the one bound before. Returns the number of names that it lacks,
    // -101 for no path, -1 for a library that cannot be loaded, after the loader's own text on
    // standard error.
    int Initialize(const char* libraryPath);
    void Uninitialize();
    // True after any successful load, even of a library that has none of the names.
    bool Initialized();
    // As Initialize() returned it; -1 while no library is bound.
    int MissingFnCount();

private:
    void* m_handle;
    int m_missing;

public:
#define UXVISA_DECLARE_STATUS(name, types) ViStatus(*ux##name) types;
#define UXVISA_DECLARE_NOTHING(name, types) void(*ux##name) types;
    UXVISA_DRIVER_OPERATIONS(UXVISA_DECLARE_STATUS, UXVISA_DECLARE_NOTHING)
#undef UXVISA_DECLARE_STATUS
#undef UXVISA_DECLARE_NOTHING
};

// What the VXI-11 sessions go through. The library itself never binds anything here: the
// application does.
extern UXVISA_API DynamicVisa Visa;

// True when the loader opens the library. The empty name stands for the running program, and so is
// always there.
UXVISA_API bool IsLibExists(const char* libraryPath);
