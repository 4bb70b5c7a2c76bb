#include <gtest/gtest.h>

#include <cstring>

#include "uxvisa/visa.h"

namespace {

std::string Described(ViStatus status, ViObject vi = 0) {
    char text[VI_FIND_BUFLEN];
    std::memset(text, 'x', sizeof text);
    EXPECT_EQ(viStatusDesc(vi, status, text), VI_SUCCESS);
    return text;
}

} // namespace

TEST(StatusDesc, KnowsSixteenTexts) {
    EXPECT_EQ(Described(VI_SUCCESS), "Operation completed successfully");
    EXPECT_EQ(Described(VI_ERROR_SYSTEM_ERROR), "Unknown system error (miscellaneous error)");
    EXPECT_EQ(Described(VI_ERROR_INV_OBJECT), "The given session or object reference is invalid");
    EXPECT_EQ(Described(VI_ERROR_RSRC_NFOUND),
              "Insufficient location information or the device or resource is not present in the "
              "system");
    EXPECT_EQ(Described(VI_ERROR_INV_RSRC_NAME),
              "Invalid resource reference specified. Parsing error");
    EXPECT_EQ(Described(VI_ERROR_TMO), "Timeout expired before operation completed");
    EXPECT_EQ(Described(VI_ERROR_CLOSING_FAILED),
              "The VISA driver failed to properly close the session or object reference");
    EXPECT_EQ(Described(VI_ERROR_NSUP_ATTR),
              "The specified attribute is not defined or supported by the referenced resource");
    EXPECT_EQ(Described(VI_ERROR_ABORT), "User abort occurred during transfer");
    EXPECT_EQ(Described(VI_ERROR_INP_PROT_VIOL),
              "Device reported an input protocol error during transfer");
    EXPECT_EQ(Described(VI_ERROR_IO), "Could not perform operation because of I/O error");
    EXPECT_EQ(Described(VI_ERROR_INV_FMT), "A format specifier in the format string is invalid");
    EXPECT_EQ(Described(VI_ERROR_RSRC_BUSY),
              "The resource is valid, but VISA cannot currently access it");
    EXPECT_EQ(Described(VI_ERROR_NIMPL_OPER), "The given operation is not implemented");
    EXPECT_EQ(Described(VI_ERROR_LIBRARY_NFOUND),
              "A code library required by VISA could not be located or loaded");
    EXPECT_EQ(Described(VI_ERROR_CONN_LOST), "The connection for the given session has been lost");
}

TEST(StatusDesc, OtherCodesAreEmptyAndStillASuccess) {
    EXPECT_EQ(Described(VI_SUCCESS_TERM_CHAR), "");
    EXPECT_EQ(Described(VI_ERROR_NSUP_OPER), "");
    EXPECT_EQ(Described(-1), "");
    EXPECT_EQ(Described(1), "");
}

TEST(StatusDesc, AcceptsZeroExtendedCodes) {
    EXPECT_EQ(Described(0xBFFF0015L), "Timeout expired before operation completed");
    EXPECT_EQ(Described(static_cast<ViStatus>(0xFFFFFFFFBFFF0015UL)),
              "Timeout expired before operation completed");
    EXPECT_EQ(Described(0x1BFFF0015L), "");
    EXPECT_EQ(Described(static_cast<ViStatus>(0x7FFFFFFFBFFF0015UL)), "");
    EXPECT_EQ(Described(0x100000000L), "");
}

TEST(StatusDesc, NeedsNoSessionAndNoBuffer) {
    EXPECT_EQ(Described(VI_ERROR_TMO, 0xDEADBEEFUL), "Timeout expired before operation completed");
    EXPECT_EQ(viStatusDesc(0, VI_ERROR_TMO, nullptr), VI_SUCCESS);
}
