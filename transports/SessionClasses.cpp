#include "core/SessionClasses.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include "transports/SessionTCPIP.h"
#include "uxvisa/visatype.h"

namespace uxvisa {

namespace {

// Words that name a session class of their own, whatever the interface.
constexpr std::string_view OwnClasses[] = {"BRIX", "ECAL", "TRM", "QUILL", "VNA",   "SA",
                                           "NFA",  "GEN",  "NFM", "GNM",   "SAPROC"};

bool HasOwnClass(const std::string& classWord) {
    return std::find(std::begin(OwnClasses), std::end(OwnClasses), classWord) !=
           std::end(OwnClasses);
}

} // namespace

// The word decides before the interface does.
SessionChoice MakeSession(const std::string& classWord, unsigned short interfaceType, ISession*) {
    if (HasOwnClass(classWord) || classWord == "INSTR") {
        return {VI_ERROR_RSRC_NFOUND, nullptr};
    }
    if (interfaceType == VI_INTF_TCPIP) {
        return {VI_SUCCESS, std::make_unique<CSessionTCPIP>()};
    }
    return {VI_ERROR_RSRC_NFOUND, nullptr};
}

} // namespace uxvisa
