// The exported functions. Each finds its session by handle, hands the call on and returns the
// status unchanged.
#pragma GCC visibility push(default)
#include "uxvisa/visa.h"
#pragma GCC visibility pop

#include <cstring>

#include "api/LogMessageVisa.h"
#include "api/StatusTexts.h"
#include "api/main.h"
#include "core/Guard.h"

namespace {

using uxvisa::Guarded;
using uxvisa::LiveManager;

constexpr char ManufacturerName[] = "Orvane";

// The session operations take what they do not change without const, as published long ago.
char* Mutable(ViConstString text) {
    return const_cast<char*>(text);
}
unsigned char* Mutable(ViConstBuf buffer) {
    return const_cast<unsigned char*>(buffer);
}

bool IsManager(ViObject vi) {
    CResourceManager* manager = LiveManager();
    return manager != nullptr && manager->GetID() == vi;
}

ISession* Lookup(ViObject vi) {
    CResourceManager* manager = LiveManager();
    return manager == nullptr ? nullptr : manager->FindSession(vi);
}

// Every forwarding function: look the handle up, call the operation, return its status.
template <typename Operation>
ViStatus Forward(ViObject vi, Operation&& operation) {
    return Guarded([&]() -> ViStatus {
        ISession* session = Lookup(vi);
        return session == nullptr ? VI_ERROR_INV_OBJECT : operation(*session);
    });
}

// Every function that acts on the manager under its own handle.
template <typename Operation>
ViStatus WithManager(ViSession sesn, Operation&& operation) {
    return Guarded([&]() -> ViStatus {
        CResourceManager* manager = LiveManager();
        if (manager == nullptr) {
            return VI_ERROR_SYSTEM_ERROR;
        }
        return manager->GetID() == sesn ? operation(*manager) : VI_ERROR_INV_OBJECT;
    });
}

ViStatus DefaultManager(ViPSession vi) {
    return Guarded([&]() -> ViStatus {
        CResourceManager* manager = LiveManager();
        if (manager == nullptr) {
            return VI_ERROR_SYSTEM_ERROR;
        }
        if (vi == nullptr) {
            return VI_ERROR_USER_BUF;
        }
        *vi = manager->GetID();
        return VI_SUCCESS;
    });
}

// Compares with the manager's address and not with its handle, on purpose: no caller holds the
// address, so parsing stays closed to programs, and the handle itself is "invalid".
ViStatus ParseResource(ViSession sesn) {
    return sesn == reinterpret_cast<ViSession>(ResManager) ? VI_ERROR_NIMPL_OPER
                                                           : VI_ERROR_INV_OBJECT;
}

} // namespace

