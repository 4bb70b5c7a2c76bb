/**
 * @file visatype.h
 * @brief Types, status codes, attributes, event types and values of the VISA C API.
 *
 * Numbers are the published ones of the VISA standard (VPP-4.3.2 of the IVI Foundation), unless a
 * comment says that a number is this library's own. Many names are there so that portable programs
 * compile; visa.h says what each function does with them.
 *
 * Widths on Linux x86-64
 * ----------------------
 * Every 32-bit VISA quantity (ViUInt32, ViInt32 and all types made from them: ViSession, ViObject,
 * ViFindList, ViAttr, ViAttrState, ViEventType, ViStatus, ViJobId) has the width of the platform's
 * long, which is 64 bits. An output argument of such a type is an eight-byte store, so the variable
 * behind it must be one of these types and never an int.
 *   - A status is signed and sign-extended: VI_ERROR_TMO is (long)0xFFFFFFFFBFFF0015. "status < 0"
 *     finds every error.
 *   - A handle or an attribute identifier is unsigned and zero-extended: VI_ATTR_RSRC_MANF_NAME is
 *     0x00000000BFFF0174, and identifiers are compared at full width.
 *   - ViUInt16, ViInt16 and ViBoolean have 16 bits, ViUInt8, ViInt8 and ViByte 8, ViReal32 is float
 *     and ViReal64 double.
 *
 * The file is valid C99 and C++ and includes nothing.
 */
#ifndef UXVISA_VISATYPE_H
#define UXVISA_VISATYPE_H

/* ---- Words that portable VISA programs write between a type and a name: empty on Linux ---- */

#define _VI_FAR
#define _VI_PTR *
#define _VI_FUNC
#define _VI_FUNCC
#define _VI_FUNCH

/** 0x80000000 as a signed 32-bit value: what every error status is made from. */
#define _VI_ERROR (-2147483647L - 1)
#define VI_SUCCESS (0L)
#define VI_NULL (0)
#define VI_TRUE (1)
#define VI_FALSE (0)

/* ---- Types ---- */

typedef unsigned long ViUInt64;
typedef signed long ViInt64;
typedef unsigned long ViUInt32;
typedef signed long ViInt32;
typedef unsigned short ViUInt16;
typedef signed short ViInt16;
typedef unsigned char ViUInt8;
typedef signed char ViInt8;
typedef char ViChar;
typedef unsigned char ViByte;
typedef void* ViAddr;
typedef float ViReal32;
typedef double ViReal64;

typedef ViUInt16 ViBoolean;
typedef ViInt32 ViStatus;
typedef ViUInt32 ViVersion;
typedef ViUInt32 ViObject;
typedef ViObject ViSession;
typedef ViObject ViFindList;
typedef ViObject ViEvent;
typedef ViUInt32 ViAttr;
typedef ViUInt32 ViAttrState;
typedef ViUInt32 ViEventType;
typedef ViUInt32 ViEventFilter;
typedef ViUInt32 ViAccessMode;
typedef ViUInt32 ViJobId;
typedef ViUInt32 ViBusAddress;
typedef ViUInt64 ViBusAddress64;
typedef ViUInt32 ViBusSize;

typedef ViUInt64* ViPUInt64;
typedef ViInt64* ViPInt64;
typedef ViUInt32* ViPUInt32;
typedef ViInt32* ViPInt32;
typedef ViUInt16* ViPUInt16;
typedef ViInt16* ViPInt16;
typedef ViUInt8* ViPUInt8;
typedef ViInt8* ViPInt8;
typedef ViChar* ViPChar;
typedef ViByte* ViPByte;
typedef ViAddr* ViPAddr;
typedef ViReal32* ViPReal32;
typedef ViReal64* ViPReal64;
typedef ViBoolean* ViPBoolean;
typedef ViStatus* ViPStatus;
typedef ViVersion* ViPVersion;
typedef ViObject* ViPObject;
typedef ViSession* ViPSession;
typedef ViFindList* ViPFindList;
typedef ViEvent* ViPEvent;
typedef ViAttr* ViPAttr;
typedef ViEventType* ViPEventType;
typedef ViEventFilter* ViPEventFilter;
typedef ViAccessMode* ViPAccessMode;
typedef ViJobId* ViPJobId;
typedef ViBusAddress* ViPBusAddress;
typedef ViBusAddress64* ViPBusAddress64;
typedef ViBusSize* ViPBusSize;
typedef void* ViPAttrState;

typedef ViUInt32* ViAUInt32;
typedef ViUInt16* ViAUInt16;
typedef ViUInt8* ViAUInt8;
typedef ViUInt64* ViAUInt64;

typedef ViPChar ViString;
typedef const ViChar* ViConstString;
typedef ViPByte ViBuf;
typedef const ViByte* ViConstBuf;
typedef ViString ViRsrc;
typedef ViConstString ViConstRsrc;
typedef ViString ViKeyId;
typedef ViConstString ViConstKeyId;

/**
 * A callback of viInstallHandler(). The library never calls one: events are not delivered.
 *
 * @param vi          session that the event belongs to
 * @param eventType   a VI_EVENT_ identifier
 * @param event       handle of the event's own attributes
 * @param userHandle  what the program gave to viInstallHandler()
 */
typedef ViStatus (*ViHndlr)(ViSession vi, ViEventType eventType, ViEvent event, ViAddr userHandle);

