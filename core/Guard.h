// The one place where exceptions end and become a status.
#pragma once

#include <cxxabi.h>
#include <utility>

#include "uxvisa/visatype.h"

namespace uxvisa {

// Thread cancellation unwinds with an exception that must never be swallowed: the C library stops
// the process when it is.
//
// That exception has no object behind it, which the sanitizer for null references does not know.
template <typename Body>
__attribute__((no_sanitize("null"))) long Guarded(Body&& body) {
    try {
        return std::forward<Body>(body)();
    } catch (abi::__forced_unwind&) {
        throw;
    } catch (...) {
        return VI_ERROR_SYSTEM_ERROR;
    }
}

} // namespace uxvisa
