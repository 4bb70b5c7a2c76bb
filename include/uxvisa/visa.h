#ifndef UXVISA_VISA_H
#define UXVISA_VISA_H

#include <stdarg.h>

#include "visatype.h"

typedef va_list ViVAList;

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Resource manager ---- */

ViStatus viOpenDefaultRM(ViPSession vi);
ViStatus viFindRsrc(ViSession sesn, ViConstString expr, ViPFindList findList, ViPUInt32 retCnt,
                    ViChar desc[]);
ViStatus viFindNext(ViFindList findList, ViChar desc[]);
ViStatus viParseRsrc(ViSession sesn, ViConstRsrc rsrcName, ViPUInt16 intfType, ViPUInt16 intfNum);
ViStatus viParseRsrcEx(ViSession sesn, ViConstRsrc rsrcName, ViPUInt16 intfType, ViPUInt16 intfNum,
                       ViChar rsrcClass[], ViChar expandedUnaliasedName[], ViChar aliasIfExists[]);
ViStatus viOpen(ViSession sesn, ViConstRsrc rsrcName, ViAccessMode accessMode, ViUInt32 openTimeout,
                ViPSession vi);

/* ---- Any object ---- */

ViStatus viClose(ViObject vi);
ViStatus viSetAttribute(ViObject vi, ViAttr attribute, ViAttrState attrState);
ViStatus viGetAttribute(ViObject vi, ViAttr attribute, void* attrState);
ViStatus viStatusDesc(ViObject vi, ViStatus status, ViChar desc[]);
ViStatus viTerminate(ViObject vi, ViUInt16 degree, ViJobId jobId);
ViStatus viLock(ViSession vi, ViAccessMode lockType, ViUInt32 timeout, ViConstKeyId requestedKey,
                ViChar accessKey[]);
ViStatus viUnlock(ViSession vi);

/* ---- Events ---- */

ViStatus viEnableEvent(ViSession vi, ViEventType eventType, ViUInt16 mechanism,
                       ViEventFilter context);
ViStatus viDisableEvent(ViSession vi, ViEventType eventType, ViUInt16 mechanism);
ViStatus viDiscardEvents(ViSession vi, ViEventType eventType, ViUInt16 mechanism);
ViStatus viWaitOnEvent(ViSession vi, ViEventType inEventType, ViUInt32 timeout,
                       ViPEventType outEventType, ViPEvent outContext);
ViStatus viInstallHandler(ViSession vi, ViEventType eventType, ViHndlr handler, ViAddr userHandle);
ViStatus viUninstallHandler(ViSession vi, ViEventType eventType, ViHndlr handler,
                            ViAddr userHandle);

/* ---- Basic I/O ---- */

ViStatus viRead(ViSession vi, ViPByte buf, ViUInt32 count, ViPUInt32 retCount);
ViStatus viReadAsync(ViSession vi, ViPByte buf, ViUInt32 count, ViPJobId jobId);
ViStatus viReadToFile(ViSession vi, ViConstString filename, ViUInt32 count, ViPUInt32 retCount);
ViStatus viWrite(ViSession vi, ViConstBuf buf, ViUInt32 count, ViPUInt32 retCount);
ViStatus viWriteAsync(ViSession vi, ViConstBuf buf, ViUInt32 count, ViPJobId jobId);
ViStatus viWriteFromFile(ViSession vi, ViConstString filename, ViUInt32 count, ViPUInt32 retCount);
ViStatus viAssertTrigger(ViSession vi, ViUInt16 protocol);
ViStatus viReadSTB(ViSession vi, ViPUInt16 status);
ViStatus viClear(ViSession vi);

/* ---- Formatted I/O ---- */

ViStatus viSetBuf(ViSession vi, ViUInt16 mask, ViUInt32 size);
ViStatus viFlush(ViSession vi, ViUInt16 mask);
ViStatus viBufWrite(ViSession vi, ViConstBuf buf, ViUInt32 count, ViPUInt32 retCount);
ViStatus viBufRead(ViSession vi, ViPByte buf, ViUInt32 count, ViPUInt32 retCount);
ViStatus viPrintf(ViSession vi, ViConstString writeFmt, ...);
ViStatus viVPrintf(ViSession vi, ViConstString writeFmt, ViVAList params);
ViStatus viSPrintf(ViSession vi, ViPByte buf, ViConstString writeFmt, ...);
ViStatus viVSPrintf(ViSession vi, ViPByte buf, ViConstString writeFmt, ViVAList params);
ViStatus viScanf(ViSession vi, ViConstString readFmt, ...);
ViStatus viVScanf(ViSession vi, ViConstString readFmt, ViVAList params);
ViStatus viSScanf(ViSession vi, ViConstBuf buf, ViConstString readFmt, ...);
ViStatus viVSScanf(ViSession vi, ViConstBuf buf, ViConstString readFmt, ViVAList params);
ViStatus viQueryf(ViSession vi, ViConstString writeFmt, ViConstString readFmt, ...);
ViStatus viVQueryf(ViSession vi, ViConstString writeFmt, ViConstString readFmt, ViVAList params);

