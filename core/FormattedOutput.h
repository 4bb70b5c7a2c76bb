// The engine behind viPrintf and the write half of viQueryf.
#pragma once

#include <cstdarg>

#include "core/ISession.h"

namespace uxvisa {

// Renders `format` with the arguments it consumes from `arguments` and sends the text through
// session.Write(), in several calls when it is longer than 64000 bytes. Returns the status of the
// last Write; VI_ERROR_INV_FMT or VI_ERROR_NSUP_FMT for a bad format, with what was not sent yet
// dropped.
long PrintFormatted(ISession& session, const char* format, va_list& arguments);

} // namespace uxvisa
