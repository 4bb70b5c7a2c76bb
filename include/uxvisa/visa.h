/**
 * @file visa.h
 * @brief The functions of the VISA C API as libUxVisa offers them.
 *
 * Each function says what is particular to it: arguments, blocking, statuses. What is common to
 * all stands here once, and at more length in docs/contracts.md. The format languages of
 * viPrintf() and viScanf() are in docs/formatted-io.md.
 *
 * What works today
 * ----------------
 *   - viOpen() opens TCP socket resources, "TCPIP::host::port::SOCKET", and Unix-domain sockets,
 *     "USOCK::path::SOCKET". Resources that end in ECAL, TRM, QUILL, NFM, GNM or SAPROC are served
 *     by driver libraries of their own, and "TCPIP::host::INSTR" (VXI-11) by the driver library
 *     that the program binds; without the library all of these answer VI_ERROR_LIBRARY_NFOUND.
 *     Serial ports are opened by their device's name, "ttyUSB0::INSTR". "::BRIX" behind one of
 *     these resources speaks the binary command protocol over it, in lines of text, with the
 *     protocol-description library of the working directory. Other interfaces (GPIB, USB) answer
 *     VI_ERROR_RSRC_NFOUND; a TCPIP resource with any other word answers VI_ERROR_INV_RSRC_NAME.
 *   - viFindRsrc() finds serial ports, USB instruments, and on the LAN instruments that answer the
 *     library's own discovery request or that have a portmapper with VXI-11.
 *
 * Statuses
 * --------
 * Every function but viPeek and viPoke returns a ViStatus: VI_SUCCESS (0), a positive completion
 * code, or a negative error; "status < 0" is the test for an error. Statuses are sign-extended to
 * 64 bits, so compare them with the names of visatype.h and keep them in a ViStatus, not in an
 * unsigned 32-bit variable. Beside the statuses named at each function:
 *   - VI_ERROR_INV_OBJECT: the handle names nothing that is open. Nothing else has happened.
 *   - VI_ERROR_SYSTEM_ERROR: memory ran out, or something else failed inside the library. No
 *     exception leaves a function, except a thread cancellation, which is passed on.
 *   - VI_ERROR_NIMPL_OPER: the object behind the handle (a search list, say) has no such
 *     operation.
 *
 * Not offered
 * -----------
 * A function marked so answers VI_ERROR_NIMPL_OPER to any handle, even a closed one, looks at none
 * of its arguments and writes none of its outputs. Its comment says what the VISA standard has it
 * do.
 *
 * Handles
 * -------
 * A handle is a random number from 1 to 4294967295; 0 is never one. The resource manager's handle
 * is always the same as long as the library is loaded. It is good for viFindRsrc(), viOpen(),
 * viClose() and the attribute VI_ATTR_RSRC_MANF_NAME; every function that acts on a session
 * answers it with VI_ERROR_INV_OBJECT. A closed handle is answered with VI_ERROR_INV_OBJECT like
 * one that never was.
 *
 * Threads
 * -------
 *   - viOpen(), viClose() and a viFindRsrc() that keeps a list change the table of handles, which
 *     has no lock: none of them may run while another thread is in any function that uses a
 *     handle. The program serialises them.
 *   - Calls on one session: one at a time. Calls on different sessions may run at the same time.
 *   - viOpenDefaultRM(), viGetDefaultRM(), viStatusDesc() and everything that only answers
 *     VI_ERROR_NIMPL_OPER may be called at any time by any thread.
 *
 * Buffers and strings
 * -------------------
 * The caller owns everything it passes; the library keeps no pointer after the call. Texts are
 * NUL-terminated bytes. Buffers for a description have VI_FIND_BUFLEN (256) bytes. A count that
 * comes back is an eight-byte store into a ViUInt32; a null pointer for a count is allowed
 * everywhere. A data buffer may be null only with a count of 0. Transfers keep their buffers on
 * the stack: a thread that makes them should have 512 KiB of it.
 *
 * Blocking
 * --------
 * A function blocks only where its comment says so. VI_ATTR_TMO_VALUE is the time-out of a
 * session's transfers in milliseconds; 100000 (100 s) unless set. A waiting call wakes as soon as
 * there is something to do and costs next to no processor time. "The time of a reconnect" is 0.5 s
 * to about 3 s: a transfer on a session whose connection was found broken connects again before it
 * begins.
 *
 * Signals
 * -------
 * The library installs no handler. A connection closed by the instrument is a status and never a
 * SIGPIPE. A signal handler that returns does not end a wait. No function may be called from a
 * signal handler.
 *
 * Load and unload
 * ---------------
 * Loading creates the resource manager, so there is nothing to initialise. Unloading (dlclose(),
 * or the end of the process) closes every open session, the newest first. Descriptors are
 * close-on-exec.
 */
#ifndef UXVISA_VISA_H
#define UXVISA_VISA_H

#include <stdarg.h>

#include "visatype.h"

typedef va_list ViVAList;

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Resource manager ---- */

/**
 * Gives the handle of the resource manager.
 *
 * Any number of calls gives the same handle; nothing is counted, allocated or connected.
 *
 * @param vi  receives the handle
 *
 * @return VI_SUCCESS;
 *         VI_ERROR_USER_BUF: @p vi is null;
 *         VI_ERROR_SYSTEM_ERROR: there is no manager, because memory ran out when the library was
 *         loaded, or because the library is being unloaded.
 */
