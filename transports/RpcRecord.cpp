#include "transports/RpcRecord.h"

namespace uxvisa::rpc {

std::string Mark(std::size_t length) {
    return {'\x80', '\0', static_cast<char>(length >> 8 & 0xFF), static_cast<char>(length & 0xFF)};
}

std::size_t MarkedLength(const unsigned char* mark) {
    return static_cast<std::size_t>(mark[2]) << 8 | mark[3];
}

std::string Word(std::uint32_t value) {
    return {static_cast<char>(value >> 24), static_cast<char>(value >> 16 & 0xFF),
            static_cast<char>(value >> 8 & 0xFF), static_cast<char>(value & 0xFF)};
}

std::uint32_t WordAt(const unsigned char* bytes) {
    return static_cast<std::uint32_t>(bytes[0]) << 24 | static_cast<std::uint32_t>(bytes[1]) << 16 |
           static_cast<std::uint32_t>(bytes[2]) << 8 | static_cast<std::uint32_t>(bytes[3]);
}

std::string CallHeader(std::uint32_t transaction, std::uint32_t program, std::uint32_t version,
                       std::uint32_t procedure) {
    constexpr std::uint32_t call = 0;
    constexpr std::uint32_t rpcVersion = 2;
    const std::string noAuthentication(16, '\0');
    return Word(transaction) + Word(call) + Word(rpcVersion) + Word(program) + Word(version) +
           Word(procedure) + noAuthentication;
}

std::string CoreHeader(std::uint32_t transaction, CoreProcedure procedure) {
    return CallHeader(transaction, CoreProgram, CoreVersion, static_cast<std::uint32_t>(procedure));
}

std::string GetPortCall(std::uint32_t transaction) {
    return CallHeader(transaction, PortmapperProgram, PortmapperVersion, PortmapperGetPort) +
           Word(CoreProgram) + Word(CoreVersion) + Word(ProtocolTcp) + Word(0);
}

std::size_t Padding(std::size_t length) {
    return (4 - length % 4) % 4;
}

} // namespace uxvisa::rpc
