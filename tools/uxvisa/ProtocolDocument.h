// A Protocol.xml, read by this program itself and without a session.
#pragma once

#include <string>

#include "brix/Protocol.h"
#include "companions/protodesc/ProtocolDescription.h"

namespace uxvisa::tool {

inline constexpr char ProtocolDocumentName[] = "Protocol.xml";

// Throws a Failure that says what is wrong, and in which line.
protodesc::ProtocolDescription LoadProtocolDocument(const std::string& path);

// The names of one description for the codecs; of one at a time, which has to live as long.
brix::ProtocolFunctions FunctionsOf(const protodesc::ProtocolDescription& description);

} // namespace uxvisa::tool
