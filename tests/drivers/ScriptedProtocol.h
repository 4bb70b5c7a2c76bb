// The script and the log of the tests' protocol-description library. A test loads the library as
// the sessions do and asks it for these.
#pragma once

#include <string>
#include <vector>

namespace uxvisa::test {

struct ProtocolScript {
    // "open 7", "load 7 Protocol.xml", "close 7", in order; look-ups are not logged.
    std::vector<std::string> log;
    int nextHandle = 7;
    int openResult = 0;
    int loadResult = 0;
    bool namesAreNull = false;
};

} // namespace uxvisa::test

extern "C" uxvisa::test::ProtocolScript* ScriptedProtocolScript();
