#include "tools/uxvisa/SessionAttribute.h"

#include <algorithm>
#include <array>

#include "tools/uxvisa/ParsedResource.h"
#include "tools/uxvisa/StatusTable.h"
#include "tools/uxvisa/Table.h"

namespace uxvisa::tool {

namespace {

using Meaning = SessionAttribute::Meaning;

constexpr SessionAttribute Attributes[] = {
    {"VI_ATTR_TMO_VALUE", VI_ATTR_TMO_VALUE, Meaning::Milliseconds},
    {"VI_ATTR_TERMCHAR_EN", VI_ATTR_TERMCHAR_EN, Meaning::Switch},
    {"VI_ATTR_INTF_TYPE", VI_ATTR_INTF_TYPE, Meaning::Interface},
    {"VI_ATTR_RSRC_MANF_NAME", VI_ATTR_RSRC_MANF_NAME, Meaning::Text},
};

// Texts have 256 bytes; a driver library may think otherwise.
using Buffer = std::array<char, 4096>;

constexpr char FirstFill = '\x5A';
constexpr char SecondFill = '\xA5';

} // namespace

std::span<const SessionAttribute> SessionAttributes() {
    return Attributes;
}

AttributeReading ReadAttribute(const AttributeQuestion& ask) {
    alignas(ViUInt32) Buffer first{};
    alignas(ViUInt32) Buffer second{};
    first.fill(FirstFill);
    second.fill(SecondFill);
    ask(first.data());
    AttributeReading reading;
    reading.status = ask(second.data());
    if (reading.status >= VI_SUCCESS) {
        const auto difference = std::ranges::mismatch(first, second);
        reading.stored.assign(first.data(),
                              static_cast<std::size_t>(difference.in1 - first.begin()));
    }
    return reading;
}

ViUInt32 NumberOf(const AttributeReading& reading) {
    ViUInt32 number = 0;
    const std::size_t size = std::min(reading.stored.size(), sizeof number);
    for (std::size_t i = size; i > 0; --i) {
        number = number << 8 | static_cast<unsigned char>(reading.stored[i - 1]);
    }
    return number;
}

std::string TextOf(const AttributeReading& reading) {
    return reading.stored.substr(0, reading.stored.find('\0'));
}

std::string DescribedReading(const SessionAttribute& attribute, const AttributeReading& reading,
                             bool isSerial) {
    if (reading.status < VI_SUCCESS) {
        return "not answered (" + StatusLabel(reading.status) + ")";
    }
    if (reading.stored.empty()) {
        return "not stored";
    }
    const ViUInt32 number = NumberOf(reading);
    switch (attribute.meaning) {
    case Meaning::Milliseconds:
        return std::to_string(number) + (isSerial ? " tenths of a second" : " ms");
    case Meaning::Switch:
        return std::to_string(number) + (number == 0 ? " (off)" : " (on)");
    case Meaning::Interface:
        return std::to_string(number) + " (" + InterfaceName(static_cast<unsigned short>(number)) +
               ")";
    case Meaning::Text:
        break;
    }
    return Cell(TextOf(reading));
}

} // namespace uxvisa::tool