/* ---- Completion codes: success and warnings, positive ----
 *
 * TCP socket sessions return VI_SUCCESS and VI_SUCCESS_TERM_CHAR, and none of the others.
 */

#define VI_SUCCESS_EVENT_EN (0x3FFF0002L)
#define VI_SUCCESS_EVENT_DIS (0x3FFF0003L)
#define VI_SUCCESS_QUEUE_EMPTY (0x3FFF0004L)
#define VI_SUCCESS_TERM_CHAR (0x3FFF0005L)
#define VI_SUCCESS_MAX_CNT (0x3FFF0006L)
#define VI_SUCCESS_DEV_NPRESENT (0x3FFF007DL)
#define VI_SUCCESS_TRIG_MAPPED (0x3FFF007EL)
#define VI_SUCCESS_QUEUE_NEMPTY (0x3FFF0080L)
#define VI_SUCCESS_NCHAIN (0x3FFF0098L)
#define VI_SUCCESS_NESTED_SHARED (0x3FFF0099L)
#define VI_SUCCESS_NESTED_EXCLUSIVE (0x3FFF009AL)
#define VI_SUCCESS_SYNC (0x3FFF009BL)
#define VI_WARN_QUEUE_OVERFLOW (0x3FFF000CL)
#define VI_WARN_CONFIG_NLOADED (0x3FFF0077L)
#define VI_WARN_NULL_OBJECT (0x3FFF0082L)
#define VI_WARN_NSUP_ATTR_STATE (0x3FFF0084L)
#define VI_WARN_UNKNOWN_STATUS (0x3FFF0085L)
#define VI_WARN_NSUP_BUF (0x3FFF0088L)
#define VI_WARN_EXT_FUNC_NIMPL (0x3FFF00A9L)

/* ---- Completion codes: errors, negative ----
 *
 * Each comment is the published 32-bit number. viStatusDesc() says which codes have a text.
 */

