// What comes from the LAN: records must have their six fields, whatever arrives.
#include "transports/DiscoveryReply.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

void RequireSixFields(const std::string& record) {
    if (std::count(record.begin(), record.end(), '\n') != 5 || !record.starts_with("TCPIP1::") ||
        !record.ends_with("\nsender") || record.find('\0') != std::string::npos) {
        std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // Of exactly the size, so that reading behind it is noticed.
    const std::vector<char> reply(data, data + size);
    const std::string socket = uxvisa::SocketRecord(reply.data(), size, 1, "sender");
    if (!socket.empty()) {
        RequireSixFields(socket);
    }
    const std::string vxi11 = uxvisa::Vxi11Record(reply.data(), size, 1, "sender");
    if (!vxi11.empty()) {
        RequireSixFields(vxi11);
    }
    const std::string bare = "TCPIP1::sender::inst0::INSTR\n\n\n\n\nsender";
    RequireSixFields(uxvisa::WithIdentity(bare, std::string(reply.begin(), reply.end())));
    return 0;
}
