#include "tools/uxvisa/StatusTable.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <strings.h>

#include "uxvisa/visa.h"

namespace uxvisa::tool {

namespace {

constexpr StatusEntry Entries[] = {
    {"VI_SUCCESS", VI_SUCCESS, ""},
    {"VI_SUCCESS_EVENT_EN", VI_SUCCESS_EVENT_EN,
     "The event was enabled already for one of the mechanisms"},
    {"VI_SUCCESS_EVENT_DIS", VI_SUCCESS_EVENT_DIS,
     "The event was disabled already for one of the mechanisms"},
    {"VI_SUCCESS_QUEUE_EMPTY", VI_SUCCESS_QUEUE_EMPTY, "The event queue was empty already"},
    {"VI_SUCCESS_TERM_CHAR", VI_SUCCESS_TERM_CHAR, "The termination character ended the read"},
    {"VI_SUCCESS_MAX_CNT", VI_SUCCESS_MAX_CNT, "As many bytes as asked for were read"},
    {"VI_SUCCESS_DEV_NPRESENT", VI_SUCCESS_DEV_NPRESENT,
     "The session was opened, but the device does not answer"},
    {"VI_SUCCESS_TRIG_MAPPED", VI_SUCCESS_TRIG_MAPPED, "The trigger lines were connected already"},
    {"VI_SUCCESS_QUEUE_NEMPTY", VI_SUCCESS_QUEUE_NEMPTY,
     "An event was taken, and there are more in the queue"},
    {"VI_SUCCESS_NCHAIN", VI_SUCCESS_NCHAIN,
     "The event was handled, and no further handler is to be called"},
    {"VI_SUCCESS_NESTED_SHARED", VI_SUCCESS_NESTED_SHARED,
     "The session holds one more shared lock"},
    {"VI_SUCCESS_NESTED_EXCLUSIVE", VI_SUCCESS_NESTED_EXCLUSIVE,
     "The session holds one more exclusive lock"},
    {"VI_SUCCESS_SYNC", VI_SUCCESS_SYNC, "The asynchronous request was carried out at once"},
    {"VI_WARN_QUEUE_OVERFLOW", VI_WARN_QUEUE_OVERFLOW,
     "The event queue was full, so an event was lost"},
    {"VI_WARN_CONFIG_NLOADED", VI_WARN_CONFIG_NLOADED,
     "The configuration could not be loaded, so the defaults are in force"},
    {"VI_WARN_NULL_OBJECT", VI_WARN_NULL_OBJECT, "The object reference is null"},
    {"VI_WARN_NSUP_ATTR_STATE", VI_WARN_NSUP_ATTR_STATE,
     "The attribute does not support this state, though it is a valid one"},
    {"VI_WARN_UNKNOWN_STATUS", VI_WARN_UNKNOWN_STATUS, "The status code has no description"},
    {"VI_WARN_NSUP_BUF", VI_WARN_NSUP_BUF, "The buffer cannot be set to this size"},
    {"VI_WARN_EXT_FUNC_NIMPL", VI_WARN_EXT_FUNC_NIMPL,
     "The operation succeeded, but the driver lacks an extended function for it"},
    {"VI_ERROR_SYSTEM_ERROR", VI_ERROR_SYSTEM_ERROR, ""},
    {"VI_ERROR_INV_OBJECT", VI_ERROR_INV_OBJECT, ""},
    {"VI_ERROR_RSRC_LOCKED", VI_ERROR_RSRC_LOCKED, "The resource is locked by another session"},
    {"VI_ERROR_INV_EXPR", VI_ERROR_INV_EXPR, "The search expression is invalid"},
    {"VI_ERROR_RSRC_NFOUND", VI_ERROR_RSRC_NFOUND, ""},
    {"VI_ERROR_INV_RSRC_NAME", VI_ERROR_INV_RSRC_NAME, ""},
    {"VI_ERROR_INV_ACC_MODE", VI_ERROR_INV_ACC_MODE, "The access mode is invalid"},
    {"VI_ERROR_TMO", VI_ERROR_TMO, ""},
    {"VI_ERROR_CLOSING_FAILED", VI_ERROR_CLOSING_FAILED, ""},
    {"VI_ERROR_INV_DEGREE", VI_ERROR_INV_DEGREE, "The degree is invalid"},
    {"VI_ERROR_INV_JOB_ID", VI_ERROR_INV_JOB_ID, "The job identifier is invalid"},
    {"VI_ERROR_NSUP_ATTR", VI_ERROR_NSUP_ATTR, ""},
    {"VI_ERROR_NSUP_ATTR_STATE", VI_ERROR_NSUP_ATTR_STATE,
     "The attribute does not support this state"},
    {"VI_ERROR_ATTR_READONLY", VI_ERROR_ATTR_READONLY, "The attribute cannot be set"},
    {"VI_ERROR_INV_LOCK_TYPE", VI_ERROR_INV_LOCK_TYPE, "The lock type is invalid"},
    {"VI_ERROR_INV_ACCESS_KEY", VI_ERROR_INV_ACCESS_KEY, "The access key is invalid"},
    {"VI_ERROR_INV_EVENT", VI_ERROR_INV_EVENT, "The event type is invalid for this resource"},
    {"VI_ERROR_INV_MECH", VI_ERROR_INV_MECH, "The event mechanism is invalid"},
    {"VI_ERROR_HNDLR_NINSTALLED", VI_ERROR_HNDLR_NINSTALLED,
     "No handler is installed for this event"},
    {"VI_ERROR_INV_HNDLR_REF", VI_ERROR_INV_HNDLR_REF,
     "The handler or its user handle is not the one that was installed"},
    {"VI_ERROR_INV_CONTEXT", VI_ERROR_INV_CONTEXT, "The event context is invalid"},
    {"VI_ERROR_QUEUE_OVERFLOW", VI_ERROR_QUEUE_OVERFLOW,
     "The event queue is full, so an event was lost"},
    {"VI_ERROR_NENABLED", VI_ERROR_NENABLED, "The session is not enabled for this event"},
    {"VI_ERROR_ABORT", VI_ERROR_ABORT, ""},
    {"VI_ERROR_RAW_WR_PROT_VIOL", VI_ERROR_RAW_WR_PROT_VIOL,
     "The write handshake of the bus was violated during the transfer"},
    {"VI_ERROR_RAW_RD_PROT_VIOL", VI_ERROR_RAW_RD_PROT_VIOL,
     "The read handshake of the bus was violated during the transfer"},
    {"VI_ERROR_OUTP_PROT_VIOL", VI_ERROR_OUTP_PROT_VIOL,
     "The device reported an output protocol error during the transfer"},
    {"VI_ERROR_INP_PROT_VIOL", VI_ERROR_INP_PROT_VIOL, ""},
    {"VI_ERROR_BERR", VI_ERROR_BERR, "A bus error occurred during the transfer"},
    {"VI_ERROR_IN_PROGRESS", VI_ERROR_IN_PROGRESS,
     "Another asynchronous transfer is still going on"},
    {"VI_ERROR_INV_SETUP", VI_ERROR_INV_SETUP,
     "The attributes are set to states that do not go together"},
    {"VI_ERROR_QUEUE_ERROR", VI_ERROR_QUEUE_ERROR, "The asynchronous transfer could not be queued"},
    {"VI_ERROR_ALLOC", VI_ERROR_ALLOC, "There is not enough memory"},
    {"VI_ERROR_INV_MASK", VI_ERROR_INV_MASK, "The buffer mask is invalid"},
    {"VI_ERROR_IO", VI_ERROR_IO, ""},
    {"VI_ERROR_INV_FMT", VI_ERROR_INV_FMT, ""},
    {"VI_ERROR_NSUP_FMT", VI_ERROR_NSUP_FMT, "A format specifier is not supported"},
    {"VI_ERROR_LINE_IN_USE", VI_ERROR_LINE_IN_USE, "The trigger line is in use"},
    {"VI_ERROR_LINE_NRESERVED", VI_ERROR_LINE_NRESERVED, "The trigger line is not reserved"},
    {"VI_ERROR_NSUP_MODE", VI_ERROR_NSUP_MODE, "The mode is not supported"},
    {"VI_ERROR_SRQ_NOCCURRED", VI_ERROR_SRQ_NOCCURRED, "No service request has been received"},
    {"VI_ERROR_INV_SPACE", VI_ERROR_INV_SPACE, "The address space is invalid"},
    {"VI_ERROR_INV_OFFSET", VI_ERROR_INV_OFFSET, "The offset is invalid"},
    {"VI_ERROR_INV_WIDTH", VI_ERROR_INV_WIDTH, "The width is invalid"},
    {"VI_ERROR_NSUP_OFFSET", VI_ERROR_NSUP_OFFSET, "The offset cannot be reached from this host"},
    {"VI_ERROR_NSUP_VAR_WIDTH", VI_ERROR_NSUP_VAR_WIDTH,
     "Source and destination cannot differ in width"},
    {"VI_ERROR_WINDOW_NMAPPED", VI_ERROR_WINDOW_NMAPPED, "No window is mapped"},
    {"VI_ERROR_RESP_PENDING", VI_ERROR_RESP_PENDING,
     "An earlier response is still waiting to be read"},
    {"VI_ERROR_NLISTENERS", VI_ERROR_NLISTENERS, "No device on the bus listens"},
    {"VI_ERROR_NCIC", VI_ERROR_NCIC, "The interface is not the controller in charge of the bus"},
    {"VI_ERROR_NSYS_CNTLR", VI_ERROR_NSYS_CNTLR,
     "The interface is not the system controller of the bus"},
    {"VI_ERROR_NSUP_OPER", VI_ERROR_NSUP_OPER, "The resource does not support the operation"},
    {"VI_ERROR_INTR_PENDING", VI_ERROR_INTR_PENDING, "An earlier interrupt is still pending"},
    {"VI_ERROR_ASRL_PARITY", VI_ERROR_ASRL_PARITY, "A parity error occurred on the serial line"},
    {"VI_ERROR_ASRL_FRAMING", VI_ERROR_ASRL_FRAMING, "A framing error occurred on the serial line"},
    {"VI_ERROR_ASRL_OVERRUN", VI_ERROR_ASRL_OVERRUN,
     "Characters were lost on the serial line because they were not read in time"},
    {"VI_ERROR_TRIG_NMAPPED", VI_ERROR_TRIG_NMAPPED, "The trigger lines are not connected"},
    {"VI_ERROR_NSUP_ALIGN_OFFSET", VI_ERROR_NSUP_ALIGN_OFFSET,
     "The offset is not aligned to the width"},
    {"VI_ERROR_USER_BUF", VI_ERROR_USER_BUF,
     "A buffer or variable that the program passed cannot be used"},
    {"VI_ERROR_RSRC_BUSY", VI_ERROR_RSRC_BUSY, ""},
    {"VI_ERROR_NSUP_WIDTH", VI_ERROR_NSUP_WIDTH, "The width is not supported"},
    {"VI_ERROR_INV_PARAMETER", VI_ERROR_INV_PARAMETER, "A parameter is invalid"},
    {"VI_ERROR_INV_PROT", VI_ERROR_INV_PROT, "The protocol is invalid"},
    {"VI_ERROR_INV_SIZE", VI_ERROR_INV_SIZE, "The size of the window is invalid"},
    {"VI_ERROR_WINDOW_MAPPED", VI_ERROR_WINDOW_MAPPED, "A window is mapped already"},
    {"VI_ERROR_NIMPL_OPER", VI_ERROR_NIMPL_OPER, ""},
    {"VI_ERROR_INV_LENGTH", VI_ERROR_INV_LENGTH, "The length is invalid"},
    {"VI_ERROR_INV_MODE", VI_ERROR_INV_MODE, "The mode is invalid"},
    {"VI_ERROR_SESN_NLOCKED", VI_ERROR_SESN_NLOCKED, "The session holds no lock"},
    {"VI_ERROR_MEM_NSHARED", VI_ERROR_MEM_NSHARED, "The device has no memory that it shares"},
    {"VI_ERROR_LIBRARY_NFOUND", VI_ERROR_LIBRARY_NFOUND, ""},
    {"VI_ERROR_NSUP_INTR", VI_ERROR_NSUP_INTR, "The interrupt or interrupt level is not supported"},
    {"VI_ERROR_INV_LINE", VI_ERROR_INV_LINE, "The line is invalid"},
    {"VI_ERROR_FILE_ACCESS", VI_ERROR_FILE_ACCESS, "The file cannot be opened"},
    {"VI_ERROR_FILE_IO", VI_ERROR_FILE_IO, "The file could not be read or written"},
    {"VI_ERROR_NSUP_LINE", VI_ERROR_NSUP_LINE, "The line is not supported"},
    {"VI_ERROR_NSUP_MECH", VI_ERROR_NSUP_MECH, "The event mechanism is not supported"},
    {"VI_ERROR_INTF_NUM_NCONFIG", VI_ERROR_INTF_NUM_NCONFIG,
     "The interface number is not configured"},
    {"VI_ERROR_CONN_LOST", VI_ERROR_CONN_LOST, ""},
    {"VI_ERROR_MACHINE_NAVAIL", VI_ERROR_MACHINE_NAVAIL,
     "The remote machine does not exist or takes no connections"},
    {"VI_ERROR_NPERMISSION", VI_ERROR_NPERMISSION, "Access is denied"},
};

constexpr StatusEntry OlderNames[] = {
    {"VI_ERROR_INV_SESSION", VI_ERROR_INV_SESSION, ""},
};

bool SameName(std::string_view left, std::string_view right) {
    return left.size() == right.size() &&
           ::strncasecmp(left.data(), right.data(), left.size()) == 0;
}

} // namespace

std::span<const StatusEntry> StatusEntries() {
    return Entries;
}

const StatusEntry* FindStatus(ViStatus status) {
    const auto* found = std::ranges::find(Entries, status, &StatusEntry::status);
    return found == std::end(Entries) ? nullptr : found;
}

const StatusEntry* FindStatus(std::string_view name) {
    const auto named = [name](const StatusEntry& entry) { return SameName(entry.name, name); };
    if (const auto* found = std::ranges::find_if(Entries, named); found != std::end(Entries)) {
        return found;
    }
    const auto* older = std::ranges::find_if(OlderNames, named);
    return older == std::end(OlderNames) ? nullptr : FindStatus(older->status);
}

std::string LibraryText(ViStatus status) {
    std::array<ViChar, VI_FIND_BUFLEN> text{};
    viStatusDesc(VI_NULL, status, text.data());
    return text.data();
}

std::string StatusText(ViStatus status) {
    std::string text = LibraryText(status);
    if (text.empty()) {
        const StatusEntry* entry = FindStatus(status);
        text = entry == nullptr ? "Unknown status" : entry->description;
    }
    return text;
}

std::string StatusNumber(ViStatus status) {
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), "0x%08X", static_cast<std::uint32_t>(status));
    return text.data();
}

std::string StatusLabel(ViStatus status) {
    const StatusEntry* entry = FindStatus(status);
    const std::string number = StatusNumber(status);
    return entry == nullptr ? number : std::string(entry->name) + ", " + number;
}

} // namespace uxvisa::tool
