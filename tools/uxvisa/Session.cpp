#include "tools/uxvisa/Session.h"

#include "tools/uxvisa/StatusTable.h"
#include "uxvisa/visa.h"

namespace uxvisa::tool {

Session::Session(const std::string& resource, ViUInt32 timeoutMs, Setup setup)
    : m_situation{Stage::Open, resource, "", timeoutMs, 0} {
    Open();
    if (setup == Setup::None) {
        return;
    }
    try {
        SetTimeout(timeoutMs);
    } catch (...) {
        viClose(m_handle);
        throw;
    }
}

Session::~Session() {
    viClose(m_handle);
}

void Session::Open() {
    ViSession manager = VI_NULL;
    Check(viOpenDefaultRM(&manager), Stage::Open);
    Check(viOpen(manager, Resource().c_str(), VI_NO_LOCK, TimeoutMs(), &m_handle), Stage::Open);
}

void Session::SetAttribute(ViAttr attribute, ViAttrState state) {
    const ViStatus status = viSetAttribute(m_handle, attribute, state);
    // A kind of session whose time-outs and line ends are fixed is no less usable.
    if (status != VI_ERROR_NIMPL_OPER) {
        Check(status, m_situation.stage);
    }
}

void Session::SetTimeout(ViUInt32 timeoutMs) {
    SetAttribute(VI_ATTR_TMO_VALUE, timeoutMs);
    m_currentTimeoutMs = timeoutMs;
}

void Session::EnableTermChar(bool enabled) {
    SetAttribute(VI_ATTR_TERMCHAR_EN, enabled ? VI_TRUE : VI_FALSE);
}

ViStatus Session::GetAttribute(ViAttr attribute, void* value) const {
    return viGetAttribute(m_handle, attribute, value);
}

std::uint64_t Session::Write(const std::string& command, const std::string& eol) {
    const std::string message = command + eol;
    ViUInt32 written = 0;
    const auto* bytes = reinterpret_cast<ViConstBuf>(message.data());
    Check(viWrite(m_handle, bytes, message.size(), &written), Stage::Write);
    m_situation.command = command;
    return written;
}

Transfer Session::Read(char* buffer, std::size_t size, ViUInt32 timeoutMs) {
    if (timeoutMs != m_currentTimeoutMs) {
        SetTimeout(timeoutMs);
    }
    ViUInt32 count = 0;
    const ViStatus status = viRead(m_handle, reinterpret_cast<ViPByte>(buffer), size, &count);
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
    return {situation.resource, status, StatusText(status) + detail, Advice(status, situation)};
}

} // namespace uxvisa::tool
