// uxvisa brix: packets of the binary command protocol without an instrument.
#pragma once

#include <CLI/App.hpp>

#include "tools/uxvisa/Options.h"

namespace uxvisa::tool {

void AddBrixCommand(CLI::App& program, Options& options);

} // namespace uxvisa::tool
