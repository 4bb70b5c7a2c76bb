// Names and descriptions of the statuses of visatype.h.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "uxvisa/visatype.h"

namespace uxvisa::tool {

struct StatusEntry {
    std::string_view name;
    ViStatus status;
    // Empty where the library has a text of its own.
    std::string_view description;
};

std::span<const StatusEntry> StatusEntries();

// Null when there is no such status.
const StatusEntry* FindStatus(ViStatus status);
// By name, in upper or lower case; older names count too.
const StatusEntry* FindStatus(std::string_view name);

// The library's text, empty if it has none.
std::string LibraryText(ViStatus status);
// The library's text, or else the description of the table, or else a word that says so.
std::string StatusText(ViStatus status);

// "0xBFFF0015": the low 32 bits, by which statuses are known.
std::string StatusNumber(ViStatus status);
// "VI_ERROR_TMO, 0xBFFF0015", or the number alone for a status without a name.
std::string StatusLabel(ViStatus status);

} // namespace uxvisa::tool
