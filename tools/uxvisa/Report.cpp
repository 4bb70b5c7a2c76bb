#include "tools/uxvisa/Report.h"

#include <sstream>

#include "tools/uxvisa/Descriptor.h"
#include "tools/uxvisa/StatusTable.h"

namespace uxvisa::tool {

using Json = nlohmann::ordered_json;

namespace {

Json StatusName(const Failure& failure) {
    const StatusEntry* entry = failure.Status() ? FindStatus(*failure.Status()) : nullptr;
    return entry == nullptr ? Json() : Json(std::string(entry->name));
}

Json Described(const Failure& failure) {
    Json error;
    error["status"] = StatusName(failure);
    error["code"] = failure.Status() ? Json(StatusNumber(*failure.Status())) : Json();
    error["text"] = failure.what();
    error["hint"] = failure.Hint().empty() ? Json() : Json(failure.Hint());
    return error;
}

} // namespace

void Report::Print(const std::string& line) const {
    if (!m_isJson) {
        StandardOutput().Write(line + '\n');
    }
}

void Report::Note(const std::string& subject, const std::string& text) {
    WriteDiagnostic("uxvisa: " + (subject.empty() ? "" : subject + ": ") + text + '\n');
}

void Report::AddFailure(const Failure& failure) {
    AddField("error", Described(failure));
}

void Report::Finish() const {
    if (m_isJson && !(m_printsLines && m_fields.empty())) {
        StandardOutput().Write(m_fields.dump(-1, ' ', false, Json::error_handler_t::replace) +
                               '\n');
    }
}

void PrintFailure(const Failure& failure) {
    const std::string label = failure.Status() ? " (" + StatusLabel(*failure.Status()) + ")" : "";
    Report::Note(failure.Subject(), failure.what() + label);
    std::istringstream hints(failure.Hint());
    for (std::string hint; std::getline(hints, hint);) {
        WriteDiagnostic("hint: " + hint + '\n');
    }
}

bool IsUtf8(const std::string& text) {
    try {
        (void)Json(text).dump();
        return true;
    } catch (const Json::type_error&) {
        return false;
    }
}

} // namespace uxvisa::tool
