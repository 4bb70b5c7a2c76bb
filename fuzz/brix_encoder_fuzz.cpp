// Lines of text: a whole packet of the length that its header says, or a failure that leaves the
// packet alone.
#include <cstdint>
#include <cstdlib>
#include <string_view>
#include <vector>

#include "brix/Encoder.h"
#include "brix/Packet.h"
#include "tests/support/SmallProtocol.h"
#include "uxvisa/visatype.h"

namespace {

namespace brix = uxvisa::brix;

void Require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

} // namespace

// The first byte chooses the terminator.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    const brix::ProtocolFunctions functions = uxvisa::test::SmallProtocol();
    const std::string_view line(reinterpret_cast<const char*>(data + 1), size - 1);
    const char terminator = "\n\r;\0"[data[0] % 4];
    std::vector<unsigned char> packet{0x5A};
    const long status =
        brix::EncodeLine(line, terminator, brix::ProtocolNames(functions, 1), packet);
    if (status == VI_SUCCESS) {
        Require(packet.size() >= brix::HeaderSize);
        Require(packet.size() == brix::PacketSize(packet.data()));
        Require(brix::LoadWord<std::uint32_t>(&packet[12]) == 0);
    } else {
        Require(status == VI_ERROR_INP_PROT_VIOL);
        Require(packet == std::vector<unsigned char>{0x5A});
    }
    return 0;
}
