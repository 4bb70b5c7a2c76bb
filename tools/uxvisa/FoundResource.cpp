#include "tools/uxvisa/FoundResource.h"

namespace uxvisa::tool {

namespace {

TableRow Row(const FoundResource& found) {
    return {WordCell(found.resource), Cell(found.manufacturer), Cell(found.model),
            Cell(found.serialNumber), Cell(found.address)};
}

} // namespace

std::vector<std::string> ResourceTable(const std::vector<FoundResource>& resources) {
    std::vector<TableRow> rows{{"RESOURCE", "MANUFACTURER", "MODEL", "SERIAL NUMBER", "ADDRESS"}};
    for (const FoundResource& found : resources) {
        rows.push_back(Row(found));
    }
    return AlignedLines(rows);
}

} // namespace uxvisa::tool
