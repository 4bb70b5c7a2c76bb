#pragma once

#include "tools/emulator/Interpreter.h"

#include <cstddef>
#include <string>
#include <string_view>

// The whole response to one program message, taken in pieces of at most piece bytes.
inline std::string Ask(emulator::Instrument& instrument, std::string_view message,
                       std::size_t piece = 4096) {
    emulator::Interpreter interpreter(instrument);
    interpreter.Start(message);
    std::string response;
    std::size_t before = 0;
    do {
        before = response.size();
        interpreter.Run(response, piece);
    } while (response.size() - before == piece);
    return response;
}
