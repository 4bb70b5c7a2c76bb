#include "tools/emulator/Portmapper.h"

#include "tools/emulator/RpcCall.h"
#include "tools/emulator/Vxi11Call.h"

namespace emulator {

namespace {

constexpr std::uint32_t Program = 100000;
constexpr std::uint32_t Version = 2;
constexpr std::uint32_t GetPort = 3;
constexpr std::uint32_t ProtocolTcp = 6;

std::string AnswerGetPort(const RpcCall& call, std::uint16_t core_port) {
    WordReader words(call.parameters);
    const bool known = words.Word() == CoreProgram;
    const bool same_version = words.Word() == CoreVersion;
    const bool tcp = words.Word() == ProtocolTcp;
    words.Word();
    if (!words.Good()) {
        return {};
    }
    const std::uint32_t port = known && same_version && tcp ? core_port : 0;
    return ReplyHeader(call.transaction, AcceptStatus::Success) + Word(port);
}

std::string AnswerCall(const RpcCall& call, std::uint16_t core_port) {
    if (const std::string reply = GeneralReply(call, Program, Version); !reply.empty()) {
        return reply;
    }
    return call.procedure == GetPort
               ? AnswerGetPort(call, core_port)
               : ReplyHeader(call.transaction, AcceptStatus::ProcedureUnavailable);
}

} // namespace

std::string AnswerPortmapper(std::string_view call, std::uint16_t core_port) {
    const auto decoded = DecodeCall(call);
    return decoded ? AnswerCall(*decoded, core_port) : std::string();
}

} // namespace emulator
