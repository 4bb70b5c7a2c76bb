#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace emulator {

// Calls and results of the VXI-11 core channel as instruments with one link speak it, which the
// sessions of the library expect: the link identifier is always zero, and in its place calls carry
// the two last words of the create_link result, in front of the parameters that follow it.
//
// A client that keeps only 16 bits of a record's length cannot send a device_write of more than
// 65472 data: the next larger record has 65536 bytes, its mark announces none, and the empty record
// is no call.

constexpr std::uint32_t CoreProgram = 0x0607AF;
constexpr std::uint32_t CoreVersion = 1;

enum class CoreProcedure : std::uint32_t {
    CreateLink = 10,
    DeviceWrite = 11,
    DeviceRead = 12,
    DestroyLink = 23,
};

enum class DeviceError : std::uint32_t {
    None = 0,
    DeviceNotAccessible = 3,
    InvalidLink = 4,
    OperationNotSupported = 8,
    IoTimeout = 15,
};

enum class ReadReason : std::uint32_t {
    None = 0,
    RequestSize = 1,
    End = 4,
};

// The most data of a device_read result, whose length has to fit 16 bits.
constexpr std::size_t MaxReadData = 65484;
constexpr std::uint32_t MaxWriteData = 65536;

struct LinkWords {
    std::uint32_t abort_port = 0;
    std::uint32_t max_receive = 0;

    bool operator==(const LinkWords&) const = default;
};

struct CreateLinkCall {
    bool lock = false;
    std::string_view device;
};

struct DeviceWriteCall {
    LinkWords link;
    bool end = false;
    std::string_view data;
};

struct DeviceReadCall {
    LinkWords link;
    std::uint32_t request_size = 0;
    std::chrono::milliseconds timeout{0};
};

struct ReadResult {
    DeviceError error = DeviceError::None;
    ReadReason reason = ReadReason::None;
    std::string data;
};

// These return nothing when the parameters do not hold together. Strings point into them.
std::optional<CreateLinkCall> DecodeCreateLink(std::string_view parameters);
std::optional<DeviceWriteCall> DecodeDeviceWrite(std::string_view parameters);
std::optional<DeviceReadCall> DecodeDeviceRead(std::string_view parameters);
// The first of the two words only.
std::optional<std::uint32_t> DecodeDestroyLink(std::string_view parameters);

// Results, to follow a reply header.
std::string CreateLinkResult(DeviceError error, const LinkWords& link);
std::string DeviceWriteResult(DeviceError error, std::size_t size);
std::string DeviceReadResult(const ReadResult& result);
std::string DestroyLinkResult(DeviceError error);

} // namespace emulator
