// uxvisa query: sends a command and shows the answer.
#pragma once

#include <CLI/App.hpp>

#include "tools/uxvisa/Options.h"

namespace uxvisa::tool {

void AddQueryCommand(CLI::App& program, Options& options);

} // namespace uxvisa::tool
