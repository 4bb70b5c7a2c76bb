// Which kind of session serves a resource, in the words of a user.
#pragma once

#include <string>

#include "tools/uxvisa/ParsedResource.h"

namespace uxvisa::tool {

enum class SessionKind {
    TcpSocket,
    Vxi11,
    LocalSocket,
    SerialPort,
    DriverLibrary,
    BinaryProtocol,
    None
};

// The class word, in upper case, decides before the interface does.
SessionKind KindOfSession(const std::string& classWord, unsigned short interfaceType);

// "tcp-socket": the word for programs.
std::string KindWord(SessionKind kind);

// The library of a driver's class word; empty for a word that has none.
std::string DriverLibraryOf(const std::string& classWord);

// "raw TCP socket: port 5025 of 192.0.2.7". The bound driver is what --driver names, or empty.
std::string DescribedSession(const ParsedResource& resource, const std::string& boundDriver);

} // namespace uxvisa::tool