#define VI_ERROR_SYSTEM_ERROR (_VI_ERROR + 0x3FFF0000L)      /* 0xBFFF0000 */
#define VI_ERROR_INV_OBJECT (_VI_ERROR + 0x3FFF000EL)        /* 0xBFFF000E */
#define VI_ERROR_RSRC_LOCKED (_VI_ERROR + 0x3FFF000FL)       /* 0xBFFF000F */
#define VI_ERROR_INV_EXPR (_VI_ERROR + 0x3FFF0010L)          /* 0xBFFF0010 */
#define VI_ERROR_RSRC_NFOUND (_VI_ERROR + 0x3FFF0011L)       /* 0xBFFF0011 */
#define VI_ERROR_INV_RSRC_NAME (_VI_ERROR + 0x3FFF0012L)     /* 0xBFFF0012 */
#define VI_ERROR_INV_ACC_MODE (_VI_ERROR + 0x3FFF0013L)      /* 0xBFFF0013 */
#define VI_ERROR_TMO (_VI_ERROR + 0x3FFF0015L)               /* 0xBFFF0015 */
#define VI_ERROR_CLOSING_FAILED (_VI_ERROR + 0x3FFF0016L)    /* 0xBFFF0016 */
#define VI_ERROR_INV_DEGREE (_VI_ERROR + 0x3FFF001BL)        /* 0xBFFF001B */
#define VI_ERROR_INV_JOB_ID (_VI_ERROR + 0x3FFF001CL)        /* 0xBFFF001C */
#define VI_ERROR_NSUP_ATTR (_VI_ERROR + 0x3FFF001DL)         /* 0xBFFF001D */
#define VI_ERROR_NSUP_ATTR_STATE (_VI_ERROR + 0x3FFF001EL)   /* 0xBFFF001E */
#define VI_ERROR_ATTR_READONLY (_VI_ERROR + 0x3FFF001FL)     /* 0xBFFF001F */
#define VI_ERROR_INV_LOCK_TYPE (_VI_ERROR + 0x3FFF0020L)     /* 0xBFFF0020 */
#define VI_ERROR_INV_ACCESS_KEY (_VI_ERROR + 0x3FFF0021L)    /* 0xBFFF0021 */
#define VI_ERROR_INV_EVENT (_VI_ERROR + 0x3FFF0026L)         /* 0xBFFF0026 */
#define VI_ERROR_INV_MECH (_VI_ERROR + 0x3FFF0027L)          /* 0xBFFF0027 */
#define VI_ERROR_HNDLR_NINSTALLED (_VI_ERROR + 0x3FFF0028L)  /* 0xBFFF0028 */
#define VI_ERROR_INV_HNDLR_REF (_VI_ERROR + 0x3FFF0029L)     /* 0xBFFF0029 */
#define VI_ERROR_INV_CONTEXT (_VI_ERROR + 0x3FFF002AL)       /* 0xBFFF002A */
#define VI_ERROR_QUEUE_OVERFLOW (_VI_ERROR + 0x3FFF002DL)    /* 0xBFFF002D */
#define VI_ERROR_NENABLED (_VI_ERROR + 0x3FFF002FL)          /* 0xBFFF002F */
#define VI_ERROR_ABORT (_VI_ERROR + 0x3FFF0030L)             /* 0xBFFF0030 */
#define VI_ERROR_RAW_WR_PROT_VIOL (_VI_ERROR + 0x3FFF0034L)  /* 0xBFFF0034 */
#define VI_ERROR_RAW_RD_PROT_VIOL (_VI_ERROR + 0x3FFF0035L)  /* 0xBFFF0035 */
#define VI_ERROR_OUTP_PROT_VIOL (_VI_ERROR + 0x3FFF0036L)    /* 0xBFFF0036 */
#define VI_ERROR_INP_PROT_VIOL (_VI_ERROR + 0x3FFF0037L)     /* 0xBFFF0037 */
#define VI_ERROR_BERR (_VI_ERROR + 0x3FFF0038L)              /* 0xBFFF0038 */
#define VI_ERROR_IN_PROGRESS (_VI_ERROR + 0x3FFF0039L)       /* 0xBFFF0039 */
#define VI_ERROR_INV_SETUP (_VI_ERROR + 0x3FFF003AL)         /* 0xBFFF003A */
#define VI_ERROR_QUEUE_ERROR (_VI_ERROR + 0x3FFF003BL)       /* 0xBFFF003B */
#define VI_ERROR_ALLOC (_VI_ERROR + 0x3FFF003CL)             /* 0xBFFF003C */
#define VI_ERROR_INV_MASK (_VI_ERROR + 0x3FFF003DL)          /* 0xBFFF003D */
#define VI_ERROR_IO (_VI_ERROR + 0x3FFF003EL)                /* 0xBFFF003E */
#define VI_ERROR_INV_FMT (_VI_ERROR + 0x3FFF003FL)           /* 0xBFFF003F */
#define VI_ERROR_NSUP_FMT (_VI_ERROR + 0x3FFF0041L)          /* 0xBFFF0041 */
#define VI_ERROR_LINE_IN_USE (_VI_ERROR + 0x3FFF0042L)       /* 0xBFFF0042 */
#define VI_ERROR_LINE_NRESERVED (_VI_ERROR + 0x3FFF0043L)    /* 0xBFFF0043 */
#define VI_ERROR_NSUP_MODE (_VI_ERROR + 0x3FFF0046L)         /* 0xBFFF0046 */
#define VI_ERROR_SRQ_NOCCURRED (_VI_ERROR + 0x3FFF004AL)     /* 0xBFFF004A */
#define VI_ERROR_INV_SPACE (_VI_ERROR + 0x3FFF004EL)         /* 0xBFFF004E */
#define VI_ERROR_INV_OFFSET (_VI_ERROR + 0x3FFF0051L)        /* 0xBFFF0051 */
#define VI_ERROR_INV_WIDTH (_VI_ERROR + 0x3FFF0052L)         /* 0xBFFF0052 */
#define VI_ERROR_NSUP_OFFSET (_VI_ERROR + 0x3FFF0054L)       /* 0xBFFF0054 */
#define VI_ERROR_NSUP_VAR_WIDTH (_VI_ERROR + 0x3FFF0055L)    /* 0xBFFF0055 */
#define VI_ERROR_WINDOW_NMAPPED (_VI_ERROR + 0x3FFF0057L)    /* 0xBFFF0057 */
#define VI_ERROR_RESP_PENDING (_VI_ERROR + 0x3FFF0059L)      /* 0xBFFF0059 */
#define VI_ERROR_NLISTENERS (_VI_ERROR + 0x3FFF005FL)        /* 0xBFFF005F */
#define VI_ERROR_NCIC (_VI_ERROR + 0x3FFF0060L)              /* 0xBFFF0060 */
#define VI_ERROR_NSYS_CNTLR (_VI_ERROR + 0x3FFF0061L)        /* 0xBFFF0061 */
#define VI_ERROR_NSUP_OPER (_VI_ERROR + 0x3FFF0067L)         /* 0xBFFF0067 */
#define VI_ERROR_INTR_PENDING (_VI_ERROR + 0x3FFF0068L)      /* 0xBFFF0068 */
#define VI_ERROR_ASRL_PARITY (_VI_ERROR + 0x3FFF006AL)       /* 0xBFFF006A */
#define VI_ERROR_ASRL_FRAMING (_VI_ERROR + 0x3FFF006BL)      /* 0xBFFF006B */
#define VI_ERROR_ASRL_OVERRUN (_VI_ERROR + 0x3FFF006CL)      /* 0xBFFF006C */
#define VI_ERROR_TRIG_NMAPPED (_VI_ERROR + 0x3FFF006EL)      /* 0xBFFF006E */
#define VI_ERROR_NSUP_ALIGN_OFFSET (_VI_ERROR + 0x3FFF0070L) /* 0xBFFF0070 */
#define VI_ERROR_USER_BUF (_VI_ERROR + 0x3FFF0071L)          /* 0xBFFF0071 */
#define VI_ERROR_RSRC_BUSY (_VI_ERROR + 0x3FFF0072L)         /* 0xBFFF0072 */
#define VI_ERROR_NSUP_WIDTH (_VI_ERROR + 0x3FFF0076L)        /* 0xBFFF0076 */
#define VI_ERROR_INV_PARAMETER (_VI_ERROR + 0x3FFF0078L)     /* 0xBFFF0078 */
#define VI_ERROR_INV_PROT (_VI_ERROR + 0x3FFF0079L)          /* 0xBFFF0079 */
#define VI_ERROR_INV_SIZE (_VI_ERROR + 0x3FFF007BL)          /* 0xBFFF007B */
#define VI_ERROR_WINDOW_MAPPED (_VI_ERROR + 0x3FFF0080L)     /* 0xBFFF0080 */
#define VI_ERROR_NIMPL_OPER (_VI_ERROR + 0x3FFF0081L)        /* 0xBFFF0081 */
#define VI_ERROR_INV_LENGTH (_VI_ERROR + 0x3FFF0083L)        /* 0xBFFF0083 */
#define VI_ERROR_INV_MODE (_VI_ERROR + 0x3FFF0091L)          /* 0xBFFF0091 */
#define VI_ERROR_SESN_NLOCKED (_VI_ERROR + 0x3FFF009CL)      /* 0xBFFF009C */
#define VI_ERROR_MEM_NSHARED (_VI_ERROR + 0x3FFF009DL)       /* 0xBFFF009D */
#define VI_ERROR_LIBRARY_NFOUND (_VI_ERROR + 0x3FFF009EL)    /* 0xBFFF009E */
#define VI_ERROR_NSUP_INTR (_VI_ERROR + 0x3FFF009FL)         /* 0xBFFF009F */
#define VI_ERROR_INV_LINE (_VI_ERROR + 0x3FFF00A0L)          /* 0xBFFF00A0 */
#define VI_ERROR_FILE_ACCESS (_VI_ERROR + 0x3FFF00A1L)       /* 0xBFFF00A1 */
#define VI_ERROR_FILE_IO (_VI_ERROR + 0x3FFF00A2L)           /* 0xBFFF00A2 */
#define VI_ERROR_NSUP_LINE (_VI_ERROR + 0x3FFF00A3L)         /* 0xBFFF00A3 */
#define VI_ERROR_NSUP_MECH (_VI_ERROR + 0x3FFF00A4L)         /* 0xBFFF00A4 */
#define VI_ERROR_INTF_NUM_NCONFIG (_VI_ERROR + 0x3FFF00A5L)  /* 0xBFFF00A5 */
#define VI_ERROR_CONN_LOST (_VI_ERROR + 0x3FFF00A6L)         /* 0xBFFF00A6 */
#define VI_ERROR_MACHINE_NAVAIL (_VI_ERROR + 0x3FFF00A7L)    /* 0xBFFF00A7 */
#define VI_ERROR_NPERMISSION (_VI_ERROR + 0x3FFF00A8L)       /* 0xBFFF00A8 */

