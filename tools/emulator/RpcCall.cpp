#include "tools/emulator/RpcCall.h"

namespace emulator {

namespace {

constexpr std::uint32_t CallMessage = 0;
constexpr std::uint32_t ReplyMessage = 1;
constexpr std::uint32_t MessageAccepted = 0;
constexpr std::uint32_t RpcVersion = 2;
constexpr std::uint32_t NullProcedure = 0;
constexpr std::size_t MostAuthentication = 400;

constexpr std::size_t PaddingSize(std::size_t length) {
    return (4 - length % 4) % 4;
}

bool SkipAuthentication(WordReader& words) {
    words.Word();
    const std::size_t length = words.Word();
    words.Bytes(length);
    return length <= MostAuthentication;
}

} // namespace

std::uint32_t WordReader::Word() {
    std::uint32_t value = 0;
    for (const char byte : Bytes(sizeof value)) {
        value = value << 8U | static_cast<unsigned char>(byte);
    }
    return value;
}

std::string_view WordReader::Bytes(std::size_t count) {
    const std::size_t padded = count + PaddingSize(count);
    if (count > m_bytes.size() || padded > m_bytes.size()) {
        m_good = false;
        m_bytes = {};
        return {};
    }
    const std::string_view taken = m_bytes.substr(0, count);
    m_bytes.remove_prefix(padded);
    return taken;
}

std::optional<RpcCall> DecodeCall(std::string_view record) {
    WordReader words(record);
    RpcCall call;
    call.transaction = words.Word();
    const bool is_call = words.Word() == CallMessage;
    const bool is_known = words.Word() == RpcVersion;
    call.program = words.Word();
    call.version = words.Word();
    call.procedure = words.Word();
    const bool credentials = SkipAuthentication(words);
    const bool verifier = SkipAuthentication(words);
    call.parameters = words.Rest();
    if (!words.Good() || !is_call || !is_known || !credentials || !verifier) {
        return std::nullopt;
    }
    return call;
}

std::string Word(std::uint32_t value) {
    return {static_cast<char>(value >> 24U), static_cast<char>(value >> 16U & 0xFFU),
            static_cast<char>(value >> 8U & 0xFFU), static_cast<char>(value & 0xFFU)};
}

std::string Padding(std::size_t length) {
    return std::string(PaddingSize(length), '\0');
}

std::string ReplyHeader(std::uint32_t transaction, AcceptStatus status) {
    const std::string no_verifier = Word(0) + Word(0);
    return Word(transaction) + Word(ReplyMessage) + Word(MessageAccepted) + no_verifier +
           Word(static_cast<std::uint32_t>(status));
}

std::string GeneralReply(const RpcCall& call, std::uint32_t program, std::uint32_t version) {
    if (call.program != program) {
        return ReplyHeader(call.transaction, AcceptStatus::ProgramUnavailable);
    }
    if (call.version != version) {
        return ReplyHeader(call.transaction, AcceptStatus::ProgramMismatch) + Word(version) +
               Word(version);
    }
    if (call.procedure == NullProcedure) {
        return ReplyHeader(call.transaction, AcceptStatus::Success);
    }
    return {};
}

std::string MarkedRecord(const std::string& body) {
    return body.empty() ? body : Word(0x80000000U | static_cast<std::uint32_t>(body.size())) + body;
}

} // namespace emulator