/* ---- Register access ---- */

ViStatus viIn8(ViSession vi, ViUInt16 space, ViBusAddress offset, ViPUInt8 val8);
ViStatus viOut8(ViSession vi, ViUInt16 space, ViBusAddress offset, ViUInt8 val8);
ViStatus viIn16(ViSession vi, ViUInt16 space, ViBusAddress offset, ViPUInt16 val16);
ViStatus viOut16(ViSession vi, ViUInt16 space, ViBusAddress offset, ViUInt16 val16);
ViStatus viIn32(ViSession vi, ViUInt16 space, ViBusAddress offset, ViPUInt32 val32);
ViStatus viOut32(ViSession vi, ViUInt16 space, ViBusAddress offset, ViUInt32 val32);
ViStatus viIn64(ViSession vi, ViUInt16 space, ViBusAddress offset, ViPUInt64 val64);
ViStatus viOut64(ViSession vi, ViUInt16 space, ViBusAddress offset, ViUInt64 val64);
ViStatus viIn8Ex(ViSession vi, ViUInt16 space, ViBusAddress64 offset, ViPUInt8 val8);
ViStatus viOut8Ex(ViSession vi, ViUInt16 space, ViBusAddress64 offset, ViUInt8 val8);
ViStatus viIn16Ex(ViSession vi, ViUInt16 space, ViBusAddress64 offset, ViPUInt16 val16);
ViStatus viOut16Ex(ViSession vi, ViUInt16 space, ViBusAddress64 offset, ViUInt16 val16);
ViStatus viIn32Ex(ViSession vi, ViUInt16 space, ViBusAddress64 offset, ViPUInt32 val32);
ViStatus viOut32Ex(ViSession vi, ViUInt16 space, ViBusAddress64 offset, ViUInt32 val32);
ViStatus viIn64Ex(ViSession vi, ViUInt16 space, ViBusAddress64 offset, ViPUInt64 val64);
ViStatus viOut64Ex(ViSession vi, ViUInt16 space, ViBusAddress64 offset, ViUInt64 val64);
ViStatus viMoveIn8(ViSession vi, ViUInt16 space, ViBusAddress offset, ViBusSize length, ViAUInt8
                   buf8);
ViStatus viMoveOut8(ViSession vi, ViUInt16 space, ViBusAddress offset, ViBusSize length, ViAUInt8
                    buf8);
ViStatus viMoveIn16(ViSession vi, ViUInt16 space, ViBusAddress offset, ViBusSize length, ViAUInt16
                    buf16);
ViStatus viMoveOut16(ViSession vi, ViUInt16 space, ViBusAddress offset, ViBusSize length, ViAUInt16
                     buf16);
ViStatus viMoveIn32(ViSession vi, ViUInt16 space, ViBusAddress offset, ViBusSize length, ViAUInt32
                    buf32);
ViStatus viMoveOut32(ViSession vi, ViUInt16 space, ViBusAddress offset, ViBusSize length, ViAUInt32
                     buf32);
ViStatus viMoveIn64(ViSession vi, ViUInt16 space, ViBusAddress offset, ViBusSize length, ViAUInt64
                    buf64);
ViStatus viMoveOut64(ViSession vi, ViUInt16 space, ViBusAddress offset, ViBusSize length, ViAUInt64
                     buf64);
ViStatus viMoveIn8Ex(ViSession vi, ViUInt16 space, ViBusAddress64 offset, ViBusSize length, ViAUInt8
                     buf8);
ViStatus viMoveOut8Ex(ViSession vi, ViUInt16 space, ViBusAddress64 offset, ViBusSize length,
                      ViAUInt8 buf8);
ViStatus viMoveIn16Ex(ViSession vi, ViUInt16 space, ViBusAddress64 offset, ViBusSize length,
                      ViAUInt16 buf16);
ViStatus viMoveOut16Ex(ViSession vi, ViUInt16 space, ViBusAddress64 offset, ViBusSize length,
                       ViAUInt16 buf16);
ViStatus viMoveIn32Ex(ViSession vi, ViUInt16 space, ViBusAddress64 offset, ViBusSize length,
                      ViAUInt32 buf32);
ViStatus viMoveOut32Ex(ViSession vi, ViUInt16 space, ViBusAddress64 offset, ViBusSize length,
                       ViAUInt32 buf32);
ViStatus viMoveIn64Ex(ViSession vi, ViUInt16 space, ViBusAddress64 offset, ViBusSize length,
                      ViAUInt64 buf64);
