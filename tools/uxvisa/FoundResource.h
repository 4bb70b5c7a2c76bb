// What a search says about one resource. Fields that nobody knows are empty.
#pragma once

#include <string>
#include <vector>

#include "tools/uxvisa/Table.h"

namespace uxvisa::tool {

struct FoundResource {
    std::string resource;
    std::string manufacturer;
    std::string model;
    std::string serialNumber;
    // The instrument's own name, or its firmware.
    std::string identity;
    std::string address;
};

// With a header line, for standard output. The first column has no blanks, so that the first word
// of each line is the resource.
std::vector<std::string> ResourceTable(const std::vector<FoundResource>& resources);

} // namespace uxvisa::tool
