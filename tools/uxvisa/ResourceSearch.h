// Searches for resources through the library.
#pragma once

#include <string>
#include <vector>

#include "tools/uxvisa/FoundResource.h"

namespace uxvisa::tool {

inline constexpr char EveryResource[] = "?*";

// Takes about a second. Throws an InstrumentFailure when the search itself fails; finding nothing
// is no failure. A terminal at standard error shows that a search is going on, and what the library
// prints meanwhile is not shown.
std::vector<FoundResource> SearchResources(const std::string& expression);

} // namespace uxvisa::tool
