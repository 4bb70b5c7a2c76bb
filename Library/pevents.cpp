#include "Library/pevents.h"

#include <algorithm>
#include <cerrno>
#include <limits>

#include <sys/time.h>

#include "Library/Assertion.h"

// Holds in release builds too: past a broken lock every answer would be a guess.
#define REQUIRE(condition) Require(condition, #condition, __LINE__, __func__)

namespace pevents {

namespace {

constexpr unsigned long Infinite = std::numeric_limits<unsigned long>::max();

void Require(bool condition, const char* text, unsigned int line, const char* function) {
    if (!condition) {
        __assert_fail(text, "../Library/pevents.cpp", line, function);
    }
}

void Lock(pthread_mutex_t& mutex) {
    const int result = pthread_mutex_lock(&mutex);
    REQUIRE(result == 0);
}

void Unlock(pthread_mutex_t& mutex) {
    const int result = pthread_mutex_unlock(&mutex);
    REQUIRE(result == 0);
}

void Signal(pthread_cond_t& cond) {
    const int result = pthread_cond_signal(&cond);
    REQUIRE(result == 0);
}

// False when `milliseconds` is 0 and the mutex is busy.
bool LockWithin(pthread_mutex_t& mutex, unsigned long milliseconds) {
    int tempResult = milliseconds == 0 ? pthread_mutex_trylock(&mutex) : pthread_mutex_lock(&mutex);
    if (milliseconds == 0 && tempResult == EBUSY) {
        return false;
    }
    REQUIRE(tempResult == 0);
    return true;
}

// The wall-clock moment that ends a wait; a clock that is set moves it.
timespec DeadlineIn(unsigned long milliseconds) {
    constexpr unsigned long aCentury = 100UL * 366 * 24 * 3600 * 1000;
    timeval now{};
    gettimeofday(&now, nullptr);
    const unsigned long nanoseconds = static_cast<unsigned long>(now.tv_sec) * 1000000000UL +
                                      static_cast<unsigned long>(now.tv_usec) * 1000UL +
                                      std::min(milliseconds, aCentury) * 1000000UL;
    return {static_cast<time_t>(nanoseconds / 1000000000UL),
            static_cast<long>(nanoseconds % 1000000000UL)};
}

// Waits until `done`, looked at once more after the time is over.
template <typename Done>
int AwaitLocked(pthread_cond_t& cond, pthread_mutex_t& mutex, unsigned long milliseconds,
                Done&& done) {
    const timespec deadline = milliseconds == Infinite ? timespec{} : DeadlineIn(milliseconds);
    int result = 0;
    while (!done() && result == 0) {
        result = milliseconds == Infinite ? pthread_cond_wait(&cond, &mutex)
                                          : pthread_cond_timedwait(&cond, &mutex, &deadline);
    }
    return done() ? 0 : result;
}

void Destroy(pevents_wfmo_t* waiter) {
    pthread_cond_destroy(&waiter->cond);
    pthread_mutex_destroy(&waiter->mutex);
    delete waiter;
}

// Gives up one reference of a locked waiter and unlocks it.
void ReleaseLocked(pevents_wfmo_t* waiter) {
    const bool last = waiter->RefCount == 0;
    Unlock(waiter->mutex);
    if (last) {
        Destroy(waiter);
    }
}

void PurgeStale(pevents_event_t& event) {
    const auto stale =
        std::remove_if(event.waits.begin(), event.waits.end(), RemoveExpiredWaitHelper);
    event.waits.erase(stale, event.waits.end());
}

// The words in which a broken waiter is reported, which tell the kinds of event apart.
struct WaiterConditions {
    const char* refCount;
    const char* eventsLeft;
};

constexpr WaiterConditions ManualConditions{"info->Waiter->RefCount >= 0",
                                            "info->Waiter->Status.EventsLeft >= 0"};
constexpr WaiterConditions AutoConditions{"i->Waiter->RefCount >= 0",
                                          "i->Waiter->Status.EventsLeft >= 0"};

// Tells a waiter that the event of this registration is set, and drops the registration's
// reference. False when the waiter was not waiting any more.
bool Notify(const pevents_wfmo_info_t& wait, const WaiterConditions& conditions) {
    pevents_wfmo_t& waiter = *wait.Waiter;
    Lock(waiter.mutex);
    --waiter.RefCount;
    Require(waiter.RefCount >= 0, conditions.refCount, __LINE__, "SetEvent");
    if (!waiter.still_waiting) {
        ReleaseLocked(&waiter);
        return false;
    }
    if (waiter.wait_all) {
        --waiter.Status.EventsLeft;
        Require(waiter.Status.EventsLeft >= 0, conditions.eventsLeft, __LINE__, "SetEvent");
    } else {
        waiter.Status.FiredEvent = wait.wait_index;
        waiter.still_waiting = false;
    }
    // Before unlocking: the waiter may destroy itself as soon as it can go on.
    Signal(waiter.cond);
    Unlock(waiter.mutex);
    return true;
}

void SetManual(pevents_event_t& event) {
    for (const pevents_wfmo_info_t& wait : event.waits) {
        Notify(wait, ManualConditions);
    }
    event.waits.clear();
    const int result = pthread_cond_broadcast(&event.cond);
    REQUIRE(result == 0);
    Unlock(event.mutex);
}

void SetAuto(pevents_event_t& event) {
    while (event.state && !event.waits.empty()) {
        const pevents_wfmo_info_t wait = event.waits.front();
        event.waits.pop_front();
        event.state = !Notify(wait, AutoConditions);
    }
    if (event.state) {
        Signal(event.cond);
    }
    Unlock(event.mutex);
}

// What a waiter of several events needs to know of itself; its own lock is never held while an
// event's is taken.
class MultipleWait {
public:
    MultipleWait(int count, bool waitAll) : m_waiter(new pevents_wfmo_t) {
        pthread_mutex_init(&m_waiter->mutex, nullptr);
        pthread_cond_init(&m_waiter->cond, nullptr);
        m_waiter->RefCount = 1;
        m_waiter->wait_all = waitAll;
        m_waiter->still_waiting = true;
        if (waitAll) {
            m_waiter->Status.EventsLeft = count;
        } else {
            m_waiter->Status.FiredEvent = -1;
        }
    }

