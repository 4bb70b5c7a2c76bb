// A line of text becomes a packet. Needs no session.
#pragma once

#include <string_view>
#include <vector>

#include "brix/Protocol.h"

namespace uxvisa::brix {

// "NAME", "NAME=1.5 2", "NAME?" or "NAME!", with header fields in parentheses behind the name if
// wanted: "NAME (status=0 id=7)=1.5". The line ends where the text does or at a NUL, its values
// also at `terminator`.
// VI_SUCCESS with a whole packet in `packet`; VI_ERROR_INP_PROT_VIOL, with `packet` as it was, for
// everything that is not understood.
long EncodeLine(std::string_view line, char terminator, const ProtocolNames& names,
                std::vector<unsigned char>& packet);

} // namespace uxvisa::brix
