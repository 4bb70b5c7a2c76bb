#include "companions/protodesc/ProtocolDescription.h"

namespace protodesc {

std::string UpperCased(std::string_view name) {
    std::string upper(name);
    for (char& letter : upper) {
        if (letter >= 'a' && letter <= 'z') {
            letter = static_cast<char>(letter - 'a' + 'A');
        }
    }
    return upper;
}

} // namespace protodesc
