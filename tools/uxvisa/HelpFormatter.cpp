#include "tools/uxvisa/HelpFormatter.h"

namespace uxvisa::tool {

namespace {

void RemoveDoubleGaps(std::string& text) {
    for (auto gap = text.find("\n\n\n"); gap != std::string::npos; gap = text.find("\n\n\n", gap)) {
        text.erase(gap, 1);
    }
}

} // namespace

HelpFormatter::HelpFormatter() {
    label("SUBCOMMAND", "COMMAND");
    label("Positionals", "Arguments");
}

std::string HelpFormatter::make_help(const CLI::App* app, std::string name,
                                     CLI::AppFormatMode mode) const {
    std::string text = Formatter::make_help(app, std::move(name), mode);
    RemoveDoubleGaps(text);
    text.erase(text.find_last_not_of('\n') + 1);
    return text + '\n';
}

// The command is declared optional, because its complaint about a missing one hides that
// a word is none.
std::string HelpFormatter::make_usage(const CLI::App* app, std::string name) const {
    return CLI::detail::find_and_replace(Formatter::make_usage(app, std::move(name)), "[COMMAND]",
                                         "COMMAND");
}

std::string HelpFormatter::make_footer(const CLI::App* app) const {
    const CLI::App* program = app->get_parent();
    if (program == nullptr) {
        return Formatter::make_footer(app);
    }
    while (program->get_parent() != nullptr) {
        program = program->get_parent();
    }
    const auto shared = program->get_options(
        [](const CLI::Option* option) { return option->get_group() == CommonOptions; });
    return make_group(CommonOptions, false, shared) + '\n' + Formatter::make_footer(app);
}

std::string HelpFormatter::make_option_opts(const CLI::Option* option) const {
    const std::string type = option->get_type_name();
    return type.empty() ? "" : ' ' + type;
}

} // namespace uxvisa::tool
