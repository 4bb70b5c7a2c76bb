#pragma once

#include "tools/emulator/ErrorCode.h"

#include <string_view>
#include <vector>

namespace emulator {

// One unit of a program message, as views of the text it was parsed from.
struct Command {
    std::string_view header; // without the question mark
    bool query = false;
    std::vector<std::string_view> parameters;
};

// Cuts the next unit off the front of message, at a semicolon outside quotes; blank units are
// passed over. Returns false when none is left.
bool TakeUnit(std::string_view& message, std::string_view& unit);

// Returns NoError, or why the unit cannot be a command.
ErrorCode ParseCommand(std::string_view unit, Command& command);

// The capitals of a mnemonic are its short form: "MEASure" matches "meas" and "Measure" only.
bool MatchesMnemonic(std::string_view mnemonic, std::string_view word);

// A pattern is written "SYSTem:ERRor[:NEXT]", where nodes in brackets may be left out.
bool MatchesHeader(std::string_view pattern, std::string_view header);

} // namespace emulator
