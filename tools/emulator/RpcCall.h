#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace emulator {

// Takes big-endian words and strings off the front of some bytes. Once they ran out, it gives
// zeros, and Good() tells.
class WordReader {
public:
    explicit WordReader(std::string_view bytes) : m_bytes(bytes) {}

    std::uint32_t Word();
    // As many bytes as asked for; those that fill them up to a multiple of four are taken too.
    std::string_view Bytes(std::size_t count);
    std::string_view Rest() const { return m_bytes; }
    bool Good() const { return m_good; }

private:
    std::string_view m_bytes;
    bool m_good = true;
};

// A call of version 2 of ONC RPC (RFC 5531). The parameters point into the record.
struct RpcCall {
    std::uint32_t transaction = 0;
    std::uint32_t program = 0;
    std::uint32_t version = 0;
    std::uint32_t procedure = 0;
    std::string_view parameters;
};

// Whatever identification the caller gives is passed over. Returns nothing for what is no call.
std::optional<RpcCall> DecodeCall(std::string_view record);

enum class AcceptStatus : std::uint32_t {
    Success = 0,
    ProgramUnavailable = 1,
    ProgramMismatch = 2,
    ProcedureUnavailable = 3,
};

std::string Word(std::uint32_t value);
std::string Padding(std::size_t length);

// The 24 bytes in front of every result.
std::string ReplyHeader(std::uint32_t transaction, AcceptStatus status);

// The reply to calls that have nothing to do with the procedures of the one program and version
// that a port serves: of other ones, and of procedure 0, which does nothing. Otherwise empty.
std::string GeneralReply(const RpcCall& call, std::uint32_t program, std::uint32_t version);

// A record of one fragment; nothing for an empty body. The body has less than 65536 bytes, as peers
// look at the two low bytes of the mark only.
std::string MarkedRecord(const std::string& body);

} // namespace emulator
