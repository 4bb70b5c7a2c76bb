// The help of a command also shows the options that all commands share.
#pragma once

#include <CLI/App.hpp>
#include <CLI/Formatter.hpp>

#include <string>

namespace uxvisa::tool {

inline constexpr char CommonOptions[] = "Common options";

class HelpFormatter : public CLI::Formatter {
public:
    HelpFormatter();
    std::string make_help(const CLI::App* app, std::string name,
                          CLI::AppFormatMode mode) const override;
    std::string make_usage(const CLI::App* app, std::string name) const override;
    std::string make_footer(const CLI::App* app) const override;
    std::string make_option_opts(const CLI::Option* option) const override;
};

} // namespace uxvisa::tool
