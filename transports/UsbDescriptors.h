// Reads the raw descriptors that the kernel keeps of a USB device.
#pragma once

#include <cstddef>

namespace uxvisa {

// As many bytes as are read of a device's descriptors: a device descriptor, and one configuration
// of the largest size there is.
constexpr std::size_t UsbDescriptorsLimit = 18 + 65535;

// Whether the first interface is the message interface of an instrument (USB488). False for fewer
// bytes than a device descriptor has, and for as many as the limit, which may have been cut.
bool IsUsbInstrument(const unsigned char* descriptors, std::size_t size);

} // namespace uxvisa