extern "C" {

ViStatus viOpenDefaultRM(ViPSession vi) {
    return DefaultManager(vi);
}

ViStatus viFindRsrc(ViSession sesn, ViConstString expr, ViPFindList findList, ViPUInt32 retCnt,
                    ViChar desc[]) {
    return WithManager(sesn, [&](CResourceManager& manager) -> ViStatus {
        if (findList == nullptr) {
            return manager.FindRsrc(Mutable(expr), nullptr, retCnt, desc);
        }
        ISession* list = nullptr;
        const ViStatus status = manager.FindRsrc(Mutable(expr), &list, retCnt, desc);
        if (status == VI_SUCCESS) {
            *findList = list->GetID();
        }
        return status;
    });
}

ViStatus viOpen(ViSession sesn, ViConstRsrc rsrcName, ViAccessMode accessMode, ViUInt32 openTimeout,
                ViPSession vi) {
    return WithManager(sesn, [&](CResourceManager& manager) -> ViStatus {
        if (vi == nullptr) {
            return VI_ERROR_USER_BUF;
        }
        ISession* session = nullptr;
        const ViStatus status = manager.Open(Mutable(rsrcName), accessMode, openTimeout, &session);
        if (status == VI_SUCCESS) {
            *vi = session->GetID();
        }
        return status;
    });
}

// Closing the manager's own handle closes nothing: the manager lives as long as the library.
ViStatus viClose(ViObject vi) {
    return Guarded([&]() -> ViStatus {
        CResourceManager* manager = LiveManager();
        if (manager == nullptr) {
            return VI_ERROR_SYSTEM_ERROR;
        }
        return manager->GetID() == vi ? VI_SUCCESS : manager->Close(vi);
    });
}

ViStatus viParseRsrc(ViSession sesn, ViConstRsrc, ViPUInt16, ViPUInt16) {
    return ParseResource(sesn);
}

ViStatus viParseRsrcEx(ViSession sesn, ViConstRsrc, ViPUInt16, ViPUInt16, ViChar[], ViChar[],
                       ViChar[]) {
    return ParseResource(sesn);
}

ViStatus viFindNext(ViFindList findList, ViChar desc[]) {
    return Forward(findList, [&](ISession& list) { return list.FindNext(desc); });
}

ViStatus viSetAttribute(ViObject vi, ViAttr attribute, ViAttrState attrState) {
    return Guarded([&]() -> ViStatus {
        ISession* session = Lookup(vi);
        if (session == nullptr) {
            LogMessageVisa("viSetAttribute", "result = VI_ERROR_INV_SESSION");
            return VI_ERROR_INV_OBJECT;
        }
        return session->SetAttribute(attribute, attrState);
    });
}

ViStatus viGetAttribute(ViObject vi, ViAttr attribute, void* attrState) {
    return Guarded([&]() -> ViStatus {
        ISession* session = Lookup(vi);
        if (attribute == VI_ATTR_RSRC_MANF_NAME && (session != nullptr || IsManager(vi))) {
            if (attrState == nullptr) {
                return VI_ERROR_NSUP_ATTR_STATE;
            }
            std::memcpy(attrState, ManufacturerName, sizeof ManufacturerName);
            return VI_SUCCESS;
        }
        return session == nullptr ? VI_ERROR_INV_OBJECT
                                  : session->GetAttribute(attribute, attrState);
    });
}

ViStatus viStatusDesc(ViObject, ViStatus status, ViChar desc[]) {
    if (desc != nullptr) {
        std::strcpy(desc, uxvisa::StatusText(status));
    }
    return VI_SUCCESS;
}

ViStatus viEnableEvent(ViSession vi, ViEventType eventType, ViUInt16 mechanism,
                       ViEventFilter context) {
    return Forward(
        vi, [&](ISession& session) { return session.EnableEvent(eventType, mechanism, context); });
}

ViStatus viDisableEvent(ViSession vi, ViEventType eventType, ViUInt16 mechanism) {
    return Forward(vi,
                   [&](ISession& session) { return session.DisableEvent(eventType, mechanism); });
}

ViStatus viDiscardEvents(ViSession vi, ViEventType eventType, ViUInt16 mechanism) {
    return Forward(vi,
                   [&](ISession& session) { return session.DiscardEvents(eventType, mechanism); });
}

ViStatus viClear(ViSession vi) {
    return Forward(vi, [](ISession& session) { return session.Clear(); });
}

ViStatus viFlush(ViSession vi, ViUInt16 mask) {
    return Forward(vi, [&](ISession& session) { return session.Flush(mask); });
}

ViStatus viBufWrite(ViSession vi, ViConstBuf buf, ViUInt32 count, ViPUInt32 retCount) {
    return Forward(vi,
                   [&](ISession& session) { return session.Write(Mutable(buf), count, retCount); });
}

ViStatus viBufRead(ViSession vi, ViPByte buf, ViUInt32 count, ViPUInt32 retCount) {
    return Forward(vi, [&](ISession& session) { return session.Read(buf, count, retCount); });
}

// Buffered and unbuffered transfers are one function each, at one address.
ViStatus viWrite(ViSession vi, ViConstBuf buf, ViUInt32 count, ViPUInt32 retCount)
    __attribute__((alias("viBufWrite")));
ViStatus viRead(ViSession vi, ViPByte buf, ViUInt32 count, ViPUInt32 retCount)
    __attribute__((alias("viBufRead")));

ViStatus viPrintf(ViSession vi, ViConstString writeFmt, ...) {
    va_list arguments;
    va_start(arguments, writeFmt);
    const ViStatus status = Forward(
        vi, [&](ISession& session) { return session.Printf(Mutable(writeFmt), arguments); });
    va_end(arguments);
    return status;
}

ViStatus viScanf(ViSession vi, ViConstString readFmt, ...) {
    va_list arguments;
    va_start(arguments, readFmt);
    const ViStatus status =
        Forward(vi, [&](ISession& session) { return session.Scanf(Mutable(readFmt), arguments); });
    va_end(arguments);
    return status;
}

// One list serves both halves: reading goes on with the arguments that writing left.
ViStatus viQueryf(ViSession vi, ViConstString writeFmt, ViConstString readFmt, ...) {
    va_list arguments;
    va_start(arguments, readFmt);
    const ViStatus status = Forward(vi, [&](ISession& session) -> ViStatus {
        if (writeFmt == nullptr || readFmt == nullptr) {
            return VI_ERROR_INV_FMT;
        }
        const ViStatus written = session.Printf(Mutable(writeFmt), arguments);
        return written != VI_SUCCESS ? written : session.Scanf(Mutable(readFmt), arguments);
    });
    va_end(arguments);
    return status;
}

ViStatus viVScanf(ViSession vi, ViConstString, ViVAList) {
    return Forward(vi, [](ISession&) { return VI_ERROR_NIMPL_OPER; });
}

ViStatus viVPrintf(ViSession vi, ViConstString writeFmt, ViVAList params)
    __attribute__((alias("viVScanf")));

// What is not offered: the same answer for any handle and any arguments, so that a program can
// probe for an operation without a session.

ViStatus viTerminate(ViObject, ViUInt16, ViJobId) {
    return VI_ERROR_NIMPL_OPER;
}
ViStatus viLock(ViSession, ViAccessMode, ViUInt32, ViConstKeyId, ViChar[]) {
    return VI_ERROR_NIMPL_OPER;
}
ViStatus viUnlock(ViSession) {
    return VI_ERROR_NIMPL_OPER;
}
ViStatus viWaitOnEvent(ViSession, ViEventType, ViUInt32, ViPEventType, ViPEvent) {
    return VI_ERROR_NIMPL_OPER;
}
ViStatus viInstallHandler(ViSession, ViEventType, ViHndlr, ViAddr) {
    return VI_ERROR_NIMPL_OPER;
}
ViStatus viUninstallHandler(ViSession, ViEventType, ViHndlr, ViAddr) {
    return VI_ERROR_NIMPL_OPER;
}
ViStatus viReadAsync(ViSession, ViPByte, ViUInt32, ViPJobId) {
    return VI_ERROR_NIMPL_OPER;
}
ViStatus viReadToFile(ViSession, ViConstString, ViUInt32, ViPUInt32) {
    return VI_ERROR_NIMPL_OPER;
}
ViStatus viWriteAsync(ViSession, ViConstBuf, ViUInt32, ViPJobId) {
    return VI_ERROR_NIMPL_OPER;
}
ViStatus viWriteFromFile(ViSession, ViConstString, ViUInt32, ViPUInt32) {
    return VI_ERROR_NIMPL_OPER;
}
ViStatus viAssertTrigger(ViSession, ViUInt16) {
    return VI_ERROR_NIMPL_OPER;
}
ViStatus viReadSTB(ViSession, ViPUInt16) {
    return VI_ERROR_NIMPL_OPER;
}
ViStatus viSetBuf(ViSession, ViUInt16, ViUInt32) {
    return VI_ERROR_NIMPL_OPER;
}
ViStatus viSPrintf(ViSession, ViPByte, ViConstString, ...) {
    return VI_ERROR_NIMPL_OPER;
}
ViStatus viVSPrintf(ViSession, ViPByte, ViConstString, ViVAList) {
    return VI_ERROR_NIMPL_OPER;
}
ViStatus viSScanf(ViSession, ViConstBuf, ViConstString, ...) {
    return VI_ERROR_NIMPL_OPER;
}
ViStatus viVSScanf(ViSession, ViConstBuf, ViConstString, ViVAList) {
    return VI_ERROR_NIMPL_OPER;
}
ViStatus viVQueryf(ViSession, ViConstString, ViConstString, ViVAList) {
    return VI_ERROR_NIMPL_OPER;
}
ViStatus viIn8(ViSession, ViUInt16, ViBusAddress, ViPUInt8) {
    return VI_ERROR_NIMPL_OPER;
}
ViStatus viOut8(ViSession, ViUInt16, ViBusAddress, ViUInt8) {
    return VI_ERROR_NIMPL_OPER;
}
ViStatus viIn16(ViSession, ViUInt16, ViBusAddress, ViPUInt16) {
    return VI_ERROR_NIMPL_OPER;
}
ViStatus viOut16(ViSession, ViUInt16, ViBusAddress, ViUInt16) {
    return VI_ERROR_NIMPL_OPER;
}
ViStatus viIn32(ViSession, ViUInt16, ViBusAddress, ViPUInt32) {
    return VI_ERROR_NIMPL_OPER;
}
ViStatus viOut32(ViSession, ViUInt16, ViBusAddress, ViUInt32) {
    return VI_ERROR_NIMPL_OPER;
}
ViStatus viIn64(ViSession, ViUInt16, ViBusAddress, ViPUInt64) {
    return VI_ERROR_NIMPL_OPER;
}
ViStatus viOut64(ViSession, ViUInt16, ViBusAddress, ViUInt64) {
    return VI_ERROR_NIMPL_OPER;
}
ViStatus viIn8Ex(ViSession, ViUInt16, ViBusAddress64, ViPUInt8) {
    return VI_ERROR_NIMPL_OPER;
}
ViStatus viOut8Ex(ViSession, ViUInt16, ViBusAddress64, ViUInt8) {
    return VI_ERROR_NIMPL_OPER;
}
ViStatus viIn16Ex(ViSession, ViUInt16, ViBusAddress64, ViPUInt16) {
    return VI_ERROR_NIMPL_OPER;
}
ViStatus viOut16Ex(ViSession, ViUInt16, ViBusAddress64, ViUInt16) {
    return VI_ERROR_NIMPL_OPER;
}
ViStatus viIn32Ex(ViSession, ViUInt16, ViBusAddress64, ViPUInt32) {
    return VI_ERROR_NIMPL_OPER;
}
ViStatus viOut32Ex(ViSession, ViUInt16, ViBusAddress64, ViUInt32) {
    return VI_ERROR_NIMPL_OPER;
}
ViStatus viIn64Ex(ViSession, ViUInt16, ViBusAddress64, ViPUInt64) {
    return VI_ERROR_NIMPL_OPER;
}
ViStatus viOut64Ex(ViSession, ViUInt16, ViBusAddress64, ViUInt64) {
    return VI_ERROR_NIMPL_OPER;
}
ViStatus viMoveIn8(ViSession, ViUInt16, ViBusAddress, ViBusSize, ViAUInt8) {
    return VI_ERROR_NIMPL_OPER;
}
ViStatus viMoveOut8(ViSession, ViUInt16, ViBusAddress, ViBusSize, ViAUInt8) {
    return VI_ERROR_NIMPL_OPER;
}
ViStatus viMoveIn16(ViSession, ViUInt16, ViBusAddress, ViBusSize, ViAUInt16) {
    return VI_ERROR_NIMPL_OPER;
}
ViStatus viMoveOut16(ViSession, ViUInt16, ViBusAddress, ViBusSize, ViAUInt16) {
    return VI_ERROR_NIMPL_OPER;
}
ViStatus viMoveIn32(ViSession, ViUInt16, ViBusAddress, ViBusSize, ViAUInt32) {
    return VI_ERROR_NIMPL_OPER;
}
ViStatus viMoveOut32(ViSession, ViUInt16, ViBusAddress, ViBusSize, ViAUInt32) {
    return VI_ERROR_NIMPL_OPER;
}
ViStatus viMoveIn64(ViSession, ViUInt16, ViBusAddress, ViBusSize, ViAUInt64) {
    return VI_ERROR_NIMPL_OPER;
}
ViStatus viMoveOut64(ViSession, ViUInt16, ViBusAddress, ViBusSize, ViAUInt64) {
    return VI_ERROR_NIMPL_OPER;
}
ViStatus viMoveIn8Ex(ViSession, ViUInt16, ViBusAddress64, ViBusSize, ViAUInt8) {
    return VI_ERROR_NIMPL_OPER;
}
ViStatus viMoveOut8Ex(ViSession, ViUInt16, ViBusAddress64, ViBusSize, ViAUInt8) {
    return VI_ERROR_NIMPL_OPER;
}
ViStatus viMoveIn16Ex(ViSession, ViUInt16, ViBusAddress64, ViBusSize, ViAUInt16) {
    return VI_ERROR_NIMPL_OPER;
}
ViStatus viMoveOut16Ex(ViSession, ViUInt16, ViBusAddress64, ViBusSize, ViAUInt16) {
    return VI_ERROR_NIMPL_OPER;
}
ViStatus viMoveIn32Ex(ViSession, ViUInt16, ViBusAddress64, ViBusSize, ViAUInt32) {
    return VI_ERROR_NIMPL_OPER;
}
ViStatus viMoveOut32Ex(ViSession, ViUInt16, ViBusAddress64, ViBusSize, ViAUInt32) {
    return VI_ERROR_NIMPL_OPER;
}
ViStatus viMoveIn64Ex(ViSession, ViUInt16, ViBusAddress64, ViBusSize, ViAUInt64) {
    return VI_ERROR_NIMPL_OPER;
}
ViStatus viMoveOut64Ex(ViSession, ViUInt16, ViBusAddress64, ViBusSize, ViAUInt64) {
    return VI_ERROR_NIMPL_OPER;
}
ViStatus viMove(ViSession, ViUInt16, ViBusAddress, ViUInt16, ViUInt16, ViBusAddress, ViUInt16,
                ViBusSize) {
    return VI_ERROR_NIMPL_OPER;
}
ViStatus viMoveAsync(ViSession, ViUInt16, ViBusAddress, ViUInt16, ViUInt16, ViBusAddress, ViUInt16,
                     ViBusSize, ViPJobId) {
    return VI_ERROR_NIMPL_OPER;
}
ViStatus viMoveEx(ViSession, ViUInt16, ViBusAddress64, ViUInt16, ViUInt16, ViBusAddress64, ViUInt16,
                  ViBusSize) {
    return VI_ERROR_NIMPL_OPER;
}
ViStatus viMoveAsyncEx(ViSession, ViUInt16, ViBusAddress64, ViUInt16, ViUInt16, ViBusAddress64,
                       ViUInt16, ViBusSize, ViPJobId) {
    return VI_ERROR_NIMPL_OPER;
}
ViStatus viMapAddress(ViSession, ViUInt16, ViBusAddress, ViBusSize, ViBoolean, ViAddr, ViPAddr) {
    return VI_ERROR_NIMPL_OPER;
}
ViStatus viMapAddressEx(ViSession, ViUInt16, ViBusAddress64, ViBusSize, ViBoolean, ViAddr,
                        ViPAddr) {
    return VI_ERROR_NIMPL_OPER;
}
ViStatus viUnmapAddress(ViSession) {
    return VI_ERROR_NIMPL_OPER;
}
void viPeek8(ViSession, ViAddr, ViPUInt8) {}
void viPoke8(ViSession, ViAddr, ViUInt8) {}
void viPeek16(ViSession, ViAddr, ViPUInt16) {}
void viPoke16(ViSession, ViAddr, ViUInt16) {}
void viPeek32(ViSession, ViAddr, ViPUInt32) {}
void viPoke32(ViSession, ViAddr, ViUInt32) {}
void viPeek64(ViSession, ViAddr, ViPUInt64) {}
void viPoke64(ViSession, ViAddr, ViUInt64) {}
ViStatus viMemAlloc(ViSession, ViBusSize, ViPBusAddress) {
    return VI_ERROR_NIMPL_OPER;
}
ViStatus viMemFree(ViSession, ViBusAddress) {
    return VI_ERROR_NIMPL_OPER;
}
ViStatus viMemAllocEx(ViSession, ViBusSize, ViPBusAddress64) {
    return VI_ERROR_NIMPL_OPER;
}
ViStatus viMemFreeEx(ViSession, ViBusAddress64) {
    return VI_ERROR_NIMPL_OPER;
}
ViStatus viGpibControlREN(ViSession, ViUInt16) {
    return VI_ERROR_NIMPL_OPER;
}
ViStatus viGpibControlATN(ViSession, ViUInt16) {
    return VI_ERROR_NIMPL_OPER;
}
ViStatus viGpibSendIFC(ViSession) {
    return VI_ERROR_NIMPL_OPER;
}
ViStatus viGpibCommand(ViSession, ViConstBuf, ViUInt32, ViPUInt32) {
    return VI_ERROR_NIMPL_OPER;
}
ViStatus viGpibPassControl(ViSession, ViUInt16, ViUInt16) {
    return VI_ERROR_NIMPL_OPER;
}
ViStatus viVxiCommandQuery(ViSession, ViUInt16, ViUInt32, ViPUInt32) {
    return VI_ERROR_NIMPL_OPER;
}
ViStatus viAssertUtilSignal(ViSession, ViUInt16) {
    return VI_ERROR_NIMPL_OPER;
}
ViStatus viAssertIntrSignal(ViSession, ViInt16, ViUInt32) {
    return VI_ERROR_NIMPL_OPER;
}
ViStatus viMapTrigger(ViSession, ViInt16, ViInt16, ViUInt16) {
    return VI_ERROR_NIMPL_OPER;
}
ViStatus viUnmapTrigger(ViSession, ViInt16, ViInt16) {
    return VI_ERROR_NIMPL_OPER;
}
ViStatus viUsbControlOut(ViSession, ViInt16, ViInt16, ViUInt16, ViUInt16, ViUInt16, ViConstBuf) {
    return VI_ERROR_NIMPL_OPER;
}
ViStatus viUsbControlIn(ViSession, ViInt16, ViInt16, ViUInt16, ViUInt16, ViUInt16, ViPByte,
                        ViPUInt16) {
    return VI_ERROR_NIMPL_OPER;
}

} // extern "C"

// Known to existing programs by its decorated name only.
ViStatus viGetDefaultRM(ViPSession vi) {
    return DefaultManager(vi);
}
