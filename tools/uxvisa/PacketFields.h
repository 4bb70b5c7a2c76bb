// A packet of the binary command protocol, field by field.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "brix/Protocol.h"

namespace uxvisa::tool {

struct PacketField {
    std::size_t offset;
    // What is here of it.
    std::string_view bytes;
    std::string name;
    std::string meaning;
};

// Every byte is in one field, in the order of the packet. The fields refer to the packet's bytes.
std::vector<PacketField> FieldsOf(std::string_view packet, const brix::ProtocolNames& names);

// Why these bytes are not one packet, if they are not.
std::optional<std::string> FaultOf(std::string_view packet);

// The line that a session makes of it.
std::string LineOf(std::string_view packet, const brix::ProtocolNames& names);

} // namespace uxvisa::tool
