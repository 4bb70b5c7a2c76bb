#include "tools/uxvisa/Session.h"

#include "tools/uxvisa/HookedSession.h"
#include "tools/uxvisa/ParsedResource.h"
#include "tools/uxvisa/StatusTable.h"
#include "uxvisa/VisaSession.h"
#include "uxvisa/visa.h"

namespace uxvisa::tool {

namespace {

std::unique_ptr<ISession> MakeSession(bool isHooked) {
    if (isHooked) {
        return std::make_unique<HookedSession>();
    }
    return std::make_unique<VisaSession>();
}

// Whatever speaks over it: the line has no time-out and calls silence a lost connection.
bool IsSerial(const std::string& resource) {
    return ParseResource(resource).interfaceType == VI_INTF_ASRL;
}

} // namespace

Session::Session(const Options& options, Setup setup)
    : m_situation{Stage::Open, options.resource, "", options.timeoutMs, 0},
      m_session(MakeSession(options.hook)) {
    Open();
    if (setup == Setup::Options) {
        Apply(options);
    }
}

void Session::Open() {
    std::string resource = Resource();
    Check(m_session->OpenConnection(resource.data(), VI_NO_LOCK, TimeoutMs()), Stage::Open);
    m_isPolled = IsSerial(Resource());
}

void Session::Apply(const Options& options) {
    if (m_isPolled) {
        ReadThroughLineInput();
    }
    SetTimeout(options.timeoutMs);
    if (options.baud) {
        ApplyOption("--baud", VI_ATTR_ASRL_BAUD, *options.baud);
    }
    if (options.fullHeader) {
        ApplyOption("--full-header", VI_ATTR_BRIX_FULL_HEADER, VI_TRUE);
    }
    if (options.decodeMode) {
        ApplyOption("--decode-mode", VI_ATTR_BRIX_DECODE_MODE, *options.decodeMode);
    }
    if (options.raw) {
        ApplyOption("--raw", VI_ATTR_BRIX_RAW, VI_TRUE);
    }
}

void Session::ApplyOption(const char* option, ViAttr attribute, ViAttrState state) {
    m_situation.option = option;
    Check(m_session->SetAttribute(attribute, state), Stage::Setup);
    m_situation.option.clear();
}

// Lines that are polled have none, and to set one would change the terminal's settings.
void Session::SetTimeout(ViUInt32 timeoutMs) {
    m_currentTimeoutMs = timeoutMs;
    if (m_isPolled) {
        return;
    }
    const ViStatus status = m_session->SetAttribute(VI_ATTR_TMO_VALUE, timeoutMs);
    // A kind of session whose time-outs are fixed is no less usable.
    if (status != VI_ERROR_NIMPL_OPER) {
        Check(status, m_situation.stage);
    }
}

// Serial ports and the binary command protocol cannot set it: the line feed is looked for here.
void Session::EnableTermChar(bool enabled) {
    m_endsAtLineFeed = enabled;
    if (m_lineInput) {
        return;
    }
    const ViStatus status =
        m_session->SetAttribute(VI_ATTR_TERMCHAR_EN, enabled ? VI_TRUE : VI_FALSE);
    if (status == VI_ERROR_NSUP_ATTR) {
        ReadThroughLineInput();
    } else if (status != VI_ERROR_NIMPL_OPER) {
        Check(status, m_situation.stage);
    }
}

void Session::ReadThroughLineInput() {
    m_lineInput.emplace([this](char* buffer, std::size_t size) { return ReadOnce(buffer, size); },
                        m_isPolled ? LineInput::Silence::IsPolled : LineInput::Silence::Ends);
}

ViStatus Session::GetAttribute(ViAttr attribute, void* value) const {
    return m_session->GetAttribute(attribute, value);
}

std::uint64_t Session::Write(const std::string& command, const std::string& eol) {
    std::string message = command + eol;
    unsigned long written = 0;
    m_situation.command = command;
    auto* bytes = reinterpret_cast<unsigned char*>(message.data());
    Check(m_session->Write(bytes, message.size(), &written), Stage::Write);
    // A serial port stores no count.
    return m_isPolled ? message.size() : written;
}

Transfer Session::Read(char* buffer, std::size_t size, ViUInt32 timeoutMs) {
    if (timeoutMs != m_currentTimeoutMs) {
        SetTimeout(timeoutMs);
    }
    return m_lineInput ? m_lineInput->Read(buffer, size, timeoutMs, m_endsAtLineFeed)
                       : ReadOnce(buffer, size);
}

Transfer Session::ReadOnce(char* buffer, std::size_t size) {
    unsigned long count = 0;
    const ViStatus status = m_session->Read(reinterpret_cast<unsigned char*>(buffer), size, &count);
    return {status, count};
}

InstrumentFailure Session::ReadFailure(const Transfer& answer, const std::string& detail) const {
    Situation situation = m_situation;
    situation.stage = Stage::Read;
    situation.received = answer.count;
    return MakeFailure(answer.status, situation, detail);
}

InstrumentFailure Session::ShortReadFailure(const Transfer& answer, std::uint64_t wanted) const {
    Situation situation = m_situation;
    situation.stage = Stage::Read;
    situation.received = answer.count;
    situation.isCounted = true;
    return MakeFailure(answer.status, situation,
                       ", " + std::to_string(answer.count) + " of " + std::to_string(wanted) +
                           " bytes arrived");
}

void Session::Check(ViStatus status, Stage stage) {
    m_situation.stage = stage;
    if (status < VI_SUCCESS) {
        throw MakeFailure(status, m_situation, "");
    }
}

InstrumentFailure Session::MakeFailure(ViStatus status, const Situation& situation,
                                       const std::string& detail) const {
    const std::string option = situation.option.empty() ? "" : situation.option + ": ";
    return {situation.resource, status, option + StatusText(status) + detail,
            Advice(status, situation)};
}

} // namespace uxvisa::tool
