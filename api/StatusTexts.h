// English sentences for the statuses that the library returns most.
#pragma once

namespace uxvisa {

// The text of a status, "" for one without. Accepts the code sign-extended or zero-extended to 64
// bits.
const char* StatusText(long status);

} // namespace uxvisa
