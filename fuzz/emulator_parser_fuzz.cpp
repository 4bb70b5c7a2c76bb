#include "tools/emulator/Instrument.h"
#include "tools/emulator/Interpreter.h"
#include "tools/emulator/LineAssembler.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

namespace {

using emulator::ErrorCode;
using emulator::Instrument;
using emulator::Interpreter;
using emulator::LineAssembler;

// Longer responses add nothing but time.
constexpr std::size_t MaxResponse = 8192;
constexpr std::size_t MaxLine = 512;

void Require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

void RunMessage(Interpreter& interpreter, std::string_view message, std::size_t piece) {
    std::string response;
    interpreter.Start(message);
    for (std::size_t total = 0; total < MaxResponse; total += piece) {
        response.clear();
        interpreter.Run(response, piece);
        Require(response.size() <= piece);
        if (response.size() < piece) {
            break;
        }
    }
}

void Feed(Instrument& instrument, LineAssembler& lines, const std::vector<char>& bytes,
          std::size_t piece) {
    Interpreter interpreter(instrument);
    std::string_view input(bytes.data(), bytes.size());
    std::string_view line;
    for (;;) {
        switch (lines.Take(input, line)) {
        case LineAssembler::Outcome::NeedMore:
            Require(input.empty());
            return;
        case LineAssembler::Outcome::Line:
            Require(line.size() <= MaxLine && line.find('\n') == std::string_view::npos);
            RunMessage(interpreter, line, piece);
            break;
        case LineAssembler::Outcome::Overrun:
            instrument.Report(ErrorCode::InputBufferOverrun);
            break;
        }
    }
}

} // namespace

// The first byte decides how the others are split, the second how responses are taken.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2) {
        return 0;
    }
    Instrument instrument;
    LineAssembler lines(MaxLine);
    std::uint32_t split = data[0];
    const std::size_t piece = std::size_t{data[1]} + 1;
    for (std::size_t at = 2; at < size;) {
        split = split * 1664525U + 1013904223U;
        const std::size_t wanted = data[0] == 0 ? 1 : (split >> 16U) % (data[0] * 4U) + 1;
        const std::size_t count = std::min(wanted, size - at);
        Feed(instrument, lines, std::vector<char>(data + at, data + at + count), piece);
        at += count;
    }
    return 0;
}
