// An open connection to an instrument. Every failure becomes an InstrumentFailure that names the
// resource and the remedy.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "core/ISession.h"
#include "tools/uxvisa/Advice.h"
#include "tools/uxvisa/Failure.h"
#include "tools/uxvisa/LineInput.h"
#include "tools/uxvisa/Options.h"
#include "uxvisa/visatype.h"

namespace uxvisa::tool {

class Session {
public:
    // What is set before the first use: all that the options ask for, or nothing.
    enum class Setup { Options, None };

    explicit Session(const Options& options, Setup setup = Setup::Options);

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
    void Apply(const Options& options);
    // For an option that not every kind of session has.
    void ApplyOption(const char* option, ViAttr attribute, ViAttrState state);
    void SetTimeout(ViUInt32 timeoutMs);
    void ReadThroughLineInput();
    Transfer ReadOnce(char* buffer, std::size_t size);
    void Check(ViStatus status, Stage stage);
    InstrumentFailure MakeFailure(ViStatus status, const Situation& situation,
                                  const std::string& detail) const;

    Situation m_situation;
    // The library's own, on which this object's calls end; closes when it goes.
    std::unique_ptr<ISession> m_session;
    ViUInt32 m_currentTimeoutMs = 0;
    bool m_isPolled = false;
    bool m_endsAtLineFeed = false;
    // Only for sessions that need it.
    std::optional<LineInput> m_lineInput;
};

} // namespace uxvisa::tool
