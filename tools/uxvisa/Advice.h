// What a user can do about a status.
#pragma once

#include <cstdint>
#include <string>

#include "uxvisa/visatype.h"

namespace uxvisa::tool {

enum class Stage { Open, Setup, Write, Read };

struct Situation {
    Stage stage = Stage::Open;
    std::string resource;
    // What was sent before the read, without its line end; empty when nothing was.
    std::string command;
    ViUInt32 timeoutMs = 0;
    // Bytes of the answer that arrived before the failure.
    std::uint64_t received = 0;
    // The answer was to have a certain number of bytes.
    bool isCounted = false;
    // The option that is being applied to the session.
    std::string option = {};
};

// One line, empty when there is nothing to say.
std::string Advice(ViStatus status, const Situation& situation);

} // namespace uxvisa::tool
