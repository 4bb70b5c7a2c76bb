#include "tools/emulator/Interpreter.h"

namespace emulator {

void Interpreter::Start(std::string_view message) {
    message_ = message;
    path_.clear();
    reply_ = {};
    answered_ = false;
}

void Interpreter::Run(std::string& out, std::size_t limit) {
    const std::size_t full = out.size() + limit;
    while (out.size() < full) {
        if (!reply_.Empty()) {
            reply_.MoveTo(out, full - out.size());
        } else if (!RunNextUnit()) {
            out.append(answered_ ? "\n" : "");
            answered_ = false;
            return;
        } else if (!reply_.Empty()) {
            out.append(answered_ ? ";" : "");
            answered_ = true;
        }
    }
}

bool Interpreter::RunNextUnit() {
    std::string_view unit;
    if (!TakeUnit(message_, unit)) {
        return false;
    }
    reply_ = Perform(unit);
    return true;
}

Reply Interpreter::Perform(std::string_view unit) {
    Command command;
    const ErrorCode outcome = ParseCommand(unit, command);
    if (outcome != ErrorCode::NoError) {
        instrument_.Report(outcome);
        return {};
    }
    const Instrument::Operation* const operation = Resolve(command);
    if (operation == nullptr) {
        instrument_.Report(ErrorCode::UndefinedHeader);
        return {};
    }
    return instrument_.Perform(*operation, command.parameters);
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
    } else if (!path_.empty()) {
        header.insert(0, path_);
        operation = Instrument::Find(header, command.query);
    }
    if (operation == nullptr) {
        header.assign(command.header, command.header.starts_with(':') ? 1 : 0);
        operation = Instrument::Find(header, command.query);
    }
    if (operation != nullptr) {
        header.erase(header.rfind(':') + 1);
        path_ = header;
    }
    return operation;
}

} // namespace emulator
