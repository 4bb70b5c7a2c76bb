#include "tools/emulator/Vxi11Call.h"

#include "tools/emulator/RpcCall.h"

namespace emulator {

namespace {

constexpr std::uint32_t EndFlag = 8;

LinkWords TakeLinkWords(WordReader& words) {
    LinkWords link;
    link.abort_port = words.Word();
    link.max_receive = words.Word();
    return link;
}

// A result word in a slot of twice its size.
std::string Slot(std::uint32_t value) {
    return Word(value) + Word(0);
}

std::uint32_t Number(DeviceError error) {
    return static_cast<std::uint32_t>(error);
}

template <class Call>
std::optional<Call> IfGood(const WordReader& words, const Call& call) {
    return words.Good() ? std::optional<Call>(call) : std::nullopt;
}

} // namespace

std::optional<CreateLinkCall> DecodeCreateLink(std::string_view parameters) {
    WordReader words(parameters);
    CreateLinkCall call;
    words.Word(); // the client's own number
    call.lock = words.Word() != 0;
    words.Word(); // how long to wait for a lock
    call.device = words.Bytes(words.Word());
    return IfGood(words, call);
}

std::optional<DeviceWriteCall> DecodeDeviceWrite(std::string_view parameters) {
    WordReader words(parameters);
    DeviceWriteCall call;
    call.link = TakeLinkWords(words);
    words.Word(); // how long to wait for a lock
    call.end = (words.Word() & EndFlag) != 0;
    call.data = words.Bytes(words.Word());
    return IfGood(words, call);
}

std::optional<DeviceReadCall> DecodeDeviceRead(std::string_view parameters) {
    WordReader words(parameters);
    DeviceReadCall call;
    call.link = TakeLinkWords(words);
    call.request_size = words.Word();
    words.Word();
    call.timeout = std::chrono::milliseconds(words.Word());
    words.Word();
    return IfGood(words, call);
}

std::optional<std::uint32_t> DecodeDestroyLink(std::string_view parameters) {
    WordReader words(parameters);
    const std::uint32_t link = words.Word();
    return IfGood(words, link);
}

std::string CreateLinkResult(DeviceError error, const LinkWords& link) {
    constexpr std::uint32_t identifier = 0;
    return Word(Number(error)) + Word(identifier) + Word(link.abort_port) + Word(link.max_receive);
}

std::string DeviceWriteResult(DeviceError error, std::size_t size) {
    return Word(Number(error)) + Word(static_cast<std::uint32_t>(size));
}

std::string DeviceReadResult(const ReadResult& result) {
    return Slot(Number(result.error)) + Slot(static_cast<std::uint32_t>(result.reason)) +
           Slot(static_cast<std::uint32_t>(result.data.size())) + result.data +
           Padding(result.data.size());
}

std::string DestroyLinkResult(DeviceError error) {
    return Word(Number(error));
}

} // namespace emulator
