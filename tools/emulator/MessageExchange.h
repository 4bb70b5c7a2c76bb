#pragma once

#include "tools/emulator/Instrument.h"
#include "tools/emulator/Interpreter.h"
#include "tools/emulator/LineAssembler.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace emulator {

// The messages of one client who asks for responses instead of being sent them (IEEE 488.2). A
// message whose response was not read to its end is dropped for the next one, as an error.
class MessageExchange {
public:
    explicit MessageExchange(Instrument& instrument)
        : m_instrument(instrument), m_interpreter(instrument) {}
    MessageExchange(const MessageExchange&) = delete;
    MessageExchange& operator=(const MessageExchange&) = delete;

    // A message ends with a line feed or where `end` is set. Returns true when one was run that
    // has a response.
    bool Write(std::string_view data, bool end);

    bool HasResponse() const { return !m_output.empty(); }

    // Appends at most limit bytes of the response to out.
    void Read(std::string& out, std::size_t limit);

    // Forgets half a message and half a response.
    void Clear();

private:
    // How much of a response is made before anybody asks for it. Units behind that wait.
    static constexpr std::size_t Ahead = 65536;

    bool RunLines(std::string_view data);
    void Run(std::string_view line);
    void Fill(std::size_t size);

    Instrument& m_instrument;
    LineAssembler m_lines;
    std::string m_message;
    Interpreter m_interpreter;
    std::string m_output;
};

} // namespace emulator
