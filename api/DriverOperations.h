// The operations of a driver library, in the order of the table and of the look-up: name and
// signature, here and nowhere else. A library exports each under "ux" and its name.
#pragma once

#include "uxvisa/visa.h"

// STATUS(name, (types)) for an operation that returns a ViStatus, NOTHING(name, (types)) for one
// that returns nothing.
#define UXVISA_DRIVER_OPERATIONS(STATUS, NOTHING)                                                  \
    STATUS(OpenDefaultRM, (ViPSession))                                                            \
    STATUS(ParseRsrcEx, (ViSession, ViConstRsrc, ViPUInt16, ViPUInt16, ViChar*, ViChar*, ViChar*)) \
    STATUS(Open, (ViSession, ViConstRsrc, ViAccessMode, ViUInt32, ViPSession))                     \
    STATUS(FindRsrc, (ViSession, ViConstString, ViPFindList, ViPUInt32, ViChar*))                  \
    STATUS(FindNext, (ViFindList, ViChar*))                                                        \
    STATUS(ParseRsrc, (ViSession, ViConstRsrc, ViPUInt16, ViPUInt16))                              \
    STATUS(Close, (ViObject))                                                                      \
    STATUS(SetAttribute, (ViObject, ViAttr, ViAttrState))                                          \
    STATUS(GetAttribute, (ViObject, ViAttr, void*))                                                \
    STATUS(StatusDesc, (ViObject, ViStatus, ViChar*))                                              \
    STATUS(Terminate, (ViObject, ViUInt16, ViJobId))                                               \
    STATUS(Lock, (ViSession, ViAccessMode, ViUInt32, ViConstKeyId, ViChar*))                       \
    STATUS(Unlock, (ViSession))                                                                    \
    STATUS(EnableEvent, (ViSession, ViEventType, ViUInt16, ViEventFilter))                         \
    STATUS(DisableEvent, (ViSession, ViEventType, ViUInt16))                                       \
    STATUS(DiscardEvents, (ViSession, ViEventType, ViUInt16))                                      \
    STATUS(WaitOnEvent, (ViSession, ViEventType, ViUInt32, ViPEventType, ViPEvent))                \
    STATUS(InstallHandler, (ViSession, ViEventType, ViHndlr, ViAddr))                              \
    STATUS(UninstallHandler, (ViSession, ViEventType, ViHndlr, ViAddr))                            \
    STATUS(Read, (ViSession, ViPByte, ViUInt32, ViPUInt32))                                        \
    STATUS(ReadAsync, (ViSession, ViPByte, ViUInt32, ViPJobId))                                    \
    STATUS(ReadToFile, (ViSession, ViConstString, ViUInt32, ViPUInt32))                            \
    STATUS(Write, (ViSession, ViConstBuf, ViUInt32, ViPUInt32))                                    \
    STATUS(WriteAsync, (ViSession, ViConstBuf, ViUInt32, ViPJobId))                                \
    STATUS(WriteFromFile, (ViSession, ViConstString, ViUInt32, ViPUInt32))                         \
    STATUS(AssertTrigger, (ViSession, ViUInt16))                                                   \
    STATUS(ReadSTB, (ViSession, ViPUInt16))                                                        \
    STATUS(Clear, (ViSession))                                                                     \
    STATUS(SetBuf, (ViSession, ViUInt16, ViUInt32))                                                \
    STATUS(Flush, (ViSession, ViUInt16))                                                           \
    STATUS(BufWrite, (ViSession, ViConstBuf, ViUInt32, ViPUInt32))                                 \
    STATUS(BufRead, (ViSession, ViPByte, ViUInt32, ViPUInt32))                                     \
    STATUS(Printf, (ViSession, ViConstString, ...))                                                \
    STATUS(VPrintf, (ViSession, ViConstString, ViVAList))                                          \
    STATUS(SPrintf, (ViSession, ViPByte, ViConstString, ...))                                      \
    STATUS(VSPrintf, (ViSession, ViPByte, ViConstString, ViVAList))                                \
    STATUS(Scanf, (ViSession, ViConstString, ...))                                                 \
    STATUS(VScanf, (ViSession, ViConstString, ViVAList))                                           \
    STATUS(SScanf, (ViSession, ViConstBuf, ViConstString, ...))                                    \
    STATUS(VSScanf, (ViSession, ViConstBuf, ViConstString, ViVAList))                              \
    STATUS(Queryf, (ViSession, ViConstString, ViConstString, ...))                                 \
    STATUS(VQueryf, (ViSession, ViConstString, ViConstString, ViVAList))                           \
    STATUS(In8, (ViSession, ViUInt16, ViBusAddress, ViPUInt8))                                     \
    STATUS(Out8, (ViSession, ViUInt16, ViBusAddress, ViUInt8))                                     \
    STATUS(In16, (ViSession, ViUInt16, ViBusAddress, ViPUInt16))                                   \
    STATUS(Out16, (ViSession, ViUInt16, ViBusAddress, ViUInt16))                                   \
    STATUS(In32, (ViSession, ViUInt16, ViBusAddress, ViPUInt32))                                   \
    STATUS(Out32, (ViSession, ViUInt16, ViBusAddress, ViUInt32))                                   \
    STATUS(In64, (ViSession, ViUInt16, ViBusAddress, ViPUInt64))                                   \
    STATUS(Out64, (ViSession, ViUInt16, ViBusAddress, ViUInt64))                                   \
    STATUS(In8Ex, (ViSession, ViUInt16, ViBusAddress64, ViPUInt8))                                 \
    STATUS(Out8Ex, (ViSession, ViUInt16, ViBusAddress64, ViUInt8))                                 \
    STATUS(In16Ex, (ViSession, ViUInt16, ViBusAddress64, ViPUInt16))                               \
    STATUS(Out16Ex, (ViSession, ViUInt16, ViBusAddress64, ViUInt16))                               \
    STATUS(In32Ex, (ViSession, ViUInt16, ViBusAddress64, ViPUInt32))                               \
    STATUS(Out32Ex, (ViSession, ViUInt16, ViBusAddress64, ViUInt32))                               \
    STATUS(In64Ex, (ViSession, ViUInt16, ViBusAddress64, ViPUInt64))                               \
    STATUS(Out64Ex, (ViSession, ViUInt16, ViBusAddress64, ViUInt64))                               \
    STATUS(MoveIn8, (ViSession, ViUInt16, ViBusAddress, ViBusSize, ViAUInt8))                      \
    STATUS(MoveOut8, (ViSession, ViUInt16, ViBusAddress, ViBusSize, ViAUInt8))                     \
    STATUS(MoveIn16, (ViSession, ViUInt16, ViBusAddress, ViBusSize, ViAUInt16))                    \
    STATUS(MoveOut16, (ViSession, ViUInt16, ViBusAddress, ViBusSize, ViAUInt16))                   \
    STATUS(MoveIn32, (ViSession, ViUInt16, ViBusAddress, ViBusSize, ViAUInt32))                    \
    STATUS(MoveOut32, (ViSession, ViUInt16, ViBusAddress, ViBusSize, ViAUInt32))                   \
    STATUS(MoveIn64, (ViSession, ViUInt16, ViBusAddress, ViBusSize, ViAUInt64))                    \
    STATUS(MoveOut64, (ViSession, ViUInt16, ViBusAddress, ViBusSize, ViAUInt64))                   \
    STATUS(MoveIn8Ex, (ViSession, ViUInt16, ViBusAddress64, ViBusSize, ViAUInt8))                  \
    STATUS(MoveOut8Ex, (ViSession, ViUInt16, ViBusAddress64, ViBusSize, ViAUInt8))                 \
    STATUS(MoveIn16Ex, (ViSession, ViUInt16, ViBusAddress64, ViBusSize, ViAUInt16))                \
    STATUS(MoveOut16Ex, (ViSession, ViUInt16, ViBusAddress64, ViBusSize, ViAUInt16))               \
    STATUS(MoveIn32Ex, (ViSession, ViUInt16, ViBusAddress64, ViBusSize, ViAUInt32))                \
    STATUS(MoveOut32Ex, (ViSession, ViUInt16, ViBusAddress64, ViBusSize, ViAUInt32))               \
    STATUS(MoveIn64Ex, (ViSession, ViUInt16, ViBusAddress64, ViBusSize, ViAUInt64))                \
    STATUS(MoveOut64Ex, (ViSession, ViUInt16, ViBusAddress64, ViBusSize, ViAUInt64))               \
    STATUS(Move, (ViSession, ViUInt16, ViBusAddress, ViUInt16, ViUInt16, ViBusAddress, ViUInt16,   \
                  ViBusSize))                                                                      \
    STATUS(MoveAsync, (ViSession, ViUInt16, ViBusAddress, ViUInt16, ViUInt16, ViBusAddress,        \
                       ViUInt16, ViBusSize, ViPJobId))                                             \
    STATUS(MoveEx, (ViSession, ViUInt16, ViBusAddress64, ViUInt16, ViUInt16, ViBusAddress64,       \
                    ViUInt16, ViBusSize))                                                          \
    STATUS(MoveAsyncEx, (ViSession, ViUInt16, ViBusAddress64, ViUInt16, ViUInt16, ViBusAddress64,  \
                         ViUInt16, ViBusSize, ViPJobId))                                           \
    STATUS(MapAddress, (ViSession, ViUInt16, ViBusAddress, ViBusSize, ViBoolean, ViAddr, ViPAddr)) \
    STATUS(UnmapAddress, (ViSession))                                                              \
    STATUS(MapAddressEx,                                                                           \
           (ViSession, ViUInt16, ViBusAddress64, ViBusSize, ViBoolean, ViAddr, ViPAddr))           \
    NOTHING(Peek8, (ViSession, ViAddr, ViPUInt8))                                                  \
    NOTHING(Poke8, (ViSession, ViAddr, ViUInt8))                                                   \
    NOTHING(Peek16, (ViSession, ViAddr, ViPUInt16))                                                \
    NOTHING(Poke16, (ViSession, ViAddr, ViUInt16))                                                 \
    NOTHING(Peek32, (ViSession, ViAddr, ViPUInt32))                                                \
    NOTHING(Poke32, (ViSession, ViAddr, ViUInt32))                                                 \
    NOTHING(Peek64, (ViSession, ViAddr, ViPUInt64))                                                \
    NOTHING(Poke64, (ViSession, ViAddr, ViUInt64))                                                 \
    STATUS(MemAlloc, (ViSession, ViBusSize, ViPBusAddress))                                        \
    STATUS(MemFree, (ViSession, ViBusAddress))                                                     \
    STATUS(MemAllocEx, (ViSession, ViBusSize, ViPBusAddress64))                                    \
    STATUS(MemFreeEx, (ViSession, ViBusAddress64))                                                 \
    STATUS(GpibControlREN, (ViSession, ViUInt16))                                                  \
    STATUS(GpibControlATN, (ViSession, ViUInt16))                                                  \
    STATUS(GpibSendIFC, (ViSession))                                                               \
    STATUS(GpibCommand, (ViSession, ViConstBuf, ViUInt32, ViPUInt32))                              \
    STATUS(GpibPassControl, (ViSession, ViUInt16, ViUInt16))                                       \
    STATUS(VxiCommandQuery, (ViSession, ViUInt16, ViUInt32, ViPUInt32))                            \
    STATUS(AssertUtilSignal, (ViSession, ViUInt16))                                                \
    STATUS(AssertIntrSignal, (ViSession, ViInt16, ViUInt32))                                       \
    STATUS(MapTrigger, (ViSession, ViInt16, ViInt16, ViUInt16))                                    \
    STATUS(UnmapTrigger, (ViSession, ViInt16, ViInt16))                                            \
    STATUS(UsbControlOut, (ViSession, ViInt16, ViInt16, ViUInt16, ViUInt16, ViUInt16, ViConstBuf)) \
    STATUS(UsbControlIn,                                                                           \
           (ViSession, ViInt16, ViInt16, ViUInt16, ViUInt16, ViUInt16, ViPByte, ViPUInt16))
