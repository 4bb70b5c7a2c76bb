// The script and the log of the logging driver library. A test loads the library as the sessions do
// and asks it for these.
#pragma once

#include <deque>
#include <map>
#include <string>
#include <vector>

#include "uxvisa/visatype.h"

namespace uxvisa::test {

struct DriverScript {
    // "write 7 000102…", "read 7 24", "open 0 NAME 1 2000" and so on, in order. Handles and numbers
    // are decimal, bytes hexadecimal.
    std::vector<std::string> log;
    // What reads hand out, exactly as many bytes as are asked for; fewer are a time-out.
    std::string incoming;
    // Statuses that the next calls of a function return in place of what they would; VI_SUCCESS
    // leaves a call alone.
    std::map<std::string, std::deque<ViStatus>> statuses;
    ViSession nextHandle = 100;
    bool changesName = false; // uxOpen writes into the string it is given
};

} // namespace uxvisa::test

extern "C" uxvisa::test::DriverScript* LoggingDriverScript();
