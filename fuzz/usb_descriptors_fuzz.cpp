// Descriptors of USB devices: nothing beyond them is read, an instrument has its interface in
// there, and neither its class nor what follows changes the answer.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "transports/UsbDescriptors.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

void Require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

bool IsInstrument(Bytes bytes) {
    bytes.shrink_to_fit();
    return uxvisa::IsUsbInstrument(bytes.data(), bytes.size());
}

// Where the bytes of an instrument's interface stand, walked from descriptor to descriptor.
std::size_t InterfaceOf(const Bytes& bytes) {
    std::size_t at = 0;
    while (bytes.at(at + 1) != 4) {
        Require(bytes.at(at) > 2);
        at += bytes.at(at);
    }
    return at;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Bytes bytes(data, data + size);
    if (!IsInstrument(bytes)) {
        return 0;
    }
    Require(size >= 18 && size < uxvisa::UsbDescriptorsLimit);
    const std::size_t interface = InterfaceOf(bytes);
    Require(bytes.at(interface + 6) == 3 && bytes.at(interface + 7) == 1);
    bytes[interface + 5] = static_cast<std::uint8_t>(~bytes[interface + 5]);
    Require(IsInstrument(bytes));
    std::fill(bytes.begin() + static_cast<long>(interface) + 8, bytes.end(), std::uint8_t{0});
    Require(IsInstrument(bytes));
    bytes[interface + 7] = 0;
    Require(!IsInstrument(bytes));
    return 0;
}