ViStatus viOpenDefaultRM(ViPSession vi);

/**
 * Searches for resources and gives the first one. See "What works today".
 *
 * Blocks until the search is over: about a second for the LAN. Broadcasts on every IPv4 interface
 * (UDP ports 8890 and 9757 to 8889 and 111) and starts threads, which are over when it returns.
 * Ends the process when the system does not tell its network interfaces.
 *
 * @param sesn      the resource manager's handle
 * @param expr      search expression: "?*" for everything; pieces of the resource string in upper
 *                  case with "?*" between them, such as "TCPIP?*" or "?*INSTR"; or a text that
 *                  occurs in the upper-cased description, such as a model name. Serial ports and
 *                  USB devices are reported whatever it is
 * @param findList  receives the handle of a list with the further resources, to be closed with
 *                  viClose(); null: the search is made and no list kept
 * @param retCnt    receives the number of resources, 0 when the search fails; may be null
 * @param desc      receives the first resource string, and behind its NUL a summary with a NUL of
 *                  its own; at most VI_FIND_BUFLEN bytes in all. May be null
 *
 * @p findList and @p desc are written only on VI_SUCCESS.
 *
 * @return VI_SUCCESS;
 *         VI_ERROR_RSRC_NFOUND: nothing was found;
 *         VI_ERROR_INV_EXPR: @p expr is null;
 *         VI_ERROR_INV_OBJECT: @p sesn is not the resource manager's handle;
 *         VI_ERROR_SYSTEM_ERROR: as for viOpenDefaultRM(), or see Statuses.
 */
ViStatus viFindRsrc(ViSession sesn, ViConstString expr, ViPFindList findList, ViPUInt32 retCnt,
                    ViChar desc[]);

/**
 * Gives the next resource of a search list. Does not block.
 *
 * @param findList  a list of viFindRsrc()
 * @param desc      receives the resource string and the summary, as viFindRsrc() does, on
 *                  VI_SUCCESS only; VI_FIND_BUFLEN bytes. May be null
 *
 * @return VI_SUCCESS;
 *         VI_ERROR_RSRC_NFOUND: the list is at its end;
 *         VI_ERROR_NIMPL_OPER: the handle is a session, not a list;
 *         VI_ERROR_INV_OBJECT.
 */
ViStatus viFindNext(ViFindList findList, ViChar desc[]);

/**
 * Parses nothing: resource strings are not taken apart for programs.
 *
 * @p rsrcName is not looked at, and nothing is written.
 *
 * @return VI_ERROR_INV_OBJECT for every handle, the resource manager's included. (The number that
 *         is the manager's address in memory gives VI_ERROR_NIMPL_OPER; no program has a use for
 *         it.)
 */
ViStatus viParseRsrc(ViSession sesn, ViConstRsrc rsrcName, ViPUInt16 intfType, ViPUInt16 intfNum);

/**
 * Parses nothing, writes to none of its outputs and answers exactly like viParseRsrc().
 */
ViStatus viParseRsrcEx(ViSession sesn, ViConstRsrc rsrcName, ViPUInt16 intfType, ViPUInt16 intfNum,
                       ViChar rsrcClass[], ViChar expandedUnaliasedName[], ViChar aliasIfExists[]);

/**
 * Opens a session to a resource and connects it. See "What works today".
 *
 * "TCPIP::host::port::SOCKET": the first and the last word in upper or lower case; digits after
 * TCPIP are a board number and are ignored. The host is a name or an IPv4 address, the port a
 * decimal number that is not 0, of which the low 16 bits count; what follows its digits is
 * ignored.
 *
 * "ttyUSB0::INSTR": a serial port by the name of its device under /dev, in its own case and with
 * "tty" in it, and any word. The line is raw, 115200 baud, 8 data bits, no parity, 1 stop bit.
 *
 * Blocks while the system's resolver looks up the host name, for as long as that takes, and then
 * up to 5 s for the connection. See Threads.
 *
 * @param sesn         the resource manager's handle
 * @param rsrcName     resource string; null is an invalid one
 * @param accessMode   ignored; write VI_NO_LOCK. No session is ever locked
 * @param openTimeout  ignored: the wait for a connection is fixed
 * @param vi           receives the new session's handle, to be closed with viClose(); written only
 *                     on VI_SUCCESS
 *
 * @return VI_SUCCESS;
 *         VI_ERROR_INV_RSRC_NAME: fewer than two words, an unknown interface name, a port missing
 *         or 0, or, for TCPIP sockets, not exactly four words;
 *         VI_ERROR_RSRC_NFOUND: the connection failed, as where nobody listens at the port or a
 *         device is absent or not for this user, or no session class serves the resource;
 *         -1: a serial port's device is no terminal, or has no hardware behind it, which a line on
 *         standard output says too;
 *         VI_ERROR_TMO: no answer within 5 s, no route to the host, or a host name that is not
 *         known;
 *         VI_ERROR_USER_BUF: @p vi is null; nothing is opened;
 *         VI_ERROR_INV_OBJECT: @p sesn is not the resource manager's handle;
 *         VI_ERROR_SYSTEM_ERROR: as for viOpenDefaultRM(), or see Statuses.
 */
ViStatus viOpen(ViSession sesn, ViConstRsrc rsrcName, ViAccessMode accessMode, ViUInt32 openTimeout,
                ViPSession vi);

/* ---- Any object ---- */

