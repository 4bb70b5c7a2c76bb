// The driver library that VXI-11 resources go through.
#pragma once

#include <string>

namespace uxvisa::tool {

// Binds it for the rest of the run. Throws a Failure when it cannot be loaded; the loader has then
// said why on standard error.
void BindDriver(const std::string& path);

} // namespace uxvisa::tool
