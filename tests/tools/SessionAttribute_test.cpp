#include "tools/uxvisa/SessionAttribute.h"

#include <gtest/gtest.h>

#include <cstring>

using namespace uxvisa::tool;
using Meaning = SessionAttribute::Meaning;

namespace {

template <typename Number>
AttributeReading Storing(Number number) {
    return ReadAttribute([number](void* value) {
        std::memcpy(value, &number, sizeof number);
        return VI_SUCCESS;
    });
}

AttributeReading StoringText(const std::string& text) {
    return ReadAttribute([&text](void* value) {
        std::memcpy(value, text.c_str(), text.size() + 1);
        return VI_SUCCESS;
    });
}

AttributeReading Answering(ViStatus status) {
    return ReadAttribute([status](void*) { return status; });
}

std::string Described(Meaning meaning, const AttributeReading& reading, bool isSerial = false) {
    return DescribedReading({"", 0, meaning}, reading, isSerial);
}

} // namespace

TEST(SessionAttribute, ASuccessThatStoresNothingIsSeen) {
    EXPECT_EQ(Answering(VI_SUCCESS).stored, "");
    for (const Meaning meaning :
         {Meaning::Milliseconds, Meaning::Switch, Meaning::Interface, Meaning::Text}) {
        EXPECT_EQ(Described(meaning, Answering(VI_SUCCESS)), "not stored");
    }
}

TEST(SessionAttribute, HasTheWidthThatIsStored) {
    EXPECT_EQ(Storing(std::uint16_t{4}).stored.size(), 2U);
    EXPECT_EQ(Storing(std::uint32_t{26}).stored.size(), 4U);
    EXPECT_EQ(Storing(std::uint64_t{100000}).stored.size(), 8U);
    EXPECT_EQ(NumberOf(Storing(std::uint16_t{4})), 4U);
    EXPECT_EQ(NumberOf(Storing(std::uint32_t{0x80000001})), 0x80000001U);
    EXPECT_EQ(NumberOf(Storing(std::uint64_t{0x123456789ABCDEF0})), 0x123456789ABCDEF0U);
}

TEST(SessionAttribute, MayLookLikeWhatWasThereBefore) {
    EXPECT_EQ(NumberOf(Storing(std::uint32_t{0x5A5A5A5A})), 0x5A5A5A5AU);
    EXPECT_EQ(NumberOf(Storing(std::uint32_t{0xA5A5A5A5})), 0xA5A5A5A5U);
}

TEST(SessionAttribute, IsDescribedInWords) {
    EXPECT_EQ(Described(Meaning::Milliseconds, Storing(std::uint64_t{100000})), "100000 ms");
    EXPECT_EQ(Described(Meaning::Switch, Storing(std::uint32_t{0})), "0 (off)");
    EXPECT_EQ(Described(Meaning::Switch, Storing(std::uint32_t{1})), "1 (on)");
    EXPECT_EQ(Described(Meaning::Interface, Storing(std::uint16_t{4})), "4 (ASRL)");
    EXPECT_EQ(Described(Meaning::Text, StoringText("Orvane")), "Orvane");
    EXPECT_EQ(Described(Meaning::Text, StoringText("")), "-");
    EXPECT_EQ(Described(Meaning::Text, StoringText("\x1B[2J")), "\\x1B[2J");
}

TEST(SessionAttribute, TheTimeoutOfASerialPortCountsInTenths) {
    EXPECT_EQ(Described(Meaning::Milliseconds, Storing(std::uint32_t{26}), true),
              "26 tenths of a second");
}

TEST(SessionAttribute, AnErrorIsNamedWhateverWasStored) {
    const AttributeReading reading = ReadAttribute([](void* value) {
        std::memset(value, 0, 8);
        return VI_ERROR_NSUP_ATTR;
    });
    EXPECT_EQ(Described(Meaning::Switch, reading), "not answered (VI_ERROR_NSUP_ATTR, 0xBFFF001D)");
    EXPECT_EQ(reading.stored, "");
}

TEST(SessionAttribute, TextEndsAtItsNulOrWithWhatIsStored) {
    EXPECT_EQ(TextOf({VI_SUCCESS, std::string("ab\0cd", 5)}), "ab");
    EXPECT_EQ(TextOf({VI_SUCCESS, "ab"}), "ab");
}
