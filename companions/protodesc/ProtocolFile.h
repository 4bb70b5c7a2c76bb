// Brings a Protocol.xml into memory.
#pragma once

#include <optional>
#include <string>

namespace protodesc {

// Null for a file that is not there, not allowed or not a regular file. Of a file larger than a
// document may be, just enough comes to tell.
std::optional<std::string> ReadProtocolFile(const char* path);

} // namespace protodesc
