#include "Library/Thread.h"

#include <chrono>
#include <system_error>

#include "Library/Assertion.h"

CThreadObject::CThreadObject(int)
    : m_running(false), m_stop_requested(false), m_stop_event(pevents::CreateEvent(true, false)) {
    if (m_stop_event == nullptr) {
        __assert_fail("m_stop_event != NULL", "../Library/Thread.cpp", __LINE__, __func__);
    }
}

CThreadObject::~CThreadObject() {
    ThreadStop(1000);
    pevents::DestroyEvent(m_stop_event);
}

void CThreadObject::ThreadCycle() {}

int CThreadObject::ThreadStart() {
    if (Active()) {
        return -1;
    }
    pevents::ResetEvent(m_stop_event);
    m_stop_requested = false;
    try {
        m_thread = std::thread(&CThreadObject::ThreadProc, this);
    } catch (const std::system_error&) {
        return -1;
    }
    return 0;
}

void CThreadObject::ThreadProc() {
    m_running = true;
    ThreadCycle();
    m_running = false;
}

int CThreadObject::ThreadStop(unsigned int milliseconds) {
    if (!Active()) {
        return 0;
    }
    m_stop_requested = true;
    pevents::SetEvent(m_stop_event);
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
    m_thread.join();
    m_stop_requested = false;
    pevents::ResetEvent(m_stop_event);
    return 0;
}

int CThreadObject::ThreadStopAsync() {
    if (Active()) {
        m_stop_requested = true;
        pevents::SetEvent(m_stop_event);
    }
    return 0;
}

bool CThreadObject::ThreadShouldStop() {
    return m_stop_requested;
}

bool CThreadObject::Active() {
    return m_thread.joinable();
}

CSafeObject::CSafeObject() {
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutex_init(&m_mutex, &attributes);
    pthread_mutexattr_destroy(&attributes);
}

CSafeObject::~CSafeObject() {
    pthread_mutex_destroy(&m_mutex);
}

void CSafeObject::Lock() {
    pthread_mutex_lock(&m_mutex);
}

bool CSafeObject::TryLock() {
    return pthread_mutex_trylock(&m_mutex) == 0;
}

void CSafeObject::Unlock() {
    pthread_mutex_unlock(&m_mutex);
}
