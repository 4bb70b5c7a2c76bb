#include "tools/emulator/Discovery.h"

namespace emulator {

std::string AnswerDiscovery(std::string_view request, const std::string& host, std::uint16_t port,
                            const Identity& identity) {
    if (request != "UxVISA Discovery") {
        return {};
    }
    const std::string name = Identity::Manufacturer + (" " + identity.model);
    return host + '\t' + std::to_string(port) + '\t' + name + '\t' + identity.model + ' ' +
           identity.serial;
}

} // namespace emulator
