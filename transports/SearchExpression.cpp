#include "transports/SearchExpression.h"

#include <algorithm>
#include <string>

#include "core/CommonLib.h"

namespace uxvisa {

namespace {

constexpr std::string_view AnyText = "?*";
constexpr std::string_view Interface = "TCPIP";

// Takes the piece in front of the next "?*" off `expression`; the rest follows it.
std::string_view TakePiece(std::string_view& expression) {
    const std::size_t end = expression.find(AnyText);
    const std::string_view piece = expression.substr(0, end);
    expression.remove_prefix(end + AnyText.size());
    return piece;
}

// The earliest places are good enough for the pieces in the middle: nothing is lost by them.
bool MatchesPieces(std::string_view expression, std::string_view resource) {
    const std::string_view first = TakePiece(expression);
    if (!resource.starts_with(first)) {
        return false;
    }
    resource.remove_prefix(first.size());
    while (expression.find(AnyText) != std::string_view::npos) {
        const std::string_view piece = TakePiece(expression);
        const std::size_t at = resource.find(piece);
        if (at == std::string_view::npos) {
            return false;
        }
        resource.remove_prefix(at + piece.size());
    }
    return resource.ends_with(expression);
}

std::string_view WithoutNumber(std::string_view record) {
    if (record.starts_with(Interface)) {
        record.remove_prefix(Interface.size());
        record.remove_prefix(std::min(record.find_first_not_of("0123456789"), record.size()));
    }
    return record;
}

std::string_view WithoutAddress(std::string_view record) {
    return record.substr(0, record.rfind('\n'));
}

} // namespace

bool MatchesExpression(std::string_view expression, std::string_view record) {
    const std::string upper = UpperCased(std::string(record).c_str());
    if (upper.find(expression) != std::string::npos) {
        return true;
    }
    return expression.find(AnyText) != std::string_view::npos &&
           MatchesPieces(expression, std::string_view(upper).substr(0, upper.find('\n')));
}

bool SameInstrument(std::string_view one, std::string_view other) {
    return one.starts_with(Interface) == other.starts_with(Interface) &&
           WithoutAddress(WithoutNumber(one)) == WithoutAddress(WithoutNumber(other));
}

} // namespace uxvisa
