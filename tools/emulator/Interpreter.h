#pragma once

#include "tools/emulator/Command.h"
#include "tools/emulator/Instrument.h"
#include "tools/emulator/Reply.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace emulator {

// Runs the program messages of one client, one unit at a time and no faster than its answers are
// taken away.
class Interpreter {
public:
    explicit Interpreter(Instrument& instrument) : m_instrument(instrument) {}

    // Drops what is left of the message before. The text must stay valid while it is run.
    void Start(std::string_view message);

    // Appends at most limit bytes of the response to out; fewer only when the response ends.
    void Run(std::string& out, std::size_t limit);

private:
    bool RunNextUnit();
    Reply Perform(std::string_view unit);
    const Instrument::Operation* Resolve(const Command& command);

    Instrument& m_instrument;
    std::string_view m_message;
    std::string m_path;
    Reply m_reply;
    bool m_answered = false;
};

} // namespace emulator
