#include "tools/emulator/MessageExchange.h"

#include <algorithm>

namespace emulator {

bool MessageExchange::Write(std::string_view data, bool end) {
    bool answered = RunLines(data);
    if (end && !data.ends_with('\n')) {
        answered = RunLines("\n") || answered;
    }
    return answered;
}

bool MessageExchange::RunLines(std::string_view data) {
    bool answered = false;
    for (;;) {
        std::string_view line;
        switch (m_lines.Take(data, line)) {
        case LineAssembler::Outcome::NeedMore:
            return answered;
        case LineAssembler::Outcome::Overrun:
            m_instrument.Report(ErrorCode::InputBufferOverrun);
            break;
        case LineAssembler::Outcome::Line:
            if (!line.empty()) {
                Run(line);
                answered = HasResponse();
            }
            break;
        }
    }
}

void MessageExchange::Run(std::string_view line) {
    if (HasResponse()) {
        m_instrument.Report(ErrorCode::QueryInterrupted);
        m_output.clear();
    }
    m_message = line;
    m_interpreter.Start(m_message);
    Fill(Ahead);
}

// One byte more than is given away stays behind while the response goes on.
void MessageExchange::Read(std::string& out, std::size_t limit) {
    Fill(limit + 1);
    const std::size_t count = std::min(limit, m_output.size());
    out.append(m_output, 0, count);
    m_output.erase(0, count);
}

void MessageExchange::Fill(std::size_t size) {
    if (m_output.size() < size) {
        m_interpreter.Run(m_output, size - m_output.size());
    }
}

void MessageExchange::Clear() {
    m_lines = LineAssembler();
    m_interpreter.Start({});
    m_output.clear();
}

} // namespace emulator
