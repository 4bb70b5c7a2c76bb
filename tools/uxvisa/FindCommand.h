// uxvisa find: lists the instruments in reach.
#pragma once

#include <CLI/App.hpp>

#include "tools/uxvisa/Options.h"

namespace uxvisa::tool {

void AddFindCommand(CLI::App& program, Options& options);

} // namespace uxvisa::tool
