// What a command line asks for.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "uxvisa/visatype.h"

namespace uxvisa::tool {

class Report;
struct Options;

using Command = std::function<void(const Options&, Report&)>;

struct Options {
    Command run;
    std::string resource;
    std::string command;
    std::string statusCode;
    std::string expression;
    bool noOpen = false;
    std::optional<std::uint64_t> count;
    bool block = false;
    std::string outputFile;

    std::string driver;

    ViUInt32 timeoutMs = 5000;
    bool termChar = true;
    std::string eol = "\n";
    bool json = false;
    bool time = false;
};

} // namespace uxvisa::tool
