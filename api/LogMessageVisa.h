// The front end's diagnostic hook.
#pragma once

#include <string>

#include "Library/Export.h"

// Does nothing. The library calls it through its exported symbol, so that a program that defines it
// hears the messages.
UXVISA_API void LogMessageVisa(std::string function, std::string message);
