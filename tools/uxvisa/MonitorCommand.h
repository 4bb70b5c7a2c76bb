// uxvisa monitor: shows what hooked sessions transfer.
#pragma once

#include <CLI/App.hpp>

#include "tools/uxvisa/Options.h"

namespace uxvisa::tool {

void AddMonitorCommand(CLI::App& program, Options& options);

} // namespace uxvisa::tool
