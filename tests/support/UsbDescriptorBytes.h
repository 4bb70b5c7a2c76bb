// The raw descriptors of USB devices, as the kernel keeps them.
#pragma once

#include <initializer_list>
#include <string>

namespace uxvisa::test {

inline std::string Bytes(std::initializer_list<int> values) {
    std::string bytes;
    for (const int value : values) {
        bytes += static_cast<char>(value);
    }
    return bytes;
}

inline std::string DeviceDescriptor() {
    return Bytes({18, 1, 0, 2, 0, 0, 0, 64, 0x34, 0x12, 0x78, 0x56, 0, 1, 1, 2, 3, 1});
}

inline std::string ConfigurationDescriptor() {
    return Bytes({9, 2, 32, 0, 1, 1, 0, 0xC0, 50});
}

inline std::string InterfaceDescriptor(int interfaceClass, int subclass, int protocol,
                                       int number = 0) {
    return Bytes({9, 4, number, 0, 2, interfaceClass, subclass, protocol, 0});
}

inline std::string EndpointDescriptor() {
    return Bytes({7, 5, 0x81, 2, 0, 2, 0});
}

// Of a device whose first interface is this one.
inline std::string DescriptorsWith(const std::string& interfaces) {
    return DeviceDescriptor() + ConfigurationDescriptor() + interfaces;
}

inline std::string InstrumentDescriptors() {
    return DescriptorsWith(InterfaceDescriptor(0xFE, 3, 1) + EndpointDescriptor());
}

} // namespace uxvisa::test
