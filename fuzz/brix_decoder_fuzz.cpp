// Packets, on heap copies of their exact size: no byte beyond is read, and what lies beyond does
// not change the line.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "brix/Decoder.h"
#include "brix/Packet.h"
#include "tests/support/SmallProtocol.h"

namespace {

namespace brix = uxvisa::brix;

void Require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

} // namespace

// The first byte chooses how the packet is decoded.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    const brix::ProtocolFunctions functions = uxvisa::test::SmallProtocol();
    const brix::ProtocolNames names(functions, 1);
    const brix::DecodeOptions options{(data[0] & 1) != 0, (data[0] >> 1) & 3,
                                      static_cast<std::int16_t>((data[0] & 8) != 0 ? -32768 : 0)};
    const std::vector<unsigned char> packet(data + 1, data + size);
    const std::string line = brix::DecodePacket(packet.data(), packet.size(), options, names);
    Require(!line.empty());

    std::vector<unsigned char> whole = packet;
    whole.resize(std::max(whole.size(), brix::HeaderSize));
    const std::size_t end = brix::PacketSize(whole.data());
    whole.resize(end);
    whole.resize(end + 64, 0xA5);
    Require(brix::DecodePacket(whole.data(), whole.size(), options, names) == line);
    return 0;
}