ViStatus viMoveOut64Ex(ViSession vi, ViUInt16 space, ViBusAddress64 offset, ViBusSize length,
                       ViAUInt64 buf64);
ViStatus viMove(ViSession vi, ViUInt16 srcSpace, ViBusAddress srcOffset, ViUInt16 srcWidth, ViUInt16
                destSpace, ViBusAddress destOffset, ViUInt16 destWidth, ViBusSize srcLength);
ViStatus viMoveAsync(ViSession vi, ViUInt16 srcSpace, ViBusAddress srcOffset, ViUInt16 srcWidth,
                     ViUInt16 destSpace, ViBusAddress destOffset, ViUInt16 destWidth, ViBusSize
                     srcLength, ViPJobId jobId);
ViStatus viMoveEx(ViSession vi, ViUInt16 srcSpace, ViBusAddress64 srcOffset, ViUInt16 srcWidth,
                  ViUInt16 destSpace, ViBusAddress64 destOffset, ViUInt16 destWidth, ViBusSize
                  srcLength);
ViStatus viMoveAsyncEx(ViSession vi, ViUInt16 srcSpace, ViBusAddress64 srcOffset, ViUInt16 srcWidth,
                       ViUInt16 destSpace, ViBusAddress64 destOffset, ViUInt16 destWidth, ViBusSize
                       srcLength, ViPJobId jobId);

/* ---- Memory mapping ---- */

ViStatus viMapAddress(ViSession vi, ViUInt16 mapSpace, ViBusAddress mapOffset, ViBusSize mapSize,
                      ViBoolean access, ViAddr suggested, ViPAddr address);
ViStatus viMapAddressEx(ViSession vi, ViUInt16 mapSpace, ViBusAddress64 mapOffset, ViBusSize
                        mapSize, ViBoolean access, ViAddr suggested, ViPAddr address);
ViStatus viUnmapAddress(ViSession vi);
void viPeek8(ViSession vi, ViAddr address, ViPUInt8 val8);
void viPoke8(ViSession vi, ViAddr address, ViUInt8 val8);
void viPeek16(ViSession vi, ViAddr address, ViPUInt16 val16);
void viPoke16(ViSession vi, ViAddr address, ViUInt16 val16);
void viPeek32(ViSession vi, ViAddr address, ViPUInt32 val32);
void viPoke32(ViSession vi, ViAddr address, ViUInt32 val32);
void viPeek64(ViSession vi, ViAddr address, ViPUInt64 val64);
void viPoke64(ViSession vi, ViAddr address, ViUInt64 val64);
ViStatus viMemAlloc(ViSession vi, ViBusSize size, ViPBusAddress offset);
ViStatus viMemFree(ViSession vi, ViBusAddress offset);
ViStatus viMemAllocEx(ViSession vi, ViBusSize size, ViPBusAddress64 offset);
ViStatus viMemFreeEx(ViSession vi, ViBusAddress64 offset);

/* ---- Interfaces: GPIB, VXI, USB ---- */

ViStatus viGpibControlREN(ViSession vi, ViUInt16 mode);
ViStatus viGpibControlATN(ViSession vi, ViUInt16 mode);
ViStatus viGpibSendIFC(ViSession vi);
ViStatus viGpibCommand(ViSession vi, ViConstBuf cmd, ViUInt32 cnt, ViPUInt32 retCnt);
ViStatus viGpibPassControl(ViSession vi, ViUInt16 primAddr, ViUInt16 secAddr);
ViStatus viVxiCommandQuery(ViSession vi, ViUInt16 mode, ViUInt32 cmd, ViPUInt32 response);
ViStatus viAssertUtilSignal(ViSession vi, ViUInt16 line);
ViStatus viAssertIntrSignal(ViSession vi, ViInt16 mode, ViUInt32 statusID);
ViStatus viMapTrigger(ViSession vi, ViInt16 trigSrc, ViInt16 trigDest, ViUInt16 mode);
ViStatus viUnmapTrigger(ViSession vi, ViInt16 trigSrc, ViInt16 trigDest);
ViStatus viUsbControlOut(ViSession vi, ViInt16 bmRequestType, ViInt16 bRequest, ViUInt16 wValue,
                         ViUInt16 wIndex, ViUInt16 wLength, ViConstBuf buf);
ViStatus viUsbControlIn(ViSession vi, ViInt16 bmRequestType, ViInt16 bRequest, ViUInt16 wValue,
                        ViUInt16 wIndex, ViUInt16 wLength, ViPByte buf, ViPUInt16 retCnt);

#ifdef __cplusplus
}
ViStatus viGetDefaultRM(ViPSession vi);
#else
ViStatus viGetDefaultRM(ViPSession vi) __asm__("_Z14viGetDefaultRMPm");
#endif

#endif /* UXVISA_VISA_H */