/**
 * Closes a session or a search list.
 *
 * The connection is shut down and closed; received data that nobody has read are dropped. Does not
 * wait for the instrument. See Threads.
 *
 * @param vi  a session, a list, or the resource manager. Closing the resource manager's handle
 *            succeeds and does nothing: its sessions stay open and its handle stays good
 *
 * @return VI_SUCCESS, also when the connection did not close cleanly: the handle is gone either
 *         way;
 *         VI_ERROR_INV_OBJECT;
 *         VI_ERROR_SYSTEM_ERROR: as for viOpenDefaultRM().
 */
ViStatus viClose(ViObject vi);

/**
 * Sets an attribute of a session. Does not block.
 *
 * A TCP socket session knows:
 *   - VI_ATTR_TMO_VALUE: time-out of every following transfer, in milliseconds; the low 32 bits
 *     count. VI_TMO_INFINITE is taken as 49.7 days; with VI_TMO_IMMEDIATE a read takes what has
 *     already arrived and a write what the system takes at once;
 *   - VI_ATTR_TERMCHAR_EN: VI_TRUE, or any value but 0, ends each read after a line feed;
 *     VI_FALSE, the initial state, does not. The termination character is always the line feed
 *     (10).
 *
 * A serial port knows VI_ATTR_TMO_VALUE (any value, without effect on transfers) and
 * VI_ATTR_ASRL_BAUD, _DATA_BITS, _PARITY, _STOP_BITS, _XON_CHAR and _XOFF_CHAR; what each takes,
 * and which of them do less than their names say, is in docs/contracts.md.
 *
 * @param vi         a session
 * @param attribute  a VI_ATTR_ identifier, zero-extended
 * @param attrState  the value
 *
 * @return VI_SUCCESS;
 *         VI_ERROR_NSUP_ATTR: the session has no such attribute, or it cannot be set;
 *         VI_ERROR_NSUP_ATTR_STATE, VI_ERROR_INV_PARAMETER, VI_ERROR_RSRC_NFOUND: a serial port
 *         does not take the value;
 *         VI_ERROR_INV_OBJECT, also for the resource manager's handle.
 */
ViStatus viSetAttribute(ViObject vi, ViAttr attribute, ViAttrState attrState);

/**
 * Reads an attribute. Does not block.
 *
 * Every object, the resource manager included, answers VI_ATTR_RSRC_MANF_NAME with "Orvane": 7
 * bytes with the NUL. A TCP socket session also answers:
 *   - VI_ATTR_TMO_VALUE: 8 bytes, a ViUInt32;
 *   - VI_ATTR_TERMCHAR_EN: 4 bytes, 0 or 1. Pass a ViUInt32 preset to 0, or an unsigned int, but
 *     never a ViBoolean, which has 2 bytes;
 *   - VI_ATTR_INTF_TYPE: 2 bytes, a ViUInt16; always 4 (VI_INTF_ASRL), on purpose: raw sockets are
 *     stream devices like serial lines.
 *
 * A search list answers texts about the resource it gave last, "" where there is none, of at most
 * VI_FIND_BUFLEN bytes with the NUL: VI_ATTR_MANF_NAME, VI_ATTR_MODEL_NAME, VI_ATTR_USB_SERIAL_NUM,
 * VI_ATTR_TCPIP_ADDR, and 0x3FFF024A, the name that an instrument on the LAN gives itself.
 *
 * A serial port answers every attribute with VI_SUCCESS, on purpose, and stores only
 * VI_ATTR_TMO_VALUE, in 4 bytes: pass a ViUInt32 preset to 0.
 *
 * @param vi         any object
 * @param attribute  a VI_ATTR_ identifier, zero-extended
 * @param attrState  receives the value, of the size above; written only on VI_SUCCESS
 *
 * @return VI_SUCCESS;
 *         VI_ERROR_NSUP_ATTR: the object has no such attribute;
 *         VI_ERROR_NSUP_ATTR_STATE: @p attrState is null;
 *         VI_ERROR_INV_OBJECT, also for the resource manager's handle with any other attribute.
 */
ViStatus viGetAttribute(ViObject vi, ViAttr attribute, void* attrState);

/**
 * Gives an English sentence for a status. Does not block.
 *
 * VI_SUCCESS and these errors have a text of at most 88 characters: SYSTEM_ERROR, INV_OBJECT,
 * RSRC_NFOUND, INV_RSRC_NAME, TMO, CLOSING_FAILED, NSUP_ATTR, ABORT, INP_PROT_VIOL, IO, INV_FMT,
 * RSRC_BUSY, NIMPL_OPER, LIBRARY_NFOUND, CONN_LOST. Every other code gives the empty text.
 *
 * @param vi      ignored; any number, also a closed handle
 * @param status  the status; sign-extended, or zero-extended from 32 bits
 * @param desc    receives the text; VI_FIND_BUFLEN bytes. Null: nothing is written
 *
 * @return VI_SUCCESS always; a code without a text is no error and no warning.
 */
ViStatus viStatusDesc(ViObject vi, ViStatus status, ViChar desc[]);

/** Not offered, VI_ERROR_NIMPL_OPER: ends an asynchronous transfer. */
ViStatus viTerminate(ViObject vi, ViUInt16 degree, ViJobId jobId);

/** Not offered, VI_ERROR_NIMPL_OPER: locks a resource for one session or for a group. */
ViStatus viLock(ViSession vi, ViAccessMode lockType, ViUInt32 timeout, ViConstKeyId requestedKey,
                ViChar accessKey[]);

