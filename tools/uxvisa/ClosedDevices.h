// Devices of instruments that the user may not open.
#pragma once

#include <string>
#include <vector>

namespace uxvisa::tool {

// The paths of the serial and USBTMC devices in the folder that this process may not read and
// write, in order of their names.
std::vector<std::string> ClosedDevices(const std::string& folder = "/dev");

} // namespace uxvisa::tool
