#include "api/StatusTexts.h"

#include "uxvisa/visatype.h"

namespace uxvisa {

namespace {

// Programs written for 32-bit statuses hand the code over zero-extended.
long SignExtended(long status) {
    const auto bits = static_cast<unsigned long>(status);
    return bits >> 32 == 0 ? static_cast<long>(static_cast<int>(bits)) : status;
}

} // namespace

const char* StatusText(long status) {
    switch (SignExtended(status)) {
    case VI_SUCCESS:
        return "Operation completed successfully";
    case VI_ERROR_SYSTEM_ERROR:
        return "Unknown system error (miscellaneous error)";
    case VI_ERROR_INV_OBJECT:
        return "The given session or object reference is invalid";
    case VI_ERROR_RSRC_NFOUND:
        return "Insufficient location information or the device or resource is not present in the "
               "system";
    case VI_ERROR_INV_RSRC_NAME:
        return "Invalid resource reference specified. Parsing error";
    case VI_ERROR_TMO:
        return "Timeout expired before operation completed";
    case VI_ERROR_CLOSING_FAILED:
        return "The VISA driver failed to properly close the session or object reference";
    case VI_ERROR_NSUP_ATTR:
        return "The specified attribute is not defined or supported by the referenced resource";
    case VI_ERROR_ABORT:
        return "User abort occurred during transfer";
    case VI_ERROR_INP_PROT_VIOL:
        return "Device reported an input protocol error during transfer";
    case VI_ERROR_IO:
        return "Could not perform operation because of I/O error";
    case VI_ERROR_INV_FMT:
        return "A format specifier in the format string is invalid";
    case VI_ERROR_RSRC_BUSY:
        return "The resource is valid, but VISA cannot currently access it";
    case VI_ERROR_NIMPL_OPER:
        return "The given operation is not implemented";
    case VI_ERROR_LIBRARY_NFOUND:
        return "A code library required by VISA could not be located or loaded";
    case VI_ERROR_CONN_LOST:
        return "The connection for the given session has been lost";
    default:
        return "";
    }
}

} // namespace uxvisa
