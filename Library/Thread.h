// Worker threads and a recursive lock.
#pragma once

#include <pthread.h>

#include <atomic>
#include <thread>

#include "Library/Export.h"
#include "Library/pevents.h"

// A worker: the derived class's ThreadCycle() is the whole job. A derived class stops its thread in
// its own destructor, before its fields are gone.
class UXVISA_API CThreadObject {
public:
    explicit CThreadObject(int unused);
    // Stops the thread with a time-out of 1000 ms.
    virtual ~CThreadObject();
    CThreadObject(const CThreadObject&) = delete;
    CThreadObject& operator=(const CThreadObject&) = delete;

    virtual void ThreadCycle();

    // 0; -1 while a thread object exists, also one that has finished and was not stopped, and when
    // the system has no thread to give.
    int ThreadStart();
    // Asks the thread to stop, sleeps the whole time on purpose, so that the work of others that
    // it was done for settles, and joins it. At once when there is no thread.
    int ThreadStop(unsigned int milliseconds);
    // Asks only.
    int ThreadStopAsync();
    bool ThreadShouldStop();
    // A thread object exists, running or finished.
    bool Active();
    void ThreadProc();

protected:
    std::atomic<bool> m_running;
    std::atomic<bool> m_stop_requested;
    std::thread m_thread;
    pevents::pevents_event_t* m_stop_event;
};

class UXVISA_API CSafeObject {
public:
    CSafeObject();
    virtual ~CSafeObject();
    CSafeObject(const CSafeObject&) = delete;
    CSafeObject& operator=(const CSafeObject&) = delete;

    void Lock();
    bool TryLock();
    void Unlock();

private:
    pthread_mutex_t m_mutex;
};
