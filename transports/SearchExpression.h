// What a search on the LAN reports: the records that match the expression, each instrument once.
// Pure functions over texts.
#pragma once

#include <string_view>

namespace uxvisa {

// A record matches an empty expression; one that occurs anywhere in the upper-cased record; and one
// whose pieces between "?*" occur in order in the upper-cased resource string, the first at its
// start and the last at its end. The expression itself is not upper-cased, on purpose: expressions
// written in the case of model names keep working as they did.
bool MatchesExpression(std::string_view expression, std::string_view record);

// True when both records stand for one instrument, found over two interfaces or at two addresses:
// they agree apart from the digits behind "TCPIP" and the last field, the sender's address.
bool SameInstrument(std::string_view one, std::string_view other);

} // namespace uxvisa
