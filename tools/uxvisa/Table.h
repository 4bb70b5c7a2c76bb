// Columns of text for a terminal.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace uxvisa::tool {

using TableRow = std::vector<std::string>;

// A line for each row, the cells of a column below each other, two blanks between columns and none
// at the end of a line.
std::vector<std::string> AlignedLines(const std::vector<TableRow>& rows);

// What stands for a text in a cell: itself, "-" for an empty one. Whatever could act on a terminal
// is written as \xNN, because the texts come from instruments.
std::string Cell(std::string_view text);
// The same without blanks, for a column that programs take apart.
std::string WordCell(std::string_view text);

} // namespace uxvisa::tool
