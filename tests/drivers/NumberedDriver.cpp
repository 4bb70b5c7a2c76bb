// A driver library that has every operation: each answers its place in the table.
#include "api/DriverOperations.h"

#define EXPORTED __attribute__((visibility("default")))

namespace {

constexpr int First = __COUNTER__ + 1;

} // namespace

#define STATUS(name, types)                                                                        \
    EXPORTED ViStatus ux##name types {                                                             \
        return __COUNTER__ - First;                                                                \
    }
#define NOTHING(name, types)                                                                       \
    EXPORTED void ux##name types {                                                                 \
        static_cast<void>(__COUNTER__);                                                            \
    }

extern "C" {
UXVISA_DRIVER_OPERATIONS(STATUS, NOTHING)
}
