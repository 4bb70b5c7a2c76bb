#include "tools/uxvisa/FruitlessSearch.h"

#include <algorithm>
#include <cctype>
#include <string_view>

namespace uxvisa::tool {

namespace {

constexpr std::string_view AnyText = "?*";

std::string UpperCase(std::string text) {
    std::ranges::transform(text, text.begin(), [](unsigned char character) {
        return static_cast<char>(std::toupper(character));
    });
    return text;
}

bool HasOtherWildcard(std::string expression) {
    for (auto at = expression.find(AnyText); at != std::string::npos;
         at = expression.find(AnyText)) {
        expression.erase(at, AnyText.size());
    }
    return expression.find_first_of("?*[]|+") != std::string::npos;
}

std::string Listed(const std::vector<std::string>& items) {
    std::string text;
    for (const std::string& item : items) {
        text += (text.empty() ? "" : ", ") + item;
    }
    return text;
}

void AddExpressionReasons(const FruitlessSearch& search, std::vector<std::string>& reasons) {
    const std::string& expression = search.expression;
    if (expression != UpperCase(expression)) {
        reasons.push_back("an expression is looked for in upper-case text, so lower-case letters "
                          "match nothing: try '" +
                          UpperCase(expression) + "'");
    }
    if (HasOtherWildcard(expression)) {
        reasons.emplace_back("the only wildcard is ?*, which stands for any text; everything else "
                             "stands for itself");
    }
    if (search.withoutExpression > 0) {
        const bool isOne = search.withoutExpression == 1;
        reasons.push_back("without the expression " + std::to_string(search.withoutExpression) +
                          (isOne ? " resource is found; 'uxvisa find' lists it"
                                 : " resources are found; 'uxvisa find' lists them"));
    }
}

void AddLanReasons(const FruitlessSearch& search, std::vector<std::string>& reasons) {
    if (search.addresses.empty()) {
        reasons.emplace_back("no network interface with an IPv4 broadcast address is up, so no LAN "
                             "was searched: see 'ip -4 address'");
        return;
    }
    if (!search.takenPorts.empty()) {
        reasons.push_back("another program, perhaps another search, holds UDP port " +
                          Listed(search.takenPorts) + ": try again");
    }
    reasons.push_back("LAN searched from " + Listed(search.addresses) +
                      ": does a firewall drop answers to the UDP ports 8890 and 9757? An "
                      "instrument behind a router is not found, but can be opened");
}

} // namespace

bool IsForEverything(const std::string& expression) {
    return expression.empty() || expression == AnyText || expression == "?*[T,E][R,T]";
}

std::vector<std::string> Reasons(const FruitlessSearch& search) {
    std::vector<std::string> reasons;
    if (!IsForEverything(search.expression)) {
        AddExpressionReasons(search, reasons);
    }
    if (search.withoutExpression > 0) {
        return reasons;
    }
    if (!search.closedDevices.empty()) {
        reasons.push_back("you may not open " + Listed(search.closedDevices) +
                          ": see docs/permissions.md");
    }
    AddLanReasons(search, reasons);
    return reasons;
}

} // namespace uxvisa::tool
