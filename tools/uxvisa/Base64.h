// Base64 with the standard alphabet and padding.
#pragma once

#include <string>
#include <string_view>

namespace uxvisa::tool {

std::string Base64(std::string_view data);

} // namespace uxvisa::tool
