// uxvisa status: explains a VISA status.
#pragma once

#include <CLI/App.hpp>

#include "tools/uxvisa/Options.h"

namespace uxvisa::tool {

void AddStatusCommand(CLI::App& program, Options& options);

} // namespace uxvisa::tool
