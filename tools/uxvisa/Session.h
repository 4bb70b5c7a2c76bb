// An open connection to an instrument. Every failure becomes an InstrumentFailure that names the
// resource and the remedy.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "tools/uxvisa/Advice.h"
#include "tools/uxvisa/Failure.h"
#include "uxvisa/visatype.h"

namespace uxvisa::tool {

struct Transfer {
    ViStatus status = VI_SUCCESS;
    std::uint64_t count = 0;
};

class Session {
public:
    // What is set before the first use: the time-out, or nothing.
    enum class Setup { Timeout, None };

    Session(const std::string& resource, ViUInt32 timeoutMs, Setup setup = Setup::Timeout);
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    const std::string& Resource() const { return m_situation.resource; }
    ViUInt32 TimeoutMs() const { return m_situation.timeoutMs; }
    void EnableTermChar(bool enabled);
    // The status is left to the caller; a session need not have the attribute.
    ViStatus GetAttribute(ViAttr attribute, void* value) const;

    // Sends the command and the line end; gives the number of bytes.
    std::uint64_t Write(const std::string& command, const std::string& eol);
    // One read; errors are in the status, with what arrived before them.
    Transfer Read(char* buffer, std::size_t size, ViUInt32 timeoutMs);
    // What to throw when an answer has ended with an error. The detail is put behind the text of
    // the status.
    InstrumentFailure ReadFailure(const Transfer& answer, const std::string& detail = "") const;
    // The same for an answer that was to have so many bytes.
    InstrumentFailure ShortReadFailure(const Transfer& answer, std::uint64_t wanted) const;

private:
    void Open();
    void SetTimeout(ViUInt32 timeoutMs);
    void SetAttribute(ViAttr attribute, ViAttrState state);
    void Check(ViStatus status, Stage stage);
    InstrumentFailure MakeFailure(ViStatus status, const Situation& situation,
                                  const std::string& detail) const;

    Situation m_situation;
    ViSession m_handle = VI_NULL;
    ViUInt32 m_currentTimeoutMs = 0;
};

} // namespace uxvisa::tool
