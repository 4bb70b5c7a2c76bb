#include "tools/uxvisa/FindCommand.h"

#include <cmath>

#include "tools/uxvisa/ClosedDevices.h"
#include "tools/uxvisa/CommandLine.h"
#include "tools/uxvisa/FruitlessSearch.h"
#include "tools/uxvisa/LanAccess.h"
#include "tools/uxvisa/Quantity.h"
#include "tools/uxvisa/Report.h"
#include "tools/uxvisa/ResourceSearch.h"
#include "tools/uxvisa/Stopwatch.h"

namespace uxvisa::tool {

namespace {

using Json = nlohmann::ordered_json;

Json Described(const FoundResource& found) {
    return {{"resource", found.resource}, {"manufacturer", found.manufacturer},
            {"model", found.model},       {"serial_number", found.serialNumber},
            {"identity", found.identity}, {"address", found.address}};
}

Json Described(const std::vector<FoundResource>& resources) {
    Json list = Json::array();
    for (const FoundResource& found : resources) {
        list.push_back(Described(found));
    }
    return list;
}

std::string Lines(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines) {
        text += (text.empty() ? "" : "\n") + line;
    }
    return text;
}

// Looks once more, without the expression, so that it is known whose fault the empty list is.
InstrumentFailure NothingFound(const std::string& expression) {
    FruitlessSearch search;
    search.expression = expression;
    const bool isForEverything = IsForEverything(expression);
    if (!isForEverything) {
        search.withoutExpression = SearchResources(EveryResource).size();
    }
    search.addresses = BroadcastAddresses();
    search.takenPorts = TakenSearchPorts(search.addresses);
    search.closedDevices = ClosedDevices();
    return {isForEverything ? "" : expression, VI_ERROR_RSRC_NFOUND, "nothing was found",
            Lines(Reasons(search))};
}

void RunFind(const Options& options, Report& report) {
    report.AddField("expression", options.expression);
    const Stopwatch clock;
    const std::vector<FoundResource> resources = SearchResources(options.expression);
    const double seconds = clock.Seconds();
    report.AddField("resources", Described(resources));
    report.AddField("elapsed_ms", std::round(seconds * 1e6) / 1e3);
    if (options.time) {
        Report::Note("", Duration(seconds) + ", " + std::to_string(resources.size()) + " found");
    }
    if (resources.empty()) {
        throw NothingFound(options.expression);
    }
    report.Print(Lines(ResourceTable(resources)));
}

} // namespace

void AddFindCommand(CLI::App& program, Options& options) {
    CLI::App& app = AddCommand(program, options, "find", "List the instruments in reach", RunFind);
    options.expression = EveryResource;
    app.add_option("EXPR", options.expression, "What to look for (?*, everything)")->type_name("");
    app.footer("An EXPR with ?*, which stands for any text, is compared with the whole resource;\n"
               "one without is looked for in everything that is known of an instrument. Both are\n"
               "compared with upper-case text. Serial ports and USB devices are always listed.\n"
               "With --driver, VXI-11 instruments are asked who they are. Finding nothing is an\n"
               "error, exit status 1.\n\n"
               "Examples:\n"
               "  uxvisa find\n"
               "  uxvisa find KX10\n"
               "  uxvisa find '?*::SOCKET' | awk 'NR > 1 { print $1 }'\n"
               "  uxvisa find --json --driver libuxdriver_lan.so | jq -r '.resources[].model'\n");
}

} // namespace uxvisa::tool
