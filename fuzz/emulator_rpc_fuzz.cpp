// What the emulator gets over the VXI-11 core channel and as a portmapper, in pieces.
#include "tools/emulator/Portmapper.h"
#include "tools/emulator/RecordAssembler.h"
#include "tools/emulator/Vxi11Link.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

namespace {

constexpr std::size_t Piece = 7;

// Whatever was asked, a reply fits the two bytes that clients look at.
void Answer(emulator::Vxi11Link& link, std::string_view record) {
    constexpr std::size_t MarkAndMost = 4 + 65535;
    if (link.Answer(record, {}).bytes.size() > MarkAndMost) {
        std::abort();
    }
    const std::size_t length = emulator::AnswerPortmapper(record, 1024).size();
    if (length != 0 && length < 24) {
        std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    emulator::InstrumentSettings settings;
    settings.curve_length = 70000;
    emulator::Instrument instrument(settings);
    emulator::Vxi11Link link(instrument, {}, {1, emulator::MaxWriteData});
    emulator::RecordAssembler records;
    std::string_view rest(reinterpret_cast<const char*>(data), size);
    while (!rest.empty()) {
        std::string_view piece = rest.substr(0, Piece);
        rest.remove_prefix(piece.size());
        std::string_view record;
        auto outcome = records.Take(piece, record);
        for (; outcome == emulator::RecordAssembler::Outcome::Record;
             outcome = records.Take(piece, record)) {
            Answer(link, record);
        }
        if (outcome == emulator::RecordAssembler::Outcome::Overrun) {
            break;
        }
    }
    return 0;
}
