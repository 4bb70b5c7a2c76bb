// uxvisa read: shows what the instrument sends.
#pragma once

#include <CLI/App.hpp>

#include "tools/uxvisa/Options.h"

namespace uxvisa::tool {

void AddReadCommand(CLI::App& program, Options& options);

} // namespace uxvisa::tool
