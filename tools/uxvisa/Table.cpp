#include "tools/uxvisa/Table.h"

#include <algorithm>
#include <cstddef>

#include "tools/uxvisa/EscapedText.h"
#include "tools/uxvisa/Report.h"

namespace uxvisa::tool {

namespace {

constexpr std::size_t Gap = 2;

bool BeginsCharacter(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0) != 0x80;
}

// In characters; wide ones count as one.
std::size_t Width(const std::string& text) {
    return static_cast<std::size_t>(std::ranges::count_if(text, BeginsCharacter));
}

std::vector<std::size_t> ColumnWidths(const std::vector<TableRow>& rows) {
    std::vector<std::size_t> widths;
    for (const TableRow& row : rows) {
        widths.resize(std::max(widths.size(), row.size()));
        for (std::size_t i = 0; i < row.size(); ++i) {
            widths[i] = std::max(widths[i], Width(row[i]));
        }
    }
    return widths;
}

std::string Line(const TableRow& row, const std::vector<std::size_t>& widths) {
    std::string line;
    for (std::size_t i = 0; i < row.size(); ++i) {
        line += row[i] + std::string(widths[i] - Width(row[i]) + Gap, ' ');
    }
    return line.substr(0, line.find_last_not_of(' ') + 1);
}

// U+0080 to U+009F, by which some terminals are controlled.
bool IsLateControl(std::string_view text, std::size_t at) {
    constexpr std::string_view last = "\xC2\x9F";
    return text[at] == last[0] && at + 1 < text.size() && text[at + 1] <= last[1];
}

bool IsControl(char byte) {
    return static_cast<unsigned char>(byte) < ' ' || byte == '\x7F';
}

} // namespace

std::vector<std::string> AlignedLines(const std::vector<TableRow>& rows) {
    const std::vector<std::size_t> widths = ColumnWidths(rows);
    std::vector<std::string> lines;
    lines.reserve(rows.size());
    for (const TableRow& row : rows) {
        lines.push_back(Line(row, widths));
    }
    return lines;
}

std::string Cell(std::string_view text) {
    const bool isUtf8 = IsUtf8(std::string(text));
    std::string cell;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool isAscii = static_cast<unsigned char>(text[i]) < 0x80;
        if (isAscii ? IsControl(text[i]) : !isUtf8) {
            cell += HexEscape(text[i]);
        } else if (!isAscii && IsLateControl(text, i)) {
            cell += HexEscape(text[i]) + HexEscape(text[i + 1]);
            ++i;
        } else {
            cell += text[i];
        }
    }
    return cell.empty() ? "-" : cell;
}

std::string WordCell(std::string_view text) {
    std::string cell = Cell(text);
    for (auto at = cell.find(' '); at != std::string::npos; at = cell.find(' ', at)) {
        cell.replace(at, 1, HexEscape(' '));
    }
    return cell;
}

} // namespace uxvisa::tool