/** Not offered, VI_ERROR_NIMPL_OPER: gives up one lock of viLock(). */
ViStatus viUnlock(ViSession vi);

/* ---- Events ---- */

/**
 * Enables nothing: no session delivers events. The arguments are ignored.
 *
 * @return VI_ERROR_NIMPL_OPER for a session; VI_ERROR_INV_OBJECT.
 */
ViStatus viEnableEvent(ViSession vi, ViEventType eventType, ViUInt16 mechanism,
                       ViEventFilter context);

/**
 * Succeeds on every session and changes nothing, since no event can be enabled.
 *
 * The arguments after the handle are ignored.
 *
 * @return VI_SUCCESS; VI_ERROR_INV_OBJECT.
 */
ViStatus viDisableEvent(ViSession vi, ViEventType eventType, ViUInt16 mechanism);

/**
 * Succeeds on every session and changes nothing, since no event is ever queued.
 *
 * The arguments after the handle are ignored.
 *
 * @return VI_SUCCESS; VI_ERROR_INV_OBJECT.
 */
ViStatus viDiscardEvents(ViSession vi, ViEventType eventType, ViUInt16 mechanism);

/** Not offered, VI_ERROR_NIMPL_OPER: waits for an event of a queue. */
ViStatus viWaitOnEvent(ViSession vi, ViEventType inEventType, ViUInt32 timeout,
                       ViPEventType outEventType, ViPEvent outContext);

/** Not offered, VI_ERROR_NIMPL_OPER: installs a callback for an event type. */
ViStatus viInstallHandler(ViSession vi, ViEventType eventType, ViHndlr handler, ViAddr userHandle);

/** Not offered, VI_ERROR_NIMPL_OPER: removes a callback of viInstallHandler(). */
ViStatus viUninstallHandler(ViSession vi, ViEventType eventType, ViHndlr handler,
                            ViAddr userHandle);

/* ---- Basic I/O ---- */

/**
 * Reads bytes from the instrument.
 *
 * Ends when @p count bytes have arrived; with VI_ATTR_TERMCHAR_EN also after a line feed, which is
 * the last byte delivered. What follows the line feed is left for the next read. Bytes that
 * viScanf() has in its buffer are not delivered here: a session should use one of the two ways of
 * reading.
 *
 * A serial port delivers what is there, line feeds or not, and nothing that comes later: a silent
 * line is VI_ERROR_CONN_LOST after about 6 ms and can be read again. It stores a NUL behind the
 * data, so the buffer has @p count bytes and one more; @p retCount is written on VI_SUCCESS only.
 *
 * Blocks at most VI_ATTR_TMO_VALUE, after the time of a reconnect if the connection was broken.
 *
 * @param vi        a session
 * @param buf       receives the bytes; at least @p count of them. No NUL is added, except by a
 *                  serial port
 * @param count     bytes wanted, up to 4294967295. 0 succeeds without waiting for data
 * @param retCount  receives the number of bytes delivered, with every status; may be null
 *
 * @return VI_SUCCESS: all @p count bytes are there (never VI_SUCCESS_MAX_CNT);
 *         VI_SUCCESS_TERM_CHAR: a line feed ended the read;
 *         VI_ERROR_TMO: the time is over; @p retCount bytes are there. An instrument that has
 *         closed its end in the ordinary way shows as this too, on purpose: a later write finds
 *         it out;
 *         VI_ERROR_CONN_LOST: the connection broke, @p retCount bytes are there, or a reconnect
 *         failed; the next transfer connects again;
 *         VI_ERROR_NIMPL_OPER: the handle is a search list;
 *         VI_ERROR_INV_OBJECT; VI_ERROR_SYSTEM_ERROR.
 */
ViStatus viRead(ViSession vi, ViPByte buf, ViUInt32 count, ViPUInt32 retCount);

/** Not offered, VI_ERROR_NIMPL_OPER: starts a read and returns at once. */
ViStatus viReadAsync(ViSession vi, ViPByte buf, ViUInt32 count, ViPJobId jobId);

/** Not offered, VI_ERROR_NIMPL_OPER: reads from the instrument into a file. */
ViStatus viReadToFile(ViSession vi, ViConstString filename, ViUInt32 count, ViPUInt32 retCount);

/**
 * Writes bytes to the instrument, as they are: nothing is appended.
 *
 * Returns when the system has taken the bytes; the instrument may still be receiving them. Blocks
 * at most VI_ATTR_TMO_VALUE, after the time of a reconnect if the connection was broken.
 *
 * A serial port takes all bytes or answers VI_ERROR_CONN_LOST, waits until they are out on the
 * line, and never writes @p retCount, on purpose.
 *
 * @param vi        a session
 * @param buf       the bytes
 * @param count     how many, up to 4294967295; more run into the time-out. 0 succeeds
 * @param retCount  receives the number of bytes written; may be null
 *
 * @return VI_SUCCESS: all bytes are written;
 *         VI_ERROR_TMO: the time is over. @p retCount is 0, on purpose, although part of the data
 *         may be on its way;
 *         VI_ERROR_CONN_LOST: the connection broke after @p retCount bytes, or a reconnect failed;
 *         the next transfer connects again;
 *         VI_ERROR_NIMPL_OPER: the handle is a search list;
 *         VI_ERROR_INV_OBJECT; VI_ERROR_SYSTEM_ERROR.
 */