#define VI_ERROR_INV_SESSION VI_ERROR_INV_OBJECT /**< The older name. */

/* ---- Attributes of sessions ----
 *
 * The names are those of the VISA standard; which of them a session answers is said at
 * viGetAttribute(). Where the standard has a number for 32 bits and one for 64 bits, the plain name
 * is the one for 64 bits, as the standard has it for 64-bit programs.
 */

#define VI_ATTR_RSRC_CLASS (0xBFFF0001UL)
#define VI_ATTR_RSRC_NAME (0xBFFF0002UL)
#define VI_ATTR_RSRC_IMPL_VERSION (0x3FFF0003UL)
#define VI_ATTR_RSRC_LOCK_STATE (0x3FFF0004UL)
#define VI_ATTR_MAX_QUEUE_LENGTH (0x3FFF0005UL)
#define VI_ATTR_USER_DATA_32 (0x3FFF0007UL)
#define VI_ATTR_USER_DATA_64 (0x3FFF000AUL)
#define VI_ATTR_USER_DATA VI_ATTR_USER_DATA_64
#define VI_ATTR_FDC_CHNL (0x3FFF000DUL)
#define VI_ATTR_FDC_MODE (0x3FFF000FUL)
#define VI_ATTR_FDC_GEN_SIGNAL_EN (0x3FFF0011UL)
#define VI_ATTR_FDC_USE_PAIR (0x3FFF0013UL)
#define VI_ATTR_SEND_END_EN (0x3FFF0016UL)
#define VI_ATTR_TERMCHAR (0x3FFF0018UL)
#define VI_ATTR_TMO_VALUE (0x3FFF001AUL)
#define VI_ATTR_GPIB_READDR_EN (0x3FFF001BUL)
#define VI_ATTR_IO_PROT (0x3FFF001CUL)
#define VI_ATTR_DMA_ALLOW_EN (0x3FFF001EUL)
#define VI_ATTR_ASRL_BAUD (0x3FFF0021UL)
#define VI_ATTR_ASRL_DATA_BITS (0x3FFF0022UL)
#define VI_ATTR_ASRL_PARITY (0x3FFF0023UL)
#define VI_ATTR_ASRL_STOP_BITS (0x3FFF0024UL)
#define VI_ATTR_ASRL_FLOW_CNTRL (0x3FFF0025UL)
#define VI_ATTR_RD_BUF_OPER_MODE (0x3FFF002AUL)
#define VI_ATTR_RD_BUF_SIZE (0x3FFF002BUL)
#define VI_ATTR_WR_BUF_OPER_MODE (0x3FFF002DUL)
#define VI_ATTR_WR_BUF_SIZE (0x3FFF002EUL)
#define VI_ATTR_SUPPRESS_END_EN (0x3FFF0036UL)
#define VI_ATTR_TERMCHAR_EN (0x3FFF0038UL)
#define VI_ATTR_DEST_ACCESS_PRIV (0x3FFF0039UL)
#define VI_ATTR_DEST_BYTE_ORDER (0x3FFF003AUL)
#define VI_ATTR_SRC_ACCESS_PRIV (0x3FFF003CUL)
#define VI_ATTR_SRC_BYTE_ORDER (0x3FFF003DUL)
#define VI_ATTR_SRC_INCREMENT (0x3FFF0040UL)
#define VI_ATTR_DEST_INCREMENT (0x3FFF0041UL)
#define VI_ATTR_WIN_ACCESS_PRIV (0x3FFF0045UL)
#define VI_ATTR_WIN_BYTE_ORDER (0x3FFF0047UL)
#define VI_ATTR_GPIB_ATN_STATE (0x3FFF0057UL)
#define VI_ATTR_GPIB_ADDR_STATE (0x3FFF005CUL)
#define VI_ATTR_GPIB_CIC_STATE (0x3FFF005EUL)
#define VI_ATTR_GPIB_NDAC_STATE (0x3FFF0062UL)
#define VI_ATTR_GPIB_SRQ_STATE (0x3FFF0067UL)
#define VI_ATTR_GPIB_SYS_CNTRL_STATE (0x3FFF0068UL)
#define VI_ATTR_GPIB_HS488_CBL_LEN (0x3FFF0069UL)
#define VI_ATTR_CMDR_LA (0x3FFF006BUL)
#define VI_ATTR_VXI_DEV_CLASS (0x3FFF006CUL)
#define VI_ATTR_MAINFRAME_LA (0x3FFF0070UL)
#define VI_ATTR_MANF_NAME (0xBFFF0072UL)
#define VI_ATTR_MODEL_NAME (0xBFFF0077UL)
#define VI_ATTR_VXI_VME_INTR_STATUS (0x3FFF008BUL)
#define VI_ATTR_VXI_TRIG_STATUS (0x3FFF008DUL)
#define VI_ATTR_VXI_VME_SYSFAIL_STATE (0x3FFF0094UL)
#define VI_ATTR_WIN_BASE_ADDR_32 (0x3FFF0098UL)
#define VI_ATTR_WIN_BASE_ADDR_64 (0x3FFF009BUL)
#define VI_ATTR_WIN_BASE_ADDR VI_ATTR_WIN_BASE_ADDR_64
#define VI_ATTR_WIN_SIZE (0x3FFF009AUL)
#define VI_ATTR_ASRL_AVAIL_NUM (0x3FFF00ACUL)
#define VI_ATTR_MEM_BASE_32 (0x3FFF00ADUL)
#define VI_ATTR_MEM_BASE_64 (0x3FFF00D0UL)
#define VI_ATTR_MEM_BASE VI_ATTR_MEM_BASE_64
#define VI_ATTR_ASRL_CTS_STATE (0x3FFF00AEUL)
#define VI_ATTR_ASRL_DCD_STATE (0x3FFF00AFUL)
#define VI_ATTR_ASRL_DSR_STATE (0x3FFF00B1UL)
#define VI_ATTR_ASRL_DTR_STATE (0x3FFF00B2UL)
#define VI_ATTR_ASRL_END_IN (0x3FFF00B3UL)
#define VI_ATTR_ASRL_END_OUT (0x3FFF00B4UL)
#define VI_ATTR_ASRL_REPLACE_CHAR (0x3FFF00BEUL)
#define VI_ATTR_ASRL_RI_STATE (0x3FFF00BFUL)
#define VI_ATTR_ASRL_RTS_STATE (0x3FFF00C0UL)
#define VI_ATTR_ASRL_XON_CHAR (0x3FFF00C1UL)
#define VI_ATTR_ASRL_XOFF_CHAR (0x3FFF00C2UL)
#define VI_ATTR_WIN_ACCESS (0x3FFF00C3UL)
#define VI_ATTR_RM_SESSION (0x3FFF00C4UL)
#define VI_ATTR_VXI_LA (0x3FFF00D5UL)
#define VI_ATTR_MANF_ID (0x3FFF00D9UL)
#define VI_ATTR_MEM_SIZE_32 (0x3FFF00DDUL)
#define VI_ATTR_MEM_SIZE_64 (0x3FFF00D1UL)
#define VI_ATTR_MEM_SIZE VI_ATTR_MEM_SIZE_64
#define VI_ATTR_MEM_SPACE (0x3FFF00DEUL)
#define VI_ATTR_MODEL_CODE (0x3FFF00DFUL)
#define VI_ATTR_SLOT (0x3FFF00E8UL)
#define VI_ATTR_INTF_INST_NAME (0xBFFF00E9UL)
#define VI_ATTR_IMMEDIATE_SERV (0x3FFF0100UL)
#define VI_ATTR_INTF_PARENT_NUM (0x3FFF0101UL)
#define VI_ATTR_RSRC_SPEC_VERSION (0x3FFF0170UL)
#define VI_ATTR_INTF_TYPE (0x3FFF0171UL)
#define VI_ATTR_GPIB_PRIMARY_ADDR (0x3FFF0172UL)
#define VI_ATTR_GPIB_SECONDARY_ADDR (0x3FFF0173UL)
#define VI_ATTR_RSRC_MANF_NAME (0xBFFF0174UL)
#define VI_ATTR_RSRC_MANF_ID (0x3FFF0175UL)
#define VI_ATTR_INTF_NUM (0x3FFF0176UL)
#define VI_ATTR_TRIG_ID (0x3FFF0177UL)
#define VI_ATTR_GPIB_REN_STATE (0x3FFF0181UL)
#define VI_ATTR_GPIB_UNADDR_EN (0x3FFF0184UL)
#define VI_ATTR_DEV_STATUS_BYTE (0x3FFF0189UL)
#define VI_ATTR_FILE_APPEND_EN (0x3FFF0192UL)
#define VI_ATTR_VXI_TRIG_SUPPORT (0x3FFF0194UL)
#define VI_ATTR_TCPIP_ADDR (0xBFFF0195UL)
#define VI_ATTR_TCPIP_HOSTNAME (0xBFFF0196UL)
#define VI_ATTR_TCPIP_PORT (0x3FFF0197UL)
#define VI_ATTR_TCPIP_DEVICE_NAME (0xBFFF0199UL)
#define VI_ATTR_TCPIP_NODELAY (0x3FFF019AUL)
#define VI_ATTR_TCPIP_KEEPALIVE (0x3FFF019BUL)
#define VI_ATTR_4882_COMPLIANT (0x3FFF019FUL)
#define VI_ATTR_USB_SERIAL_NUM (0xBFFF01A0UL)
#define VI_ATTR_USB_INTFC_NUM (0x3FFF01A1UL)
#define VI_ATTR_USB_PROTOCOL (0x3FFF01A7UL)
#define VI_ATTR_USB_MAX_INTR_SIZE (0x3FFF01AFUL)
#define VI_ATTR_TCPIP_HISLIP_OVERLAP_EN (0x3FFF0300UL)
#define VI_ATTR_TCPIP_HISLIP_VERSION (0x3FFF0301UL)
#define VI_ATTR_TCPIP_HISLIP_MAX_MESSAGE_KB (0x3FFF0302UL)
#define VI_ATTR_TCPIP_IS_HISLIP (0x3FFF0303UL)

