// The command line: its options, its help, its errors.
#pragma once

#include <CLI/App.hpp>

#include <string>

#include "tools/uxvisa/Options.h"

namespace uxvisa::tool {

struct Invocation {
    Options options;
    // What --help or --version asked for; there is nothing to run then.
    std::string information;
};

// Throws a Failure for a line that cannot be understood.
Invocation ParseCommandLine(int argc, const char* const* argv);
// Also for a line that cannot be understood.
bool AsksForJson(int argc, const char* const* argv);

// What the commands are made of.
CLI::App& AddCommand(CLI::App& program, Options& options, const std::string& name,
                     const std::string& description, const Command& run);
void AddResource(CLI::App& app, Options& options);
void AddCommandText(CLI::App& app, Options& options);
// --hook, --baud, and what the binary command protocol has.
void AddSessionOptions(CLI::App& app, Options& options);
CLI::Option* AddCount(CLI::App& app, Options& options);
// --output and --block; gives the latter.
CLI::Option* AddAnswerOptions(CLI::App& app, Options& options);

} // namespace uxvisa::tool
