#include "tools/emulator/Vxi11Link.h"

#include <algorithm>

namespace emulator {

namespace {

using std::chrono::milliseconds;

// No response can come any more once a message was run, so nobody has to wait for the whole
// time-out.
constexpr milliseconds WaitInVain{10};

bool IsAccessible(std::string_view device) {
    constexpr std::string_view bus = "gpib0,";
    return device == "inst0" || (device.starts_with(bus) && device.size() > bus.size());
}

std::string TimedOut() {
    return DeviceReadResult({DeviceError::IoTimeout, ReadReason::None, {}});
}

} // namespace

RpcReply Vxi11Link::Answer(std::string_view record, Time now) {
    const auto call = DecodeCall(record);
    if (!call) {
        return {};
    }
    if (const std::string reply = GeneralReply(*call, CoreProgram, CoreVersion); !reply.empty()) {
        return {MarkedRecord(reply), {}};
    }
    const Result result = Perform(*call, now);
    return {MarkedRecord(result.bytes), result.pause};
}

Vxi11Link::Result Vxi11Link::Perform(const RpcCall& call, Time now) {
    Result result;
    switch (static_cast<CoreProcedure>(call.procedure)) {
    case CoreProcedure::CreateLink:
        result = CreateLink(call.parameters);
        break;
    case CoreProcedure::DeviceWrite:
        result = DeviceWrite(call.parameters, now);
        break;
    case CoreProcedure::DeviceRead:
        result = DeviceRead(call.parameters, now);
        break;
    case CoreProcedure::DestroyLink:
        result = DestroyLink(call.parameters);
        break;
    default:
        return {ReplyHeader(call.transaction, AcceptStatus::ProcedureUnavailable), {}};
    }
    if (!result.bytes.empty()) {
        result.bytes.insert(0, ReplyHeader(call.transaction, AcceptStatus::Success));
    }
    return result;
}

Vxi11Link::Result Vxi11Link::CreateLink(std::string_view parameters) {
    const auto call = DecodeCreateLink(parameters);
    if (!call) {
        return {};
    }
    if (!IsAccessible(call->device)) {
        return {CreateLinkResult(DeviceError::DeviceNotAccessible, {}), {}};
    }
    if (call->lock) {
        return {CreateLinkResult(DeviceError::OperationNotSupported, {}), {}};
    }
    m_open = true;
    return {CreateLinkResult(DeviceError::None, m_words), {}};
}

Vxi11Link::Result Vxi11Link::DeviceWrite(std::string_view parameters, Time now) {
    const auto call = DecodeDeviceWrite(parameters);
    if (!call) {
        return {};
    }
    if (!Holds(call->link)) {
        return {DeviceWriteResult(DeviceError::InvalidLink, 0), {}};
    }
    if (m_exchange.Write(call->data, call->end)) {
        m_ready = now + m_delay;
    }
    return {DeviceWriteResult(DeviceError::None, call->data.size()), {}};
}

Vxi11Link::Result Vxi11Link::DeviceRead(std::string_view parameters, Time now) {
    const auto call = DecodeDeviceRead(parameters);
    if (!call) {
        return {};
    }
    if (!Holds(call->link)) {
        return {DeviceReadResult({DeviceError::InvalidLink, ReadReason::None, {}}), {}};
    }
    return m_exchange.HasResponse() ? ReadResponse(*call, now) : ReadNothing(*call);
}

Vxi11Link::Result Vxi11Link::ReadResponse(const DeviceReadCall& call, Time now) {
    const auto wait = std::max(std::chrono::ceil<milliseconds>(m_ready - now), milliseconds(0));
    if (wait > call.timeout) {
        return {TimedOut(), call.timeout};
    }
    ReadResult result;
    m_exchange.Read(result.data, std::min<std::size_t>(call.request_size, MaxReadData));
    if (!m_exchange.HasResponse()) {
        result.reason = ReadReason::End;
    } else if (result.data.size() == call.request_size) {
        result.reason = ReadReason::RequestSize;
    }
    return {DeviceReadResult(result), wait};
}

Vxi11Link::Result Vxi11Link::ReadNothing(const DeviceReadCall& call) {
    m_instrument.Report(ErrorCode::QueryUnterminated);
    return {TimedOut(), std::min(call.timeout, m_delay + WaitInVain)};
}

Vxi11Link::Result Vxi11Link::DestroyLink(std::string_view parameters) {
    const auto link = DecodeDestroyLink(parameters);
    if (!link) {
        return {};
    }
    if (!m_open || *link != m_words.abort_port) {
        return {DestroyLinkResult(DeviceError::InvalidLink), {}};
    }
    m_open = false;
    m_exchange.Clear();
    return {DestroyLinkResult(DeviceError::None), {}};
}

} // namespace emulator