    // False when the events behind this one need not be looked at any more.
    bool LookAt(pevents_event_t& event, int position) {
        Lock(event.mutex);
        PurgeStale(event);
        Lock(m_waiter->mutex);
        const bool goesOn = m_waiter->wait_all ? See(event, position) : TryTake(event, position);
        Unlock(m_waiter->mutex);
        Unlock(event.mutex);
        return goesOn;
    }

    int Await(unsigned long milliseconds) {
        Lock(m_waiter->mutex);
        if (!IsDone() && milliseconds == 0) {
            return ETIMEDOUT;
        }
        return AwaitLocked(m_waiter->cond, m_waiter->mutex, milliseconds,
                           [this] { return IsDone(); });
    }

    // After Await, which leaves the waiter locked. Gives the index.
    int Finish() {
        pevents_wfmo_t* wfmo = m_waiter;
        wfmo->still_waiting = false;
        const int index = wfmo->wait_all ? wfmo->Status.EventsLeft : wfmo->Status.FiredEvent;
        --wfmo->RefCount;
        REQUIRE(wfmo->RefCount >= 0);
        ReleaseLocked(wfmo);
        return index;
    }

private:
    bool IsDone() const {
        return m_waiter->wait_all ? m_waiter->Status.EventsLeft == 0
                                  : m_waiter->Status.FiredEvent != -1;
    }

    void Register(pevents_event_t& event, int position) {
        event.waits.push_back({m_waiter, position});
        ++m_waiter->RefCount;
    }

    bool See(pevents_event_t& event, int position) {
        pevents_wfmo_t* wfmo = m_waiter;
        if (!event.state) {
            Register(event, position);
            return true;
        }
        event.state = !event.auto_reset;
        --wfmo->Status.EventsLeft;
        REQUIRE(wfmo->Status.EventsLeft >= 0);
        return true;
    }

