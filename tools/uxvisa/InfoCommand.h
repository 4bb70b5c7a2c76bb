// uxvisa info: tells what a resource string means and what its open session answers.
#pragma once

#include <CLI/App.hpp>

#include "tools/uxvisa/Options.h"

namespace uxvisa::tool {

void AddInfoCommand(CLI::App& program, Options& options);

} // namespace uxvisa::tool
