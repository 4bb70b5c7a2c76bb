/* Widths and signs that programs rely on. What the compiler can decide fails to compile. */
#include <limits.h>
#include <stddef.h>
#include <stdio.h>

#include <uxvisa/visa.h>

/* A negative array size where the condition does not hold; __LINE__ gives each its own name. */
#define JOINED(a, b) a##b
#define NAMED(a, b) JOINED(a, b)
#define ASSERT_STATIC(condition) typedef char NAMED(assertion_, __LINE__)[(condition) ? 1 : -1]

#define IS_SIGNED(type) ((type)-1 < (type)1)
#define HAS(type, bits, sign) (sizeof(type) * CHAR_BIT == (bits) && IS_SIGNED(type) == (sign))

ASSERT_STATIC(HAS(ViUInt64, 64, 0));
ASSERT_STATIC(HAS(ViInt64, 64, 1));
ASSERT_STATIC(HAS(ViUInt32, 64, 0)); /* the width of long, on purpose */
ASSERT_STATIC(HAS(ViInt32, 64, 1));
ASSERT_STATIC(HAS(ViUInt16, 16, 0));
ASSERT_STATIC(HAS(ViInt16, 16, 1));
ASSERT_STATIC(HAS(ViUInt8, 8, 0));
ASSERT_STATIC(HAS(ViInt8, 8, 1));
ASSERT_STATIC(HAS(ViByte, 8, 0));
ASSERT_STATIC(sizeof(ViChar) == 1);
ASSERT_STATIC(HAS(ViBoolean, 16, 0));
ASSERT_STATIC(HAS(ViStatus, 64, 1));
ASSERT_STATIC(HAS(ViVersion, 64, 0));
ASSERT_STATIC(HAS(ViObject, 64, 0));
ASSERT_STATIC(HAS(ViSession, 64, 0));
ASSERT_STATIC(HAS(ViFindList, 64, 0));
ASSERT_STATIC(HAS(ViEvent, 64, 0));
ASSERT_STATIC(HAS(ViAttr, 64, 0));
ASSERT_STATIC(HAS(ViAttrState, 64, 0));
ASSERT_STATIC(HAS(ViEventType, 64, 0));
ASSERT_STATIC(HAS(ViEventFilter, 64, 0));
ASSERT_STATIC(HAS(ViAccessMode, 64, 0));
ASSERT_STATIC(HAS(ViJobId, 64, 0));
ASSERT_STATIC(HAS(ViBusAddress, 64, 0));
ASSERT_STATIC(HAS(ViBusAddress64, 64, 0));
ASSERT_STATIC(HAS(ViBusSize, 64, 0));
ASSERT_STATIC(sizeof(ViReal32) == sizeof(float) && sizeof(ViReal32) == 4);
ASSERT_STATIC(sizeof(ViReal64) == sizeof(double) && sizeof(ViReal64) == 8);
ASSERT_STATIC(sizeof(ViAddr) == 8);
ASSERT_STATIC(sizeof(*(ViPUInt32)NULL) == 8);
ASSERT_STATIC(sizeof(*(ViPUInt16)NULL) == 2);
ASSERT_STATIC(sizeof(*(ViPSession)NULL) == 8);
ASSERT_STATIC(sizeof(*(ViPStatus)NULL) == 8);
ASSERT_STATIC(sizeof(*(ViAUInt16)NULL) == 2);
ASSERT_STATIC(sizeof(ViHndlr) == 8);
ASSERT_STATIC(sizeof(VI_ERROR_TMO) == sizeof(ViStatus));
ASSERT_STATIC(sizeof(VI_ATTR_TMO_VALUE) == sizeof(ViAttr));
ASSERT_STATIC(sizeof(VI_EVENT_SERVICE_REQ) == sizeof(ViEventType));

struct Status {
    const char* name;
    ViStatus value;
};

struct Identifier {
    const char* name;
    ViAttr value;
    ViAttr expected;
};