ViStatus viWrite(ViSession vi, ViConstBuf buf, ViUInt32 count, ViPUInt32 retCount);

/** Not offered, VI_ERROR_NIMPL_OPER: starts a write and returns at once. */
ViStatus viWriteAsync(ViSession vi, ViConstBuf buf, ViUInt32 count, ViPJobId jobId);

/** Not offered, VI_ERROR_NIMPL_OPER: writes the contents of a file. */
ViStatus viWriteFromFile(ViSession vi, ViConstString filename, ViUInt32 count, ViPUInt32 retCount);

/** Not offered, VI_ERROR_NIMPL_OPER: triggers the instrument. */
ViStatus viAssertTrigger(ViSession vi, ViUInt16 protocol);

/** Not offered, VI_ERROR_NIMPL_OPER: reads the status byte of IEEE 488.1. */
ViStatus viReadSTB(ViSession vi, ViPUInt16 status);

/**
 * Clears the link to the instrument: a TCP socket session is closed and connected again.
 *
 * Data on their way are lost. Bytes that viScanf() has in its buffer stay there. Blocks for the
 * time of a reconnect: at least 0.5 s, at most about 3 s. The host name is not looked up again.
 * A serial port is closed and opened again at once, and its attributes are those of a new session.
 *
 * @param vi  a session
 *
 * @return VI_SUCCESS;
 *         VI_ERROR_CONN_LOST: no connection within that time; the next transfer tries again;
 *         VI_ERROR_NIMPL_OPER: the handle is a search list;
 *         VI_ERROR_INV_OBJECT; VI_ERROR_SYSTEM_ERROR.
 */
ViStatus viClear(ViSession vi);

/* ---- Formatted I/O ---- */

/** Not offered, VI_ERROR_NIMPL_OPER: sets the size of a formatted I/O buffer. */
ViStatus viSetBuf(ViSession vi, ViUInt16 mask, ViUInt32 size);

/**
 * A TCP socket session has nothing to flush: what is written is sent at once. A serial port drops
 * what has arrived and was not read.
 *
 * @param vi    a session
 * @param mask  ignored
 *
 * @return VI_SUCCESS for a serial port; VI_ERROR_CONN_LOST when its device is gone;
 *         VI_ERROR_NIMPL_OPER for a TCP socket session; VI_ERROR_INV_OBJECT.
 */
ViStatus viFlush(ViSession vi, ViUInt16 mask);

/**
 * Is viWrite() under another name: there is no write buffer.
 */
ViStatus viBufWrite(ViSession vi, ViConstBuf buf, ViUInt32 count, ViPUInt32 retCount);

/**
 * Is viRead() under another name: it takes nothing from the buffer of viScanf().
 */
ViStatus viBufRead(ViSession vi, ViPByte buf, ViUInt32 count, ViPUInt32 retCount);

/**
 * Renders a format and writes the text to the instrument. See docs/formatted-io.md.
 *
 * @warning "%f" and "%e" without an l abort the process, because the type of the argument cannot
 *          be known. Write "%lf" for a double ("%Lf" and "%llf" take a double too, never a long
 *          double).
 * @warning "%ld" reads an int and prints its 32 bits zero-extended: -5 becomes 4294967291. Write
 *          "%d".
 *
 * Nothing is appended: end the format with "\n" where the instrument wants a line feed. Text
 * longer than 64000 bytes goes in several writes of at most 65000 bytes; the statuses of all but
 * the last are not reported.
 *
 * Blocks like viWrite(), once for each write.
 *
 * @param vi        a session
 * @param writeFmt  the format
 * @param ...       its arguments: int for %d and every '*', double for %lf and %le, char* for %s,
 *                  int* and double* for arrays
 *
 * @return VI_SUCCESS, or the status of the last viWrite();
 *         VI_ERROR_INV_FMT: a null format, or a conversion that is malformed;
 *         VI_ERROR_NSUP_FMT: a conversion character that is not one of c, d, e, f, s;
 *         VI_ERROR_INV_OBJECT; VI_ERROR_SYSTEM_ERROR.
 *         After a format error nothing has been sent, except for text longer than 64000 bytes.
 */
ViStatus viPrintf(ViSession vi, ViConstString writeFmt, ...);

/**
 * Prints nothing: formatted output with a va_list is not offered. The format is not looked at.
 *
 * @return VI_ERROR_NIMPL_OPER for a session; VI_ERROR_INV_OBJECT.
 */
ViStatus viVPrintf(ViSession vi, ViConstString writeFmt, ViVAList params);

/** Not offered, VI_ERROR_NIMPL_OPER: renders a format into a buffer. */
ViStatus viSPrintf(ViSession vi, ViPByte buf, ViConstString writeFmt, ...);

/** Not offered, VI_ERROR_NIMPL_OPER: renders a format with a va_list into a buffer. */
ViStatus viVSPrintf(ViSession vi, ViPByte buf, ViConstString writeFmt, ViVAList params);

