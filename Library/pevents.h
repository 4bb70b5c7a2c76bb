// Events in the manner of operating-system events: manual- or auto-reset, wait for one, for any or
// for all of several, with time-outs in milliseconds of the wall clock.
#pragma once

#include <pthread.h>

#include <deque>

#include "Library/Export.h"

namespace pevents {

struct pevents_wfmo_t;

// A multiple-object waiter blocked on an event, and the event's position in the waiter's array.
struct pevents_wfmo_info_t {
    pevents_wfmo_t* Waiter;
    int wait_index;
};

// The fields are guarded by the mutex.
struct pevents_event_t {
    pthread_cond_t cond;
    pthread_mutex_t mutex;
    bool auto_reset;
    bool state;
    std::deque<pevents_wfmo_info_t> waits; // oldest first
};

// One call of WaitForMultipleEvents. The call holds one reference and every registration in an
// event's queue one more; whoever drops the last destroys it.
struct pevents_wfmo_t {
    pthread_mutex_t mutex;
    pthread_cond_t cond;
    int RefCount;
    union {
        int FiredEvent; // waiting for any: the index, -1 while none has fired
        int EventsLeft; // waiting for all: how many are still to be seen
    } Status;
    bool wait_all;
    bool still_waiting; // registrations of a finished waiter are stale
};

// Locks are always taken in the order event, waiter.

UXVISA_API pevents_event_t* CreateEvent(bool manualReset, bool initialState);
// Nobody may wait on it or set it any more.
UXVISA_API int DestroyEvent(pevents_event_t* event);
UXVISA_API int SetEvent(pevents_event_t* event);
UXVISA_API int ResetEvent(pevents_event_t* event);

// 0, or 110 (ETIMEDOUT). All bits of `milliseconds` set wait for ever; 0 never blocks, and so gives
// 110 also while somebody else holds the event's lock.
UXVISA_API int WaitForEvent(pevents_event_t* event, unsigned long milliseconds);

// For any: `index` is the lowest event set, and only that one is consumed. For all: every
// auto-reset event is consumed as soon as it is seen, also when others then stay away; `index` is
// how many are missing.
UXVISA_API int WaitForMultipleEvents(pevents_event_t** events, int count, bool waitAll,
                                     unsigned long milliseconds, int& index);
UXVISA_API int WaitForMultipleEvents(pevents_event_t** events, int count, bool waitAll,
                                     unsigned long milliseconds);

// True when the registration is stale and its reference was dropped.
UXVISA_API bool RemoveExpiredWaitHelper(pevents_wfmo_info_t wait);

} // namespace pevents
