// The transports' diagnostic hook.
#pragma once

#include <string>

#include "Library/Export.h"

// Does nothing. The library calls it through its exported symbol, so that a program that defines it
// hears the messages.
UXVISA_API void LogMessage(std::string category, std::string text);