/**
 * Reads a line from the instrument and takes it apart. See docs/formatted-io.md.
 *
 * Reads first: with VI_ATTR_TERMCHAR_EN one viRead() up to the line feed, else byte by byte up to
 * a line feed. Then matches the format. Bytes that the format did not use stay in the session's
 * buffer for the next viScanf(), which nevertheless reads from the instrument first; with
 * VI_ATTR_TERMCHAR_EN the next read replaces them.
 *
 * @warning "%ld" stores 8 bytes for each number, at a stride of 4 in arrays. Write "%d" into int.
 * @warning The elements of "%f" and "%e" arrays are 8 bytes apart: use "%,3lf" into double.
 * @warning "%*d", "%*e" and "%*f" still take an argument from the list.
 * @warning "%s", "%[" and "%T" store without a limit unless a width is given.
 *
 * Blocks like viRead(); without VI_ATTR_TERMCHAR_EN the time-out runs anew for every byte.
 *
 * @param vi       a session
 * @param readFmt  the format
 * @param ...      pointers: int* for %d, float* for %f, double* for %lf, char* for %c, %s, %[ and
 *                 %T; int by value for every '#'
 *
 * @return VI_SUCCESS: the whole format matched;
 *         VI_ERROR_TMO, VI_ERROR_CONN_LOST: the read failed, nothing is stored. Without
 *         VI_ATTR_TERMCHAR_EN a time-out after some bytes is no error;
 *         VI_ERROR_INV_FMT: a null format, a conversion that is malformed, or input that does not
 *         match. What was stored before stays stored;
 *         VI_ERROR_NSUP_FMT: a conversion character that is not one of c, d, e, f, s, ], T;
 *         VI_ERROR_NIMPL_OPER: the handle is a search list;
 *         VI_ERROR_INV_OBJECT; VI_ERROR_SYSTEM_ERROR.
 */
ViStatus viScanf(ViSession vi, ViConstString readFmt, ...);

/**
 * Reads nothing: formatted input with a va_list is not offered. The format is not looked at.
 *
 * @return VI_ERROR_NIMPL_OPER for a session; VI_ERROR_INV_OBJECT.
 */
ViStatus viVScanf(ViSession vi, ViConstString readFmt, ViVAList params);

/** Not offered, VI_ERROR_NIMPL_OPER: takes a text in memory apart. */
ViStatus viSScanf(ViSession vi, ViConstBuf buf, ViConstString readFmt, ...);

/** Not offered, VI_ERROR_NIMPL_OPER: takes a text in memory apart with a va_list. */
ViStatus viVSScanf(ViSession vi, ViConstBuf buf, ViConstString readFmt, ViVAList params);

/**
 * Is viPrintf() and then viScanf(), with one list of arguments: first those of @p writeFmt, then
 * those of @p readFmt.
 *
 * viQueryf(vi, "CHAN %d;VOLT?\n", "%lf", 2, &volts) sends "CHAN 2;VOLT?" and reads the reply. The
 * warnings of both functions hold. Blocks like the two together.
 *
 * @param vi        a session
 * @param writeFmt  format of what is written
 * @param readFmt   format of what is read
 * @param ...       the arguments
 *
 * @return the status of viPrintf() if it is not VI_SUCCESS, and then nothing is read; else the
 *         status of viScanf().
 */
ViStatus viQueryf(ViSession vi, ViConstString writeFmt, ViConstString readFmt, ...);

/** Not offered, VI_ERROR_NIMPL_OPER: is viQueryf() with a va_list. */
ViStatus viVQueryf(ViSession vi, ViConstString writeFmt, ViConstString readFmt, ViVAList params);

/**
 * @name Register access
 *
 * None of these is offered: VI_ERROR_NIMPL_OPER, see "Not offered" above.
 * @{
 */

/** Reads 8 bits. */
ViStatus viIn8(ViSession vi, ViUInt16 space, ViBusAddress offset, ViPUInt8 val8);
/** Writes 8 bits. */
ViStatus viOut8(ViSession vi, ViUInt16 space, ViBusAddress offset, ViUInt8 val8);
/** Reads 16 bits. */
ViStatus viIn16(ViSession vi, ViUInt16 space, ViBusAddress offset, ViPUInt16 val16);
/** Writes 16 bits. */
ViStatus viOut16(ViSession vi, ViUInt16 space, ViBusAddress offset, ViUInt16 val16);
/** Reads 32 bits. */
ViStatus viIn32(ViSession vi, ViUInt16 space, ViBusAddress offset, ViPUInt32 val32);
/** Writes 32 bits. */
ViStatus viOut32(ViSession vi, ViUInt16 space, ViBusAddress offset, ViUInt32 val32);
/** Reads 64 bits. */
ViStatus viIn64(ViSession vi, ViUInt16 space, ViBusAddress offset, ViPUInt64 val64);
/** Writes 64 bits. */
ViStatus viOut64(ViSession vi, ViUInt16 space, ViBusAddress offset, ViUInt64 val64);
/** Reads 8 bits, 64-bit offset. */
ViStatus viIn8Ex(ViSession vi, ViUInt16 space, ViBusAddress64 offset, ViPUInt8 val8);
/** Writes 8 bits, 64-bit offset. */
ViStatus viOut8Ex(ViSession vi, ViUInt16 space, ViBusAddress64 offset, ViUInt8 val8);
/** Reads 16 bits, 64-bit offset. */
ViStatus viIn16Ex(ViSession vi, ViUInt16 space, ViBusAddress64 offset, ViPUInt16 val16);
/** Writes 16 bits, 64-bit offset. */
ViStatus viOut16Ex(ViSession vi, ViUInt16 space, ViBusAddress64 offset, ViUInt16 val16);
/** Reads 32 bits, 64-bit offset. */
ViStatus viIn32Ex(ViSession vi, ViUInt16 space, ViBusAddress64 offset, ViPUInt32 val32);
/** Writes 32 bits, 64-bit offset. */
ViStatus viOut32Ex(ViSession vi, ViUInt16 space, ViBusAddress64 offset, ViUInt32 val32);
/** Reads 64 bits, 64-bit offset. */
ViStatus viIn64Ex(ViSession vi, ViUInt16 space, ViBusAddress64 offset, ViPUInt64 val64);
/** Writes 64 bits, 64-bit offset. */
ViStatus viOut64Ex(ViSession vi, ViUInt16 space, ViBusAddress64 offset, ViUInt64 val64);
/** Reads a block of 8-bit words. */
ViStatus viMoveIn8(ViSession vi, ViUInt16 space, ViBusAddress offset, ViBusSize length,
                   ViAUInt8 buf8);
