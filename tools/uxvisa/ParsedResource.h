// What the library reads out of a resource string.
#pragma once

#include <string>
#include <vector>

namespace uxvisa::tool {

struct ParsedResource {
    std::string text;
    // One of the VI_INTF_ numbers.
    unsigned short interfaceType = 0;
    unsigned short board = 0;
    // In upper case.
    std::string classWord;
    // At least two.
    std::vector<std::string> fields;
};

// Throws an InstrumentFailure when the library refuses the string.
ParsedResource ParseResource(const std::string& text);

// "TCPIP"; a number for an interface that has no name.
std::string InterfaceName(unsigned short interfaceType);

} // namespace uxvisa::tool
