// Calls as the sessions of the library send them and replies taken apart.
#pragma once

#include "transports/RpcRecord.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace rpc_records {

using uxvisa::rpc::CallHeader;
using uxvisa::rpc::CoreHeader;
using uxvisa::rpc::CoreProcedure;
using uxvisa::rpc::Mark;
using uxvisa::rpc::Word;

inline std::string Zeros(std::size_t count) {
    return std::string(count, '\0');
}

inline std::string Marked(const std::string& body) {
    return Mark(body.size()) + body;
}

inline std::string Opaque(const std::string& data) {
    return Word(static_cast<std::uint32_t>(data.size())) + data +
           Zeros(uxvisa::rpc::Padding(data.size()));
}

inline std::string CreateLink(const std::string& device, std::uint32_t lock = 0) {
    return CoreHeader(1001, CoreProcedure::CreateLink) + Word(0) + Word(lock) + Word(2000) +
           Opaque(device);
}

inline std::string DeviceWrite(const std::string& link, const std::string& data,
                               std::uint32_t flags = 8) {
    return CoreHeader(1002, CoreProcedure::DeviceWrite) + link + Word(3000) + Word(flags) +
           Opaque(data);
}

inline std::string DeviceRead(const std::string& link, std::uint32_t count,
                              std::uint32_t timeout = 3000) {
    return CoreHeader(1003, CoreProcedure::DeviceRead) + link + Word(count) + Word(0) +
           Word(timeout) + Word(0);
}

inline std::string DestroyLink(const std::string& link) {
    return CoreHeader(1006, CoreProcedure::DestroyLink) + link.substr(0, 4);
}

// What stands in front of the results of a call that was accepted.
inline std::string Accepted(std::uint32_t transaction) {
    return Word(transaction) + Word(1) + Zeros(16);
}

// A device_read reply as a record without its mark.
inline std::string ReadReply(std::uint32_t error, std::uint32_t reason, const std::string& data) {
    return Accepted(1003) + Word(error) + Word(0) + Word(reason) + Word(0) +
           Word(static_cast<std::uint32_t>(data.size())) + Word(0) + data +
           Zeros(uxvisa::rpc::Padding(data.size()));
}

inline std::string WriteReply(std::uint32_t error, std::uint32_t size) {
    return Accepted(1002) + Word(error) + Word(size);
}

} // namespace rpc_records
