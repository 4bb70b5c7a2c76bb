#include "transports/UsbDescriptors.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

#include "support/UsbDescriptorBytes.h"

using namespace uxvisa::test;

namespace {

// From memory of exactly this size, so that a sanitizer sees every byte read beyond it.
bool IsInstrument(const std::string& bytes) {
    const auto exact = std::make_unique<unsigned char[]>(bytes.size());
    std::copy(bytes.begin(), bytes.end(), exact.get());
    return uxvisa::IsUsbInstrument(exact.get(), bytes.size());
}

// The first byte does not lead on to a second descriptor.
std::string Unwalkable(int length) {
    std::string bytes = InstrumentDescriptors();
    bytes[0] = static_cast<char>(length);
    return bytes;
}

// A walkable filler in front of nothing, up to `size` bytes.
std::string PaddedTo(std::size_t size) {
    std::string bytes = InstrumentDescriptors();
    bytes.resize(size, '\x07');
    return bytes;
}

} // namespace

TEST(UsbDescriptors, KnowAnInstrument) {
    EXPECT_TRUE(IsInstrument(InstrumentDescriptors()));
}

TEST(UsbDescriptors, SubclassAndProtocolMustBothFit) {
    for (int subclass = 0; subclass < 256; ++subclass) {
        for (const int protocol : {0, 1, 2, 3, 0x41, 0xFF}) {
            const std::string bytes =
                DescriptorsWith(InterfaceDescriptor(0xFE, subclass, protocol));
            EXPECT_EQ(IsInstrument(bytes), subclass == 3 && protocol == 1)
                << subclass << " " << protocol;
        }
    }
}

TEST(UsbDescriptors, TheInterfaceClassIsNotLookedAtOnPurpose) {
    for (int interfaceClass = 0; interfaceClass < 256; ++interfaceClass) {
        EXPECT_TRUE(IsInstrument(DescriptorsWith(InterfaceDescriptor(interfaceClass, 3, 1))))
            << interfaceClass;
    }
}

TEST(UsbDescriptors, OnlyTheFirstInterfaceCountsOnPurpose) {
    const std::string instrument = InterfaceDescriptor(0xFE, 3, 1);
    const std::string storage = InterfaceDescriptor(8, 6, 0x50);
    EXPECT_FALSE(IsInstrument(DescriptorsWith(storage + instrument)));
    EXPECT_TRUE(IsInstrument(DescriptorsWith(instrument + storage)));
}

TEST(UsbDescriptors, OthersInFrontOfTheInterfaceAreSteppedOver) {
    const std::string association = Bytes({8, 11, 0, 1, 0xFE, 3, 1, 0});
    const std::string longest = Bytes({255, 0x24}) + std::string(253, '\x04');
    const std::string shortest = Bytes({3, 0x24, 4});
    EXPECT_TRUE(IsInstrument(
        DescriptorsWith(association + longest + shortest + InterfaceDescriptor(0xFE, 3, 1))));
}

TEST(UsbDescriptors, WithoutAnInterfaceThereIsNoInstrument) {
    EXPECT_FALSE(IsInstrument(DeviceDescriptor()));
    EXPECT_FALSE(IsInstrument(DescriptorsWith("")));
    EXPECT_FALSE(IsInstrument(DescriptorsWith(EndpointDescriptor() + EndpointDescriptor())));
}

TEST(UsbDescriptors, AreRefusedWhenShorterThanADeviceDescriptor) {
    const std::string interface = InterfaceDescriptor(0xFE, 3, 1);
    EXPECT_FALSE(uxvisa::IsUsbInstrument(nullptr, 0));
    EXPECT_FALSE(IsInstrument(interface));
    EXPECT_FALSE(IsInstrument(interface + std::string(8, '\0'))); // 17 bytes
    EXPECT_TRUE(IsInstrument(interface + std::string(9, '\0')));  // 18 bytes
}

TEST(UsbDescriptors, AreRefusedWhenTheyMayHaveBeenCut) {
    EXPECT_TRUE(IsInstrument(PaddedTo(65552)));
    EXPECT_FALSE(IsInstrument(PaddedTo(65553)));
    EXPECT_FALSE(IsInstrument(PaddedTo(65554)));
}

TEST(UsbDescriptors, ALengthOfTwoOrLessEndsTheWalk) {
    for (const int length : {0, 1, 2}) {
        EXPECT_FALSE(IsInstrument(Unwalkable(length))) << length;
        std::string interface = InterfaceDescriptor(0xFE, 3, 1);
        interface[0] = static_cast<char>(length);
        EXPECT_FALSE(IsInstrument(DescriptorsWith(interface))) << length;
    }
}

// The offsets count from the beginning of the descriptor, whatever length it claims.
TEST(UsbDescriptors, AnInterfaceWithAShortLengthIsReadAllTheSame) {
    std::string interface = InterfaceDescriptor(0xFE, 3, 1);
    interface[0] = 3;
    EXPECT_TRUE(IsInstrument(DescriptorsWith(interface)));
}

TEST(UsbDescriptors, ALengthBeyondTheEndEndsTheWalk) {
    EXPECT_FALSE(IsInstrument(Unwalkable(255)));
    EXPECT_FALSE(IsInstrument(DescriptorsWith(Bytes({255, 0x24}))));
}

TEST(UsbDescriptors, AnInterfaceCutBeforeItsProtocolIsNone) {
    const std::string whole = DescriptorsWith(InterfaceDescriptor(0xFE, 3, 1));
    const std::size_t interfaceStart = whole.size() - 9;
    for (std::size_t size = 0; size <= whole.size(); ++size) {
        EXPECT_EQ(IsInstrument(whole.substr(0, size)), size >= interfaceStart + 8) << size;
    }
}
