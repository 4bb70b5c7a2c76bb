// Reads the text of a Protocol.xml.
#pragma once

#include <cstddef>
#include <string>
#include <variant>

#include "companions/protodesc/ProtocolDescription.h"

namespace protodesc {

// Far more than 65536 commands, parameters and errors each need.
constexpr std::size_t MaxDocumentSize = std::size_t{32} << 20U;

struct Fault {
    enum class Kind { NotWellFormed, AgainstSchema };
    Kind kind;
    unsigned long line; // from 1
    std::string message;
};

// The description, or the first fault found. Throws std::bad_alloc only.
std::variant<ProtocolDescription, Fault> ParseProtocol(const char* data, std::size_t size);

} // namespace protodesc