#define ENTRY(name)                                                                                \
    { #name, name }

static const struct Status errors[] = {
    ENTRY(VI_ERROR_SYSTEM_ERROR), ENTRY(VI_ERROR_INV_OBJECT),
    ENTRY(VI_ERROR_RSRC_NFOUND),  ENTRY(VI_ERROR_INV_RSRC_NAME),
    ENTRY(VI_ERROR_TMO),          ENTRY(VI_ERROR_CLOSING_FAILED),
    ENTRY(VI_ERROR_NSUP_ATTR),    ENTRY(VI_ERROR_NSUP_ATTR_STATE),
    ENTRY(VI_ERROR_ABORT),        ENTRY(VI_ERROR_INP_PROT_VIOL),
    ENTRY(VI_ERROR_IO),           ENTRY(VI_ERROR_INV_FMT),
    ENTRY(VI_ERROR_NSUP_FMT),     ENTRY(VI_ERROR_NSUP_OPER),
    ENTRY(VI_ERROR_USER_BUF),     ENTRY(VI_ERROR_RSRC_BUSY),
    ENTRY(VI_ERROR_NIMPL_OPER),   ENTRY(VI_ERROR_LIBRARY_NFOUND),
    ENTRY(VI_ERROR_CONN_LOST),    ENTRY(VI_ERROR_INV_SESSION),
};

static const struct Status completions[] = {
    ENTRY(VI_SUCCESS),
    ENTRY(VI_SUCCESS_TERM_CHAR),
    ENTRY(VI_SUCCESS_MAX_CNT),
    ENTRY(VI_WARN_UNKNOWN_STATUS),
};

static const struct Identifier identifiers[] = {
    {"VI_ATTR_RSRC_MANF_NAME", VI_ATTR_RSRC_MANF_NAME, 3221160308UL}, /* 0xBFFF0174 */
    {"VI_ATTR_RSRC_CLASS", VI_ATTR_RSRC_CLASS, 3221159937UL},         /* 0xBFFF0001 */
    {"VI_ATTR_TCPIP_ADDR", VI_ATTR_TCPIP_ADDR, 3221160341UL},         /* 0xBFFF0195 */
    {"VI_ATTR_TMO_VALUE", VI_ATTR_TMO_VALUE, 1073676314UL},           /* 0x3FFF001A */
    {"VI_ATTR_TERMCHAR_EN", VI_ATTR_TERMCHAR_EN, 1073676344UL},       /* 0x3FFF0038 */
    {"VI_ATTR_INTF_TYPE", VI_ATTR_INTF_TYPE, 1073676657UL},           /* 0x3FFF0171 */
    {"VI_EVENT_TRIG", VI_EVENT_TRIG, 3221168138UL},                   /* 0xBFFF200A */
    {"VI_TMO_INFINITE", VI_TMO_INFINITE, 4294967295UL},
};

static int failures = 0;

static void Expect(int holds, const char* name, const char* what) {
    if (!holds) {
        printf("%s: %s\n", name, what);
        ++failures;
    }
}

static void CheckErrors(void) {
    size_t i;
    for (i = 0; i < sizeof errors / sizeof *errors; ++i) {
        const ViUInt64 bits = (ViUInt64)errors[i].value;
        Expect(errors[i].value < 0, errors[i].name, "is not negative");
        Expect(bits >> 16 == 0xFFFFFFFFBFFFUL, errors[i].name, "is not sign-extended");
    }
    Expect((ViUInt64)VI_ERROR_TMO == 0xFFFFFFFFBFFF0015UL, "VI_ERROR_TMO", "has another value");
    Expect((ViUInt64)VI_ERROR_NIMPL_OPER == 0xFFFFFFFFBFFF0081UL, "VI_ERROR_NIMPL_OPER",
           "has another value");
    Expect((int)VI_ERROR_TMO == -1073807339, "VI_ERROR_TMO", "differs when cut to 32 bits");
}

static void CheckCompletions(void) {
    size_t i;
    for (i = 0; i < sizeof completions / sizeof *completions; ++i) {
        Expect(completions[i].value >= 0, completions[i].name, "is negative");
        Expect(completions[i].value <= INT_MAX, completions[i].name, "is more than 31 bits");
    }
}

static void CheckIdentifiers(void) {
    size_t i;
    for (i = 0; i < sizeof identifiers / sizeof *identifiers; ++i) {
        Expect(identifiers[i].value == identifiers[i].expected, identifiers[i].name,
               "has another value");
        Expect(identifiers[i].value >> 32 == 0, identifiers[i].name, "is not zero-extended");
    }
}

int main(void) {
    CheckErrors();
    CheckCompletions();
    CheckIdentifiers();
    return failures == 0 ? 0 : 1;
}
