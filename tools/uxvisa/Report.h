// What a command tells its user: lines and diagnostics, or one JSON object with everything.
#pragma once

#include <nlohmann/json.hpp>

#include <string>
#include <utility>

#include "tools/uxvisa/Failure.h"

namespace uxvisa::tool {

class Report {
public:
    explicit Report(bool isJson) : m_isJson(isJson) {}

    bool IsJson() const { return m_isJson; }
    // For the JSON object only.
    template <typename Value>
    void AddField(const char* name, Value&& value) {
        m_fields[name] = std::forward<Value>(value);
    }
    // For standard output, unless JSON goes there.
    void Print(const std::string& line) const;
    // For standard error.
    static void Note(const std::string& subject, const std::string& text);

    // From here on the command prints JSON lines of its own; only a failure is still put out.
    void LeaveOutputToLines() { m_printsLines = true; }

    void AddFailure(const Failure& failure);
    // Puts out the JSON object.
    void Finish() const;

private:
    bool m_isJson;
    bool m_printsLines = false;
    nlohmann::ordered_json m_fields = nlohmann::ordered_json::object();
};

// On standard error: the failure, its status, and each line of the hint on a line of its own.
void PrintFailure(const Failure& failure);

bool IsUtf8(const std::string& text);

} // namespace uxvisa::tool
