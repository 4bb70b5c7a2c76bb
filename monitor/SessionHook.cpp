#include "monitor/SessionHook.h"

#include <pthread.h>
#include <sched.h>

#include <algorithm>

#include "core/Guard.h"
#include "monitor/MonitorBlock.h"
#include "uxvisa/visatype.h"

using namespace std::chrono_literals;

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds Endless = std::chrono::hours(24 * 365 * 100);
// Between the pieces of one message, so that a program that reads its own monitor in the thread
// that writes is never locked up.
constexpr std::chrono::milliseconds BetweenPieces = 200ms;
// Whether readers still live is asked only when they have been slow for this long.
constexpr std::chrono::milliseconds Suspicious = 2s;
constexpr std::chrono::milliseconds BetweenLooks = 100ms;

uxvisa::MonitorPiece Message(const unsigned char* data, bool written, long status) {
    uxvisa::MonitorPiece message;
    message.data = data;
    message.written = written;
    message.status = static_cast<unsigned int>(status);
    return message;
}

} // namespace

CSessionHook::CSessionHook(ISession* wrapped) : m_session(wrapped) {}

CSessionHook::~CSessionHook() {
    delete m_session;
}

template <typename Operation>
long CSessionHook::Forward(Operation&& operation) {
    if (m_session == nullptr) {
        return VI_ERROR_INV_OBJECT;
    }
    return uxvisa::Guarded([&]() -> long { return operation(*m_session); });
}

long CSessionHook::ParseRsrcEx(char* resource, unsigned short* interfaceType,
                               unsigned short* interfaceNumber, char* resourceClass,
                               char* expandedName, char* alias) {
    return Forward([&](ISession& session) {
        return session.ParseRsrcEx(resource, interfaceType, interfaceNumber, resourceClass,
                                   expandedName, alias);
    });
}

long CSessionHook::Open(char* resource, unsigned long accessMode, unsigned long timeoutMs,
                        ISession** session) {
    return Forward(
        [&](ISession& wrapped) { return wrapped.Open(resource, accessMode, timeoutMs, session); });
}

// Whether there is a block makes no difference to the program that is watched.
long CSessionHook::OpenConnection(char* resource, unsigned long accessMode,
                                  unsigned long timeoutMs) {
    return Forward([&](ISession& session) {
        OpenSObj(resource);
        return session.OpenConnection(resource, accessMode, timeoutMs);
    });
}

long CSessionHook::CloseConnection() {
    return Forward([&](ISession& session) {
        CloseSObj();
        return session.CloseConnection();
    });
}

long CSessionHook::EnableEvent(unsigned long eventType, unsigned short mechanism,
                               unsigned long context) {
    return Forward(
        [&](ISession& session) { return session.EnableEvent(eventType, mechanism, context); });
}

long CSessionHook::DisableEvent(unsigned long eventType, unsigned short mechanism) {
    return Forward([&](ISession& session) { return session.DisableEvent(eventType, mechanism); });
}

long CSessionHook::DiscardEvents(unsigned long eventType, unsigned short mechanism) {
    return Forward([&](ISession& session) { return session.DiscardEvents(eventType, mechanism); });
}

long CSessionHook::SetAttribute(unsigned long attribute, unsigned long value) {
    return Forward([&](ISession& session) { return session.SetAttribute(attribute, value); });
}

long CSessionHook::GetAttribute(unsigned long attribute, void* value) {
    return Forward([&](ISession& session) { return session.GetAttribute(attribute, value); });
}

long CSessionHook::Close(unsigned long id) {
    return Forward([&](ISession& session) { return session.Close(id); });
}

long CSessionHook::Flush(unsigned short mask) {
    return Forward([&](ISession& session) { return session.Flush(mask); });
}

long CSessionHook::Read(unsigned char* buffer, unsigned long count, unsigned long* readCount) {
    unsigned long unwanted = 0;
    unsigned long& received = readCount == nullptr ? unwanted : *readCount;
    received = 0;
    return Forward([&](ISession&) { return ReadAndPublish(buffer, count, received); });
}

// A read of nothing waits like any other, on purpose: when it returns, the monitors have seen all
// that went before.
long CSessionHook::ReadAndPublish(unsigned char* buffer, unsigned long count,
                                  unsigned long& received) {
    const long status = m_session->Read(buffer, count, &received);
    if (count == 0) {
        AwaitReaders();
    } else {
        Publish(Message(buffer, false, status), std::min(received, count));
    }
    return status;
}

// All bytes are published, on purpose, whatever was written: monitors show what the program wanted
// to say, and the status beside it says how it went.
long CSessionHook::Write(unsigned char* buffer, unsigned long count, unsigned long* writtenCount) {
    return Forward([&](ISession& session) {
        const long status = session.Write(buffer, count, writtenCount);
        if (count != 0) {
            Publish(Message(buffer, true, status), count);
        }
        return status;
    });
}

// The one operation that is published before it is done, on purpose: clearing may take seconds, and
// a monitor shows why nothing moves.
long CSessionHook::Clear() {
    return Forward([&](ISession& session) {
        Publish(Message(nullptr, true, VI_ERROR_ABORT), 0);
        return session.Clear();
    });
}

// True with the lock held, as soon as no reader has anything to take. Spins without a sleep, on
// purpose: a monitor costs the program as little time as can be. The lock is taken only when it
// looks free, so that readers get it.
bool CSessionHook::LockWhenFree(std::chrono::milliseconds patience) {
    const uxvisa::MonitorBlock block(GetData());
    const auto start = Clock::now();
    auto look = start + Suspicious;
    for (;;) {
        if (block.IsFree()) {
            Lock();
            if (block.IsFree()) {
                return true;
            }
            Unlock();
        }
        const auto now = Clock::now();
        if (now - start > patience) {
            return false;
        }
        if (now > look) {
            if (LockAbandoned()) {
                return true;
            }
            look = now + BetweenLooks;
        }
        pthread_testcancel();
        sched_yield();
    }
}

// Readers join under the lock, so none is forgotten that is just about to come.
bool CSessionHook::LockAbandoned() {
    Lock();
    if (IsAnyonePresent()) {
        Unlock();
        return false;
    }
    uxvisa::MonitorBlock(GetData()).ForgetReaders();
    return true;
}

void CSessionHook::AwaitReaders() {
    if (GetData() != nullptr && LockWhenFree(Endless)) {
        Unlock();
    }
}

// A message that does not fit goes in pieces. The first waits for the readers as long as it takes;
// the rest is dropped when they do not keep up. Without readers the lock is not let go in between,
// which keeps the price of a hook low.
void CSessionHook::Publish(uxvisa::MonitorPiece message, unsigned long size) {
    if (GetData() == nullptr || (message.data == nullptr && size != 0)) {
        return;
    }
    const uxvisa::MonitorBlock block(GetData());
    bool locked = LockWhenFree(Endless);
    while (locked) {
        message.length =
            static_cast<unsigned int>(std::min<unsigned long>(size, uxvisa::MonitorDataSize));
        size -= message.length;
        message.goesOn = size != 0;
        block.Put(message);
        if (!message.goesOn) {
            Unlock();
            return;
        }
        message.data += message.length;
        message.continues = true;
        if (!block.IsFree()) {
            Unlock();
            locked = LockWhenFree(BetweenPieces);
        }
    }
}
