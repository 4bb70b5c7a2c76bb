#include "core/SessionClasses.h"

#include "transports/SessionTCPIP.h"
#include "uxvisa/visatype.h"

namespace uxvisa {

SessionChoice MakeSession(const std::string& classWord, unsigned short interfaceType, ISession*) {
    if (classWord != "INSTR" && interfaceType == VI_INTF_TCPIP) {
        return {VI_SUCCESS, std::make_unique<CSessionTCPIP>()};
    }
    return {VI_ERROR_RSRC_NFOUND, nullptr};
}

} // namespace uxvisa
