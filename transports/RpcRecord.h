// ONC RPC records of the VXI-11 core channel and the portmapper (RFC 5531, RFC 1833, VXI-11
// revision 1.0): one fragment each, words big-endian, no authentication. Pure bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace uxvisa::rpc {

constexpr std::uint32_t PortmapperProgram = 100000;
constexpr std::uint32_t PortmapperVersion = 2;
constexpr std::uint32_t PortmapperGetPort = 3;
constexpr std::uint32_t CoreProgram = 0x0607AF;
constexpr std::uint32_t CoreVersion = 1;
constexpr std::uint32_t ProtocolTcp = 6;

enum class CoreProcedure : std::uint32_t {
    CreateLink = 10,
    DeviceWrite = 11,
    DeviceRead = 12,
    DestroyLink = 23,
};

constexpr std::size_t MarkSize = 4;

// The mark of a record whose body has `length` bytes, of which only the two low bytes are kept.
std::string Mark(std::size_t length);
// The body length that a mark announces.
std::size_t MarkedLength(const unsigned char* mark);

std::string Word(std::uint32_t value);
std::uint32_t WordAt(const unsigned char* bytes);

// The 40 bytes in front of every call's parameters.
std::string CallHeader(std::uint32_t transaction, std::uint32_t program, std::uint32_t version,
                       std::uint32_t procedure);
// The same for a call of the core channel.
std::string CoreHeader(std::uint32_t transaction, CoreProcedure procedure);

// Asks a portmapper for the TCP port of the core channel: 56 bytes.
std::string GetPortCall(std::uint32_t transaction);

// Bytes that fill `length` up to a multiple of four.
std::size_t Padding(std::size_t length);

} // namespace uxvisa::rpc
