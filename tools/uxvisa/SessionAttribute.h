// The attributes that an open session is asked for, and what its answers mean.
#pragma once

#include <functional>
#include <span>
#include <string>
#include <string_view>

#include "uxvisa/visatype.h"

namespace uxvisa::tool {

struct SessionAttribute {
    enum class Meaning { Milliseconds, Switch, Interface, Text };

    std::string_view name;
    ViAttr id;
    Meaning meaning;
};

std::span<const SessionAttribute> SessionAttributes();

struct AttributeReading {
    ViStatus status = VI_SUCCESS;
    // The bytes that the session stored; a success may have stored none.
    std::string stored;
};

// Stores an attribute's value and gives the status.
using AttributeQuestion = std::function<ViStatus(void* value)>;

// Asks twice, with other bytes in place each time: what then differs was not stored.
AttributeReading ReadAttribute(const AttributeQuestion& ask);

// Of the stored bytes, the lowest first.
ViUInt32 NumberOf(const AttributeReading& reading);
// Up to the NUL.
std::string TextOf(const AttributeReading& reading);
// "100000 ms", "1 (on)", "not stored", or the status of an attribute that the session does not
// have. The time-out of a serial port counts in tenths of a second.
std::string DescribedReading(const SessionAttribute& attribute, const AttributeReading& reading,
                             bool isSerial);

} // namespace uxvisa::tool