/* This library's own, answered by BRIX sessions only; each is stored as 32 bits. */
#define VI_ATTR_BRIX_SPLIT_WRITE (0x3FFF0246UL) /**< Header and body in two writes: 0 or 1. */
#define VI_ATTR_BRIX_FULL_HEADER (0x3FFF0247UL) /**< Lines show every header field: 0 or 1. */
#define VI_ATTR_BRIX_DECODE_MODE (0x3FFF0248UL) /**< 0; 1: bodies as numbers; 2: as blocks. */
#define VI_ATTR_BRIX_RAW (0x3FFF0249UL)         /**< Bytes pass as they are: 0 or 1. */

/* ---- Attributes of events ---- */

#define VI_ATTR_JOB_ID (0x3FFF4006UL)
#define VI_ATTR_EVENT_TYPE (0x3FFF4010UL)
#define VI_ATTR_SIGP_STATUS_ID (0x3FFF4011UL)
#define VI_ATTR_RECV_TRIG_ID (0x3FFF4012UL)
#define VI_ATTR_INTR_STATUS_ID (0x3FFF4023UL)
#define VI_ATTR_STATUS (0x3FFF4025UL)
#define VI_ATTR_RET_COUNT_32 (0x3FFF4026UL)
#define VI_ATTR_RET_COUNT_64 (0x3FFF4028UL)
#define VI_ATTR_RET_COUNT VI_ATTR_RET_COUNT_64
#define VI_ATTR_BUFFER (0x3FFF4027UL)
#define VI_ATTR_RECV_INTR_LEVEL (0x3FFF4041UL)
#define VI_ATTR_OPER_NAME (0xBFFF4042UL)
#define VI_ATTR_GPIB_RECV_CIC_STATE (0x3FFF4193UL)
#define VI_ATTR_RECV_TCPIP_ADDR (0xBFFF4198UL)
#define VI_ATTR_USB_RECV_INTR_SIZE (0x3FFF41B0UL)
#define VI_ATTR_USB_RECV_INTR_DATA (0xBFFF41B1UL)