/** Writes a block of 8-bit words. */
ViStatus viMoveOut8(ViSession vi, ViUInt16 space, ViBusAddress offset, ViBusSize length,
                    ViAUInt8 buf8);
/** Reads a block of 16-bit words. */
ViStatus viMoveIn16(ViSession vi, ViUInt16 space, ViBusAddress offset, ViBusSize length,
                    ViAUInt16 buf16);
/** Writes a block of 16-bit words. */
ViStatus viMoveOut16(ViSession vi, ViUInt16 space, ViBusAddress offset, ViBusSize length,
                     ViAUInt16 buf16);
/** Reads a block of 32-bit words. */
ViStatus viMoveIn32(ViSession vi, ViUInt16 space, ViBusAddress offset, ViBusSize length,
                    ViAUInt32 buf32);
/** Writes a block of 32-bit words. */
ViStatus viMoveOut32(ViSession vi, ViUInt16 space, ViBusAddress offset, ViBusSize length,
                     ViAUInt32 buf32);
/** Reads a block of 64-bit words. */
ViStatus viMoveIn64(ViSession vi, ViUInt16 space, ViBusAddress offset, ViBusSize length,
                    ViAUInt64 buf64);
/** Writes a block of 64-bit words. */
ViStatus viMoveOut64(ViSession vi, ViUInt16 space, ViBusAddress offset, ViBusSize length,
                     ViAUInt64 buf64);
/** Reads a block of 8-bit words, 64-bit offset. */
ViStatus viMoveIn8Ex(ViSession vi, ViUInt16 space, ViBusAddress64 offset, ViBusSize length,
                     ViAUInt8 buf8);
/** Writes a block of 8-bit words, 64-bit offset. */
ViStatus viMoveOut8Ex(ViSession vi, ViUInt16 space, ViBusAddress64 offset, ViBusSize length,
                      ViAUInt8 buf8);
/** Reads a block of 16-bit words, 64-bit offset. */
ViStatus viMoveIn16Ex(ViSession vi, ViUInt16 space, ViBusAddress64 offset, ViBusSize length,
                      ViAUInt16 buf16);
/** Writes a block of 16-bit words, 64-bit offset. */
ViStatus viMoveOut16Ex(ViSession vi, ViUInt16 space, ViBusAddress64 offset, ViBusSize length,
                       ViAUInt16 buf16);
/** Reads a block of 32-bit words, 64-bit offset. */
ViStatus viMoveIn32Ex(ViSession vi, ViUInt16 space, ViBusAddress64 offset, ViBusSize length,
                      ViAUInt32 buf32);
/** Writes a block of 32-bit words, 64-bit offset. */
ViStatus viMoveOut32Ex(ViSession vi, ViUInt16 space, ViBusAddress64 offset, ViBusSize length,
                       ViAUInt32 buf32);
/** Reads a block of 64-bit words, 64-bit offset. */
ViStatus viMoveIn64Ex(ViSession vi, ViUInt16 space, ViBusAddress64 offset, ViBusSize length,
                      ViAUInt64 buf64);
/** Writes a block of 64-bit words, 64-bit offset. */
ViStatus viMoveOut64Ex(ViSession vi, ViUInt16 space, ViBusAddress64 offset, ViBusSize length,
                       ViAUInt64 buf64);
/** Copies a block between spaces. */
ViStatus viMove(ViSession vi, ViUInt16 srcSpace, ViBusAddress srcOffset, ViUInt16 srcWidth,
                ViUInt16 destSpace, ViBusAddress destOffset, ViUInt16 destWidth,
                ViBusSize srcLength);
/** Starts a copy between spaces. */
ViStatus viMoveAsync(ViSession vi, ViUInt16 srcSpace, ViBusAddress srcOffset, ViUInt16 srcWidth,
                     ViUInt16 destSpace, ViBusAddress destOffset, ViUInt16 destWidth,
                     ViBusSize srcLength, ViPJobId jobId);
/** Copies a block between spaces, 64-bit offsets. */
ViStatus viMoveEx(ViSession vi, ViUInt16 srcSpace, ViBusAddress64 srcOffset, ViUInt16 srcWidth,
                  ViUInt16 destSpace, ViBusAddress64 destOffset, ViUInt16 destWidth,
                  ViBusSize srcLength);
/** Starts a copy between spaces, 64-bit offsets. */
ViStatus viMoveAsyncEx(ViSession vi, ViUInt16 srcSpace, ViBusAddress64 srcOffset, ViUInt16 srcWidth,
                       ViUInt16 destSpace, ViBusAddress64 destOffset, ViUInt16 destWidth,
                       ViBusSize srcLength, ViPJobId jobId);
