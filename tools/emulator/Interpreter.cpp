#include "tools/emulator/Interpreter.h"

namespace emulator {

void Interpreter::Start(std::string_view message) {
    m_message = message;
    m_path.clear();
    m_reply = {};
    m_answered = false;
}

void Interpreter::Run(std::string& out, std::size_t limit) {
    const std::size_t full = out.size() + limit;
    while (out.size() < full) {
        if (!m_reply.Empty()) {
            m_reply.MoveTo(out, full - out.size());
        } else if (!RunNextUnit()) {
            out.append(m_answered ? "\n" : "");
            m_answered = false;
            return;
        } else if (!m_reply.Empty()) {
            out.append(m_answered ? ";" : "");
            m_answered = true;
        }
    }
}

bool Interpreter::RunNextUnit() {
    std::string_view unit;
    if (!TakeUnit(m_message, unit)) {
        return false;
    }
    m_reply = Perform(unit);
    return true;
}

Reply Interpreter::Perform(std::string_view unit) {
    Command command;
    const ErrorCode outcome = ParseCommand(unit, command);
    if (outcome != ErrorCode::NoError) {
        m_instrument.Report(outcome);
        return {};
    }
    const Instrument::Operation* const operation = Resolve(command);
    if (operation == nullptr) {
        m_instrument.Report(ErrorCode::UndefinedHeader);
        return {};
    }
    return m_instrument.Perform(*operation, command.parameters);
}

// A header without a leading colon continues the path of the unit before it, as in
// "TRACe:POINts 5;DATA?". Only headers that were found become a path, which keeps it short.
const Instrument::Operation* Interpreter::Resolve(const Command& command) {
    std::string header(command.header);
    if (header.starts_with('*')) {
        return Instrument::Find(header, command.query);
    }
    const Instrument::Operation* operation = nullptr;
    if (header.starts_with(':')) {
        header.erase(0, 1);
    } else if (!m_path.empty()) {
        header.insert(0, m_path);
        operation = Instrument::Find(header, command.query);
    }
    if (operation == nullptr) {
        header.assign(command.header, command.header.starts_with(':') ? 1 : 0);
        operation = Instrument::Find(header, command.query);
    }
    if (operation != nullptr) {
        header.erase(header.rfind(':') + 1);
        m_path = header;
    }
    return operation;
}

} // namespace emulator