/* ---- Event types ---- */

#define VI_EVENT_IO_COMPLETION (0x3FFF2009UL)
#define VI_EVENT_TRIG (0xBFFF200AUL)
#define VI_EVENT_SERVICE_REQ (0x3FFF200BUL)
#define VI_EVENT_CLEAR (0x3FFF200DUL)
#define VI_EVENT_EXCEPTION (0xBFFF200EUL)
#define VI_EVENT_GPIB_CIC (0x3FFF2012UL)
#define VI_EVENT_GPIB_TALK (0x3FFF2013UL)
#define VI_EVENT_GPIB_LISTEN (0x3FFF2014UL)
#define VI_EVENT_VXI_VME_SYSFAIL (0x3FFF201DUL)
#define VI_EVENT_VXI_VME_SYSRESET (0x3FFF201EUL)
#define VI_EVENT_VXI_SIGP (0x3FFF2020UL)
#define VI_EVENT_VXI_VME_INTR (0xBFFF2021UL)
#define VI_EVENT_PXI_INTR (0x3FFF2022UL)
#define VI_EVENT_TCPIP_CONNECT (0x3FFF2036UL)
#define VI_EVENT_USB_INTR (0x3FFF2037UL)

#define VI_ALL_ENABLED_EVENTS (0x3FFF7FFFUL) /**< All types at once, where a type is asked for. */

