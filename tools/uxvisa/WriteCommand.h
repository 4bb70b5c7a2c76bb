// uxvisa write: sends a command.
#pragma once

#include <CLI/App.hpp>

#include "tools/uxvisa/Options.h"

namespace uxvisa::tool {

void AddWriteCommand(CLI::App& program, Options& options);

} // namespace uxvisa::tool
