// Why a search has found nothing, and what to do.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace uxvisa::tool {

struct FruitlessSearch {
    std::string expression;
    // What a search without the expression has found.
    std::size_t withoutExpression = 0;
    // Of the interfaces that were asked.
    std::vector<std::string> addresses;
    // As TakenSearchPorts() gives them.
    std::vector<std::string> takenPorts;
    // Paths of devices that may not be opened.
    std::vector<std::string> closedDevices;
};

// True for an expression that every resource matches.
bool IsForEverything(const std::string& expression);

// One line for each reason, the likeliest first.
std::vector<std::string> Reasons(const FruitlessSearch& search);

} // namespace uxvisa::tool