/* ---- Values ---- */

#define VI_FIND_BUFLEN (256) /**< Bytes that every description and text buffer must have. */

/* Interface types. VI_ATTR_INTF_TYPE answers VI_INTF_ASRL also for TCP sockets, on purpose. */
#define VI_INTF_GPIB (1)
#define VI_INTF_VXI (2)
#define VI_INTF_GPIB_VXI (3)
#define VI_INTF_ASRL (4)
#define VI_INTF_PXI (5)
#define VI_INTF_TCPIP (6)
#define VI_INTF_USB (7)
/** Unix-domain socket. This library's own number: the VISA standard has no such interface. */
#define VI_INTF_USOCK (8)

/* Access modes of viOpen() and lock types of viLock(). */
#define VI_NO_LOCK (0)
#define VI_EXCLUSIVE_LOCK (1)
#define VI_SHARED_LOCK (2)
#define VI_LOAD_CONFIG (4)

/* Time-outs in milliseconds. */
#define VI_TMO_IMMEDIATE (0L)
#define VI_TMO_INFINITE (0xFFFFFFFFUL) /**< A TCP socket session takes it as 49.7 days. */

/* Event mechanisms. */
#define VI_QUEUE (1)
#define VI_HNDLR (2)
#define VI_SUSPEND_HNDLR (4)
#define VI_ALL_MECH (0xFFFF)
#define VI_ANY_HNDLR (0)

/* Buffers of viSetBuf(), masks of viFlush(). */
#define VI_READ_BUF (1)
#define VI_WRITE_BUF (2)
#define VI_READ_BUF_DISCARD (4)
#define VI_WRITE_BUF_DISCARD (8)
#define VI_IO_IN_BUF (16)
#define VI_IO_OUT_BUF (32)
#define VI_IO_IN_BUF_DISCARD (64)
#define VI_IO_OUT_BUF_DISCARD (128)
#define VI_FLUSH_ON_ACCESS (1)
#define VI_FLUSH_WHEN_FULL (2)
#define VI_FLUSH_DISABLE (3)

/* I/O protocols. */
#define VI_PROT_NORMAL (1)
#define VI_PROT_FDC (2)
#define VI_PROT_HS488 (3)
#define VI_PROT_4882_STRS (4)
#define VI_PROT_USBTMC_VENDOR (5)
#define VI_FDC_NORMAL (1)
#define VI_FDC_STREAM (2)

/* Older names of the standard for the values above. */
#define VI_NORMAL VI_PROT_NORMAL
#define VI_FDC VI_PROT_FDC
#define VI_HS488 VI_PROT_HS488
#define VI_ASRL488 VI_PROT_4882_STRS
#define VI_ASRL_IN_BUF VI_IO_IN_BUF
#define VI_ASRL_OUT_BUF VI_IO_OUT_BUF
#define VI_ASRL_IN_BUF_DISCARD VI_IO_IN_BUF_DISCARD
#define VI_ASRL_OUT_BUF_DISCARD VI_IO_OUT_BUF_DISCARD

/* Serial lines: parity, stop bits, end modes, flow control. */
#define VI_ASRL_PAR_NONE (0)
#define VI_ASRL_PAR_ODD (1)
#define VI_ASRL_PAR_EVEN (2)
#define VI_ASRL_PAR_MARK (3)
#define VI_ASRL_PAR_SPACE (4)
#define VI_ASRL_STOP_ONE (10)
#define VI_ASRL_STOP_ONE5 (15)
#define VI_ASRL_STOP_TWO (20)
#define VI_ASRL_END_NONE (0)
#define VI_ASRL_END_LAST_BIT (1)
#define VI_ASRL_END_TERMCHAR (2)
#define VI_ASRL_END_BREAK (3)
#define VI_ASRL_FLOW_NONE (0)
#define VI_ASRL_FLOW_XON_XOFF (1)
#define VI_ASRL_FLOW_RTS_CTS (2)
#define VI_ASRL_FLOW_DTR_DSR (4)

/* States of lines. */
#define VI_STATE_ASSERTED (1)
#define VI_STATE_UNASSERTED (0)
#define VI_STATE_UNKNOWN (-1)

/* Addresses that are absent or not known. */
#define VI_NO_SEC_ADDR (0xFFFF)
#define VI_UNKNOWN_LA (-1)
#define VI_UNKNOWN_SLOT (-1)
#define VI_UNKNOWN_LEVEL (-1)

/* Address spaces, widths, byte orders, ways to reach a mapped window, access privileges. */
#define VI_LOCAL_SPACE (0)
#define VI_A16_SPACE (1)
#define VI_A24_SPACE (2)
#define VI_A32_SPACE (3)
#define VI_A64_SPACE (4)
#define VI_OPAQUE_SPACE (0xFFFF)
#define VI_WIDTH_8 (1)
#define VI_WIDTH_16 (2)
#define VI_WIDTH_32 (4)
#define VI_WIDTH_64 (8)
#define VI_BIG_ENDIAN (0)
#define VI_LITTLE_ENDIAN (1)
#define VI_NMAPPED (1)
#define VI_USE_OPERS (2)
#define VI_DEREF_ADDR (3)
#define VI_DATA_PRIV (0)
#define VI_DATA_NPRIV (1)
#define VI_PROG_PRIV (2)
#define VI_PROG_NPRIV (3)
#define VI_BLCK_PRIV (4)
#define VI_BLCK_NPRIV (5)
#define VI_D64_PRIV (6)
#define VI_D64_NPRIV (7)
#define VI_D64_2EVME (8)
#define VI_D64_SST160 (9)
#define VI_D64_SST267 (10)
#define VI_D64_SST320 (11)

