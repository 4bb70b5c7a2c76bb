#include "transports/UsbDescriptors.h"

namespace uxvisa {

namespace {

constexpr std::size_t DeviceDescriptorSize = 18;
constexpr unsigned char InterfaceDescriptor = 4;
// Every descriptor begins with its length and its type; a shorter one leads nowhere.
constexpr std::size_t HeaderSize = 2;
constexpr std::size_t SubclassOffset = 6;
constexpr std::size_t ProtocolOffset = 7;
constexpr unsigned char MeasurementSubclass = 3;
constexpr unsigned char Usb488Protocol = 1;

// Null when there is none, or none that is there up to its protocol.
const unsigned char* FirstInterface(const unsigned char* descriptors, std::size_t size) {
    std::size_t at = 0;
    while (at < size && size - at > ProtocolOffset && descriptors[at] > HeaderSize) {
        if (descriptors[at + 1] == InterfaceDescriptor) {
            return descriptors + at;
        }
        at += descriptors[at];
    }
    return nullptr;
}

} // namespace

// The class is not looked at, on purpose: instruments are about with a vendor's own class, and
// subclass and protocol tell them well enough. Neither are interfaces after the first: those that
// can be opened have their message interface in front.
bool IsUsbInstrument(const unsigned char* descriptors, std::size_t size) {
    if (size < DeviceDescriptorSize || size >= UsbDescriptorsLimit) {
        return false;
    }
    const unsigned char* interface = FirstInterface(descriptors, size);
    return interface != nullptr && interface[SubclassOffset] == MeasurementSubclass &&
           interface[ProtocolOffset] == Usb488Protocol;
}

} // namespace uxvisa