/** @} */

/**
 * @name Memory mapping
 *
 * None of these is offered: VI_ERROR_NIMPL_OPER, see "Not offered" above. The Peek and Poke
 * functions, which return nothing, do nothing.
 * @{
 */

/** Maps a window of a space into the process. */
ViStatus viMapAddress(ViSession vi, ViUInt16 mapSpace, ViBusAddress mapOffset, ViBusSize mapSize,
                      ViBoolean access, ViAddr suggested, ViPAddr address);
/** Maps a window of a space into the process, 64-bit offset. */
ViStatus viMapAddressEx(ViSession vi, ViUInt16 mapSpace, ViBusAddress64 mapOffset,
                        ViBusSize mapSize, ViBoolean access, ViAddr suggested, ViPAddr address);
/** Removes the window of viMapAddress(). */
ViStatus viUnmapAddress(ViSession vi);
/** Reads 8 bits; here it leaves @p val8 as it is. */
void viPeek8(ViSession vi, ViAddr address, ViPUInt8 val8);
/** Writes 8 bits; here it does nothing. */
void viPoke8(ViSession vi, ViAddr address, ViUInt8 val8);
/** Reads 16 bits; here it leaves @p val16 as it is. */
void viPeek16(ViSession vi, ViAddr address, ViPUInt16 val16);
/** Writes 16 bits; here it does nothing. */
void viPoke16(ViSession vi, ViAddr address, ViUInt16 val16);
/** Reads 32 bits; here it leaves @p val32 as it is. */
void viPeek32(ViSession vi, ViAddr address, ViPUInt32 val32);
/** Writes 32 bits; here it does nothing. */
void viPoke32(ViSession vi, ViAddr address, ViUInt32 val32);
/** Reads 64 bits; here it leaves @p val64 as it is. */
void viPeek64(ViSession vi, ViAddr address, ViPUInt64 val64);
/** Writes 64 bits; here it does nothing. */
void viPoke64(ViSession vi, ViAddr address, ViUInt64 val64);
/** Allocates memory of the device. */
ViStatus viMemAlloc(ViSession vi, ViBusSize size, ViPBusAddress offset);
/** Frees memory of viMemAlloc(). */
ViStatus viMemFree(ViSession vi, ViBusAddress offset);
/** Allocates memory of the device, 64-bit offset. */
ViStatus viMemAllocEx(ViSession vi, ViBusSize size, ViPBusAddress64 offset);
/** Frees memory of viMemAllocEx(). */
ViStatus viMemFreeEx(ViSession vi, ViBusAddress64 offset);
/** @} */

/**
 * @name Interfaces: GPIB, VXI, USB
 *
 * None of these is offered: VI_ERROR_NIMPL_OPER, see "Not offered" above.
 * @{
 */

/** Drives the GPIB line REN. */
ViStatus viGpibControlREN(ViSession vi, ViUInt16 mode);
/** Drives the GPIB line ATN. */
ViStatus viGpibControlATN(ViSession vi, ViUInt16 mode);
/** Pulses the GPIB line IFC. */
ViStatus viGpibSendIFC(ViSession vi);
/** Sends GPIB command bytes. */
ViStatus viGpibCommand(ViSession vi, ViConstBuf cmd, ViUInt32 cnt, ViPUInt32 retCnt);
/** Makes another GPIB device the controller in charge. */
ViStatus viGpibPassControl(ViSession vi, ViUInt16 primAddr, ViUInt16 secAddr);
/** Sends a word-serial command, reads the response. */
ViStatus viVxiCommandQuery(ViSession vi, ViUInt16 mode, ViUInt32 cmd, ViPUInt32 response);
/** Drives a utility line of the backplane. */
ViStatus viAssertUtilSignal(ViSession vi, ViUInt16 line);
/** Drives an interrupt or signal to the controller. */
ViStatus viAssertIntrSignal(ViSession vi, ViInt16 mode, ViUInt32 statusID);
/** Connects two trigger lines. */
ViStatus viMapTrigger(ViSession vi, ViInt16 trigSrc, ViInt16 trigDest, ViUInt16 mode);
/** Undoes viMapTrigger(). */
ViStatus viUnmapTrigger(ViSession vi, ViInt16 trigSrc, ViInt16 trigDest);
/** Makes a USB control transfer to the device. */
ViStatus viUsbControlOut(ViSession vi, ViInt16 bmRequestType, ViInt16 bRequest, ViUInt16 wValue,
                         ViUInt16 wIndex, ViUInt16 wLength, ViConstBuf buf);
/** Makes a USB control transfer from the device. */
ViStatus viUsbControlIn(ViSession vi, ViInt16 bmRequestType, ViInt16 bRequest, ViUInt16 wValue,
                        ViUInt16 wIndex, ViUInt16 wLength, ViPByte buf, ViPUInt16 retCnt);
/** @} */

#ifdef __cplusplus
}
#endif

/**
 * Is viOpenDefaultRM() under its older name.
 *
 * The library exports it under its C++ name only, so a program that looks it up by name asks for
 * "_Z14viGetDefaultRMPm". C programs get at it by this header like at any other function.
 */
#ifdef __cplusplus
ViStatus viGetDefaultRM(ViPSession vi);
#else
ViStatus viGetDefaultRM(ViPSession vi) __asm__("_Z14viGetDefaultRMPm");
#endif

#endif /* UXVISA_VISA_H */
