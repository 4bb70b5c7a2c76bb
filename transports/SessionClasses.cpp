#include "core/SessionClasses.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include "brix/SessionBRIX.h"
#include "transports/SessionASRL.h"
#include "transports/SessionExt.h"
#include "transports/SessionTCPIP.h"
#include "transports/SessionUSBTMC.h"
#include "transports/SessionUSOCK.h"
#include "transports/SessionVXI11.h"
#include "uxvisa/visatype.h"

namespace uxvisa {

namespace {

// A class word that a driver library serves, whatever the interface.
struct DriverWord {
    std::string_view word;
    const char* library;
    bool mustExist; // tested without a word; a library not tested complains on standard error
};

// The four with an empty name are reserved on purpose: the test passes, since the loader takes the
// empty name for the running program, and the session then answers that it has no library. The
// ".dll" names go to the loader as they stand; installations put files of these names on its path.
constexpr DriverWord DriverWords[] = {
    {"ECAL", "ecalbridge.dll", false},
    {"TRM", "trmbridge.dll", false},
    {"QUILL", "quillbridge.dll", false},
    {"VNA", "", true},
    {"SA", "", true},
    {"NFA", "", true},
    {"GEN", "", true},
    {"NFM", "libbridge_nfm.so", true},
    {"GNM", "libbridge_gnm.so", true},
    {"SAPROC", "libbridge_saproc.so", false},
};

template <typename Session, typename... Argument>
SessionChoice Chosen(Argument... arguments) {
    return {VI_SUCCESS, std::make_unique<Session>(arguments...)};
}

SessionChoice NotFound() {
    return {VI_ERROR_RSRC_NFOUND, nullptr};
}

SessionChoice MakeDriverSession(const DriverWord& driver) {
    if (driver.mustExist && !IsLibExists(driver.library)) {
        return {VI_ERROR_LIBRARY_NFOUND, nullptr};
    }
    return Chosen<CSessionExt>(driver.library);
}

} // namespace

// The word decides before the interface does.
SessionChoice MakeSession(const std::string& classWord, unsigned short interfaceType,
                          ISession* manager) {
    const auto driver = std::find_if(std::begin(DriverWords), std::end(DriverWords),
                                     [&](const DriverWord& row) { return row.word == classWord; });
    if (driver != std::end(DriverWords)) {
        return MakeDriverSession(*driver);
    }
    if (classWord == "BRIX") {
        return Chosen<CSessionBRIX>(manager);
    }
    switch (interfaceType) {
    case VI_INTF_ASRL:
        return Chosen<CSessionASRL>();
    case VI_INTF_TCPIP:
        return classWord == "INSTR" ? Chosen<CSessionVXI11>() : Chosen<CSessionTCPIP>();
    case VI_INTF_USOCK:
        return Chosen<CSessionUSOCK>();
    default:
        return NotFound();
    }
}

std::vector<std::unique_ptr<ISession>> MakeSearchableSessions() {
    std::vector<std::unique_ptr<ISession>> sessions;
    sessions.push_back(std::make_unique<CSessionASRL>());
    sessions.push_back(std::make_unique<CSessionTCPIP>());
    sessions.push_back(std::make_unique<CSessionVXI11>());
    sessions.push_back(std::make_unique<CSessionUSBTMC>());
    return sessions;
}

} // namespace uxvisa
