#include "bench/Vxi11Server.h"

#include <sys/socket.h>

#include <cstdint>
#include <string>

#include "bench/Peer.h"
#include "transports/RpcRecord.h"

namespace uxvisa::bench {

namespace {

using rpc::CoreProcedure;
using rpc::Mark;
using rpc::Word;
using rpc::WordAt;

constexpr std::size_t ProcedureAt = 20;

bool Receive(int fd, std::string& bytes) {
    return bytes.empty() ||
           recv(fd, bytes.data(), bytes.size(), MSG_WAITALL) == static_cast<ssize_t>(bytes.size());
}

// The surplus zeros behind a read call are empty fragments.
bool NextCall(int fd, std::string& call) {
    std::string mark(rpc::MarkSize, '\0');
    do {
        if (!Receive(fd, mark)) {
            return false;
        }
        call.resize(rpc::MarkedLength(reinterpret_cast<const unsigned char*>(mark.data())));
    } while (call.empty());
    return Receive(fd, call);
}

std::string Reply(const std::string& call) {
    const std::string zeros(24, '\0');
    const auto* bytes = reinterpret_cast<const unsigned char*>(call.data());
    switch (static_cast<CoreProcedure>(WordAt(bytes + ProcedureAt))) {
    case CoreProcedure::CreateLink:
        return zeros + std::string(16, '\0');
    case CoreProcedure::DeviceRead:
        return zeros + Word(0) + Word(0) + Word(4) + Word(0) + Word(64) + Word(0) +
               std::string(63, 'x') + "\n";
    case CoreProcedure::DeviceWrite:
        return zeros + Word(0) + Word(0);
    default:
        return zeros + Word(0);
    }
}

} // namespace

void ServeVxi11(int fd) {
    for (std::string call; NextCall(fd, call) && call.size() >= ProcedureAt + 4;) {
        const std::string reply = Reply(call);
        SendAll(fd, Mark(reply.size()) + reply);
    }
}

} // namespace uxvisa::bench
