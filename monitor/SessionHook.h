// A session that shows another session's traffic to monitors.
#pragma once

#include <chrono>

#include "core/BaseSession.h"
#include "monitor/SharedObject.h"

namespace uxvisa {
struct MonitorPiece;
}

// Forwards every operation to the session it wraps and publishes what Read, Write and Clear
// transfer; a monitor opened on the same resource string with "::HOOK" behind it sees them.
//
// The hook owns the wrapped session and deletes it, so wrap only what nobody else owns: never a
// session that a resource manager has opened. To watch one of those, wrap a uxvisa::VisaSession.
//
// While a monitor is there, each message waits until all monitors have taken the one before,
// without a limit of time: a monitor that stops reading stops the program. Calls on one hook come
// one at a time. The fields are binary interface.
class UXVISA_API CSessionHook : public CBaseSession, public CSharedObject {
public:
    // Null is allowed: every operation then answers VI_ERROR_INV_OBJECT.
    explicit CSessionHook(ISession* wrapped);
    ~CSessionHook() override;
    long ParseRsrcEx(char* resource, unsigned short* interfaceType, unsigned short* interfaceNumber,
                     char* resourceClass, char* expandedName, char* alias) override;
    long Open(char* resource, unsigned long accessMode, unsigned long timeoutMs,
              ISession** session) override;
    // Without a block, the hook only forwards.
    long OpenConnection(char* resource, unsigned long accessMode, unsigned long timeoutMs) override;
    long CloseConnection() override;
    long EnableEvent(unsigned long eventType, unsigned short mechanism,
                     unsigned long context) override;
    long DisableEvent(unsigned long eventType, unsigned short mechanism) override;
    long DiscardEvents(unsigned long eventType, unsigned short mechanism) override;
    long SetAttribute(unsigned long attribute, unsigned long value) override;
    long GetAttribute(unsigned long attribute, void* value) override;
    long Read(unsigned char* buffer, unsigned long count, unsigned long* readCount) override;
    long Write(unsigned char* buffer, unsigned long count, unsigned long* writtenCount) override;
    long Clear() override;
    long Close(unsigned long id) override;
    long Flush(unsigned short mask) override;

private:
    template <typename Operation>
    UXVISA_INTERNAL long Forward(Operation&& operation);
    UXVISA_INTERNAL long ReadAndPublish(unsigned char* buffer, unsigned long count,
                                        unsigned long& received);
    UXVISA_INTERNAL bool LockWhenFree(std::chrono::milliseconds patience);
    UXVISA_INTERNAL bool LockAbandoned();
    UXVISA_INTERNAL void AwaitReaders();
    UXVISA_INTERNAL void Publish(uxvisa::MonitorPiece message, unsigned long size);

    ISession* m_session;
};

static_assert(sizeof(CSessionHook) == 208, "other programs rely on this layout");
