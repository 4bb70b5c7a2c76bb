// A named block of shared memory with a lock.
#pragma once

#include <pthread.h>

#include <string>

#include "Library/Export.h"

// Carries the traffic of a hooked session to its monitors (docs/monitor.md says what the block
// holds). One thread at a time may open or close it. The fields are binary interface.
class UXVISA_API CSharedObject {
public:
    CSharedObject();
    ~CSharedObject();
    CSharedObject(const CSharedObject&) = delete;
    CSharedObject& operator=(const CSharedObject&) = delete;

    // 0, or the number of the error that kept the block from being opened, sized or mapped; there
    // is none then. A block that exists is taken as it is.
    int OpenSObj(const char* baseName);
    // Removes the name too, whoever else uses the block: see SharedObject.cpp.
    int CloseSObj();
    // Null without a block.
    unsigned int* GetData();
    unsigned char* GetBuffer();
    // Against other threads, other objects and other processes.
    int Lock();
    int Unlock();

protected:
    // What a living reader holds. The system takes it from a process that dies.
    UXVISA_INTERNAL bool DeclarePresence();
    // True also when it cannot be told.
    UXVISA_INTERNAL bool IsAnyonePresent();

    void* m_region;
    [[maybe_unused]] unsigned long m_reserved;
    pthread_mutex_t m_mutex;
    [[maybe_unused]] pthread_cond_t m_condition;
    int m_fd; // 0 is none
    std::string m_name;

private:
    UXVISA_INTERNAL int Map();
    UXVISA_INTERNAL void Release();
};

static_assert(sizeof(CSharedObject) == 144, "other programs rely on this layout");

namespace uxvisa {

// Holds the lock as long as it lives.
class SharedObjectLock {
public:
    explicit SharedObjectLock(CSharedObject& object) : m_object(object) { m_object.Lock(); }
    ~SharedObjectLock() { m_object.Unlock(); }
    SharedObjectLock(const SharedObjectLock&) = delete;
    SharedObjectLock& operator=(const SharedObjectLock&) = delete;

private:
    CSharedObject& m_object;
};

} // namespace uxvisa