    bool TryTake(pevents_event_t& event, int position) {
        // An event looked at before may have fired meanwhile; this one then stays as it is.
        if (m_waiter->Status.FiredEvent != -1) {
            return false;
        }
        if (!event.state) {
            Register(event, position);
            return true;
        }
        event.state = !event.auto_reset;
        m_waiter->Status.FiredEvent = position;
        m_waiter->still_waiting = false;
        return false;
    }

    pevents_wfmo_t* m_waiter;
};

int WaitForEvents(pevents_event_t** events, int count, bool waitAll, unsigned long milliseconds,
                  int& index) {
    MultipleWait wait(count, waitAll);
    for (int i = 0; i < count && wait.LookAt(*events[i], i); ++i) {
    }
    const int result = wait.Await(milliseconds);
    index = wait.Finish();
    return result;
}

int Set(pevents_event_t* event) {
    Lock(event->mutex);
    event->state = true;
    if (event->auto_reset) {
        SetAuto(*event);
    } else {
        SetManual(*event);
    }
    return 0;
}

} // namespace

pevents_event_t* CreateEvent(bool manualReset, bool initialState) {
    auto* event = new pevents_event_t{};
    int result = pthread_cond_init(&event->cond, nullptr);
    REQUIRE(result == 0);
    result = pthread_mutex_init(&event->mutex, nullptr);
    REQUIRE(result == 0);
    event->auto_reset = !manualReset;
    if (initialState) {
        result = Set(event);
        REQUIRE(result == 0);
    }
    return event;
}

bool RemoveExpiredWaitHelper(pevents_wfmo_info_t wait) {
    const int result = pthread_mutex_trylock(&wait.Waiter->mutex);
    if (result == EBUSY) {
        return false;
    }
    REQUIRE(result == 0);
    if (wait.Waiter->still_waiting) {
        Unlock(wait.Waiter->mutex);
        return false;
    }
    --wait.Waiter->RefCount;
    REQUIRE(wait.Waiter->RefCount >= 0);
    ReleaseLocked(wait.Waiter);
    return true;
}

// A waiter that is still registered loses this event, which will never be set: it ends by its other
// events or by its time-out.
int DestroyEvent(pevents_event_t* event) {
    Lock(event->mutex);
    for (const pevents_wfmo_info_t& wait : event->waits) {
        Lock(wait.Waiter->mutex);
        --wait.Waiter->RefCount;
        REQUIRE(wait.Waiter->RefCount >= 0);
        ReleaseLocked(wait.Waiter);
    }
    event->waits.clear();
    Unlock(event->mutex);
    int result = pthread_cond_destroy(&event->cond);
    REQUIRE(result == 0);
    result = pthread_mutex_destroy(&event->mutex);
    REQUIRE(result == 0);
    delete event;
    return 0;
}

int SetEvent(pevents_event_t* event) {
    return Set(event);
}

int ResetEvent(pevents_event_t* event) {
    Lock(event->mutex);
    event->state = false;
    Unlock(event->mutex);
    return 0;
}

int WaitForEvent(pevents_event_t* event, unsigned long milliseconds) {
    if (!LockWithin(event->mutex, milliseconds)) {
        return ETIMEDOUT;
    }
    const int result = milliseconds == 0 ? (event->state ? 0 : ETIMEDOUT)
                                         : AwaitLocked(event->cond, event->mutex, milliseconds,
                                                       [&] { return event->state; });
    if (result == 0 && event->auto_reset) {
        event->state = false;
    }
    Unlock(event->mutex);
    return result;
}

int WaitForMultipleEvents(pevents_event_t** events, int count, bool waitAll,
                          unsigned long milliseconds, int& index) {
    return WaitForEvents(events, count, waitAll, milliseconds, index);
}

int WaitForMultipleEvents(pevents_event_t** events, int count, bool waitAll,
                          unsigned long milliseconds) {
    int index = -1;
    return WaitForEvents(events, count, waitAll, milliseconds, index);
}

} // namespace pevents
