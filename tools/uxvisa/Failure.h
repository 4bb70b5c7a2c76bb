// Why a command could not do its work, in the words that the user gets to see.
#pragma once

#include <optional>
#include <stdexcept>
#include <string>

#include "uxvisa/visatype.h"

namespace uxvisa::tool {

enum ExitCode { ExitOk = 0, ExitFailed = 1, ExitUsage = 2, ExitTimedOut = 3 };

class Failure : public std::runtime_error {
public:
    // The subject is what failed: a resource, a file. It may be empty. The hint is a line for each
    // piece of advice.
    Failure(ExitCode code, std::string subject, const std::string& text, std::string hint = "")
        : std::runtime_error(text), m_code(code), m_subject(std::move(subject)),
          m_hint(std::move(hint)) {}

    ExitCode Code() const { return m_code; }
    const std::string& Subject() const { return m_subject; }
    const std::string& Hint() const { return m_hint; }
    const std::optional<ViStatus>& Status() const { return m_status; }

protected:
    void SetStatus(ViStatus status) { m_status = status; }

private:
    ExitCode m_code;
    std::string m_subject;
    std::string m_hint;
    std::optional<ViStatus> m_status;
};

// What the instrument or the way to it is to blame for. The output is sound, so what has arrived
// can still be handed over.
class InstrumentFailure : public Failure {
public:
    InstrumentFailure(const std::string& resource, const std::string& text, const std::string& hint)
        : Failure(ExitFailed, resource, text, hint) {}
    InstrumentFailure(const std::string& resource, ViStatus status, const std::string& text,
                      const std::string& hint)
        : Failure(status == VI_ERROR_TMO ? ExitTimedOut : ExitFailed, resource, text, hint) {
        SetStatus(status);
    }
};

} // namespace uxvisa::tool