/* Trigger lines, trigger protocols. */
#define VI_TRIG_ALL (-2)
#define VI_TRIG_SW (-1)
#define VI_TRIG_TTL0 (0)
#define VI_TRIG_TTL1 (1)
#define VI_TRIG_TTL2 (2)
#define VI_TRIG_TTL3 (3)
#define VI_TRIG_TTL4 (4)
#define VI_TRIG_TTL5 (5)
#define VI_TRIG_TTL6 (6)
#define VI_TRIG_TTL7 (7)
#define VI_TRIG_ECL0 (8)
#define VI_TRIG_ECL1 (9)
#define VI_TRIG_ECL2 (10)
#define VI_TRIG_ECL3 (11)
#define VI_TRIG_ECL4 (12)
#define VI_TRIG_ECL5 (13)
#define VI_TRIG_STAR_SLOT1 (14)
#define VI_TRIG_STAR_SLOT2 (15)
#define VI_TRIG_STAR_SLOT3 (16)
#define VI_TRIG_STAR_SLOT4 (17)
#define VI_TRIG_STAR_SLOT5 (18)
#define VI_TRIG_STAR_SLOT6 (19)
#define VI_TRIG_STAR_SLOT7 (20)
#define VI_TRIG_STAR_SLOT8 (21)
#define VI_TRIG_STAR_SLOT9 (22)
#define VI_TRIG_STAR_SLOT10 (23)
#define VI_TRIG_STAR_SLOT11 (24)
#define VI_TRIG_STAR_SLOT12 (25)
#define VI_TRIG_STAR_INSTR (26)
#define VI_TRIG_PANEL_IN (27)
#define VI_TRIG_PANEL_OUT (28)
#define VI_TRIG_STAR_VXI0 (29)
#define VI_TRIG_STAR_VXI1 (30)
#define VI_TRIG_STAR_VXI2 (31)
#define VI_TRIG_TTL8 (32)
#define VI_TRIG_TTL9 (33)
#define VI_TRIG_TTL10 (34)
#define VI_TRIG_TTL11 (35)
#define VI_TRIG_PROT_DEFAULT (0)
#define VI_TRIG_PROT_ON (1)
#define VI_TRIG_PROT_OFF (2)
#define VI_TRIG_PROT_SYNC (5)
#define VI_TRIG_PROT_RESERVE (6)
#define VI_TRIG_PROT_UNRESERVE (7)

/* GPIB remote-enable and attention modes, address states, HS488. */
#define VI_GPIB_REN_DEASSERT (0)
#define VI_GPIB_REN_ASSERT (1)
#define VI_GPIB_REN_DEASSERT_GTL (2)
#define VI_GPIB_REN_ASSERT_ADDRESS (3)
#define VI_GPIB_REN_ASSERT_LLO (4)
#define VI_GPIB_REN_ASSERT_ADDRESS_LLO (5)
#define VI_GPIB_REN_ADDRESS_GTL (6)
#define VI_GPIB_ATN_DEASSERT (0)
#define VI_GPIB_ATN_ASSERT (1)
#define VI_GPIB_ATN_DEASSERT_HANDSHAKE (2)
#define VI_GPIB_ATN_ASSERT_IMMEDIATE (3)
#define VI_GPIB_UNADDRESSED (0)
#define VI_GPIB_TALKER (1)
#define VI_GPIB_LISTENER (2)
#define VI_GPIB_HS488_DISABLED (0)
#define VI_GPIB_HS488_NIMPL (-1)

/* VXI commands and device classes, interrupts, utility signals. */
#define VI_VXI_CMD16 (0x0200)
#define VI_VXI_CMD16_RESP16 (0x0202)
#define VI_VXI_RESP16 (0x0002)
#define VI_VXI_CMD32 (0x0400)
#define VI_VXI_CMD32_RESP16 (0x0402)
#define VI_VXI_CMD32_RESP32 (0x0404)
#define VI_VXI_RESP32 (0x0004)
#define VI_VXI_CLASS_MEMORY (0)
#define VI_VXI_CLASS_EXTENDED (1)
#define VI_VXI_CLASS_MESSAGE (2)
#define VI_VXI_CLASS_REGISTER (3)
#define VI_VXI_CLASS_OTHER (4)
#define VI_ASSERT_SIGNAL (-1)
#define VI_ASSERT_USE_ASSIGNED (0)
#define VI_ASSERT_IRQ1 (1)
#define VI_ASSERT_IRQ2 (2)
#define VI_ASSERT_IRQ3 (3)
#define VI_ASSERT_IRQ4 (4)
#define VI_ASSERT_IRQ5 (5)
#define VI_ASSERT_IRQ6 (6)
#define VI_ASSERT_IRQ7 (7)
#define VI_UTIL_ASSERT_SYSRESET (1)
#define VI_UTIL_ASSERT_SYSFAIL (2)
#define VI_UTIL_DEASSERT_SYSFAIL (3)

#endif /* UXVISA_VISATYPE_H */
