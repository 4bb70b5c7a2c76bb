// Who the instruments are that a VXI-11 discovery found.
#pragma once

#include <string>
#include <vector>

namespace uxvisa {

// The records with what the instruments answer to "*IDN?", asked all at once over the driver
// library bound in `Visa`, and each instrument once: the same serial number at a second address is
// left out. Takes 600 ms at the most. Without a driver library, and for an instrument that does
// not answer in time, a record stays as it is.
std::vector<std::string> WithIdentities(const std::vector<std::string>& records);

} // namespace uxvisa
