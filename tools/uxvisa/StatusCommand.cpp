#include "tools/uxvisa/StatusCommand.h"

#include "tools/uxvisa/CommandLine.h"
#include "tools/uxvisa/EscapedText.h"
#include "tools/uxvisa/Report.h"
#include "tools/uxvisa/StatusCode.h"
#include "tools/uxvisa/StatusTable.h"

namespace uxvisa::tool {

namespace {

ViStatus StatusOfName(const std::string& name) {
    const StatusEntry* entry = FindStatus(std::string_view(name));
    if (entry == nullptr) {
        throw Failure(ExitFailed, "", "there is no status " + name);
    }
    return entry->status;
}

ViStatus StatusOf(const std::string& text) {
    if (LooksLikeStatusName(text)) {
        return StatusOfName(text);
    }
    const auto status = ParseStatusNumber(text);
    if (!status) {
        throw Failure(ExitUsage, "", EscapedText(text) + " is neither a status number nor a name",
                      "write 0xBFFF0015, -1073807339 or VI_ERROR_TMO");
    }
    return *status;
}

const StatusEntry& EntryOf(ViStatus status, const std::string& text) {
    const StatusEntry* entry = FindStatus(status);
    if (entry == nullptr) {
        throw Failure(ExitFailed, "", "there is no status " + text);
    }
    return *entry;
}

void RunStatus(const Options& options, Report& report) {
    const StatusEntry& entry = EntryOf(StatusOf(options.statusCode), options.statusCode);
    const std::string text = LibraryText(entry.status);
    report.AddField("status", std::string(entry.name));
    report.AddField("code", StatusNumber(entry.status));
    report.AddField("value", entry.status);
    report.AddField("text", StatusText(entry.status));
    report.AddField("library_text", !text.empty());
    report.Print(std::string(entry.name) + " (" + StatusNumber(entry.status) +
                 "): " + StatusText(entry.status) +
                 (text.empty() ? " (the library has no text for it)" : ""));
}

} // namespace

void AddStatusCommand(CLI::App& program, Options& options) {
    CLI::App& app = AddCommand(program, options, "status", "Explain a VISA status", RunStatus);
    app.add_option("CODE", options.statusCode, "Name or number of the status")
        ->required()
        ->type_name("");
    app.footer("Numbers may be hexadecimal with 0x or decimal, of 32 or of 64 bits.\n\n"
               "Examples:\n"
               "  uxvisa status 0xBFFF0015\n"
               "  uxvisa status -1073807339\n"
               "  uxvisa status VI_ERROR_TMO\n");
}

} // namespace uxvisa::tool
