// The engine behind viScanf and the read half of viQueryf, once the read buffer is filled.
#pragma once

#include <cstdarg>
#include <string>

namespace uxvisa {

// Matches `format` against the head of `buffer` and stores into the pointers of `arguments`. The
// bytes that matched leave the buffer, also when a later piece fails. `skipUntil` becomes '\n' when
// a line was taken whose end has not arrived yet.
// VI_SUCCESS; VI_ERROR_INV_FMT for text or a format that does not match; VI_ERROR_NSUP_FMT for a
// conversion that is not served.
long ScanFormatted(std::string& buffer, unsigned char& skipUntil, const char* format,
                   va_list& arguments);

} // namespace uxvisa
