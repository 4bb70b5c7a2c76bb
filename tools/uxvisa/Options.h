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

    bool hook = false;
    std::optional<ViUInt32> baud;
    // Of the binary command protocol.
    bool fullHeader = false;
    std::optional<ViUInt32> decodeMode;
    bool raw = false;
    std::optional<std::string> protocolFile;
    std::string packet;

    // How a monitor shows what it sees.
    bool hex = false;

    std::string driver;

    ViUInt32 timeoutMs = 5000;
    bool termChar = true;
    std::string eol = "\n";
    bool json = false;
    bool time = false;
};

} // namespace uxvisa::tool
