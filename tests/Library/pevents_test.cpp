#include "Library/pevents.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <chrono>
#include <memory>
#include <thread>
#include <vector>

using namespace pevents;
using namespace std::chrono_literals;

namespace {

constexpr int TimedOut = 110;
constexpr unsigned long Infinite = ~0UL;
constexpr unsigned long VeryLong = 20000;

struct Destroyer {
    void operator()(pevents_event_t* event) const { DestroyEvent(event); }
};
using Event = std::unique_ptr<pevents_event_t, Destroyer>;

Event Manual(bool set = false) {
    return Event(CreateEvent(true, set));
}
Event Auto(bool set = false) {
    return Event(CreateEvent(false, set));
}

bool IsSet(const Event& event) {
    return event->state;
}

struct Outcome {
    int result;
    int index;
    bool operator==(const Outcome&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Outcome& outcome) {
    return out << "result " << outcome.result << " index " << outcome.index;
}

template <typename... Events>
Outcome Wait(bool all, unsigned long ms, const Events&... events) {
    pevents_event_t* array[] = {events.get()...};
    int index = 4711;
    const int result = WaitForMultipleEvents(array, sizeof...(events), all, ms, index);
    return {result, index};
}

template <typename... Events>
Outcome WaitAny(unsigned long ms, const Events&... events) {
    return Wait(false, ms, events...);
}

template <typename... Events>
Outcome WaitAll(unsigned long ms, const Events&... events) {
    return Wait(true, ms, events...);
}

} // namespace

TEST(Event, ManualStaysSetAndAutoIsConsumed) {
    const Event manual = Manual(true);
    EXPECT_EQ(WaitForEvent(manual.get(), 0), 0);
    EXPECT_EQ(WaitForEvent(manual.get(), 0), 0);
    EXPECT_EQ(ResetEvent(manual.get()), 0);
    EXPECT_EQ(WaitForEvent(manual.get(), 0), TimedOut);
    const Event automatic = Auto(true);
    EXPECT_EQ(WaitForEvent(automatic.get(), 0), 0);
    EXPECT_EQ(WaitForEvent(automatic.get(), 0), TimedOut);
}

TEST(Event, WaitsAtLeastItsTime) {
    const Event event = Auto();
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(WaitForEvent(event.get(), 100), TimedOut);
    EXPECT_GE(std::chrono::steady_clock::now() - start, 90ms);
}

TEST(Event, ABusyMutexIsATimeOutForZeroMillisecondsOnPurpose) {
    const Event event = Manual(true);
    pthread_mutex_lock(&event->mutex);
    EXPECT_EQ(WaitForEvent(event.get(), 0), TimedOut);
    pthread_mutex_unlock(&event->mutex);
    EXPECT_EQ(WaitForEvent(event.get(), 0), 0);
}

TEST(Event, InfiniteIsAll64BitsAndHugeTimesAreNotShort) {
    for (const unsigned long ms : {Infinite, Infinite - 1, 0xFFFFFFFFUL}) {
        const Event event = Auto();
        std::thread setter([&] {
            std::this_thread::sleep_for(50ms);
            SetEvent(event.get());
        });
        EXPECT_EQ(WaitForEvent(event.get(), ms), 0);
        setter.join();
    }
}

TEST(Event, OneSetOfAnAutoResetEventReleasesExactlyOneOfTwo) {
    const Event event = Auto();
    std::atomic<int> released{0};
    const auto wait = [&] { released += WaitForEvent(event.get(), 700) == 0 ? 1 : 0; };
    std::thread first(wait);
    std::thread second(wait);
    std::this_thread::sleep_for(100ms);
    SetEvent(event.get());
    first.join();
    second.join();
    EXPECT_EQ(released, 1);
}

TEST(Event, AManualResetEventReleasesAll) {
    const Event event = Manual();
    std::atomic<int> released{0};
    std::vector<std::thread> waiters;
    for (int i = 0; i < 4; ++i) {
        waiters.emplace_back([&] { released += WaitForEvent(event.get(), VeryLong) == 0 ? 1 : 0; });
    }
    SetEvent(event.get());
    for (std::thread& waiter : waiters) {
        waiter.join();
    }
    EXPECT_EQ(released, 4);
}

TEST(MultipleEvents, AnyTakesTheLowestSetIndexAndConsumesOnlyThatOneOnPurpose) {
    const Event first = Auto();
    const Event second = Auto(true);
    const Event third = Auto(true);
    EXPECT_EQ(WaitAny(0, first, second, third), (Outcome{0, 1}));
    EXPECT_FALSE(IsSet(second));
    EXPECT_TRUE(IsSet(third));
    EXPECT_EQ(WaitAny(0, first, second, third), (Outcome{0, 2}));
    EXPECT_EQ(WaitAny(0, first, second, third), (Outcome{TimedOut, -1}));
}

TEST(MultipleEvents, AllConsumesAsTheyComeAlsoWhenItTimesOutOnPurpose) {
    const Event first = Auto(true);
    const Event second = Auto();
    const Event third = Manual(true);
    EXPECT_EQ(WaitAll(50, first, second, third), (Outcome{TimedOut, 1}));
    EXPECT_FALSE(IsSet(first));
    EXPECT_TRUE(IsSet(third));
    SetEvent(second.get());
    EXPECT_TRUE(IsSet(second)) << "the registration of the wait that is over takes nothing";
    EXPECT_EQ(WaitAll(0, first, second, third), (Outcome{TimedOut, 1}));
    EXPECT_FALSE(IsSet(second));
}

TEST(MultipleEvents, AllEndsWhenTheLastComes) {
    const Event first = Auto();
    const Event second = Manual();
    std::thread setter([&] {
        std::this_thread::sleep_for(30ms);
        SetEvent(second.get());
        SetEvent(first.get());
    });
    EXPECT_EQ(WaitAll(VeryLong, first, second), (Outcome{0, 0}));
    setter.join();
    EXPECT_FALSE(IsSet(first));
    EXPECT_TRUE(IsSet(second));
}

TEST(MultipleEvents, AnyEndsWithTheEventThatFires) {
    const Event first = Auto();
    const Event second = Auto();
    std::thread setter([&] {
        std::this_thread::sleep_for(30ms);
        SetEvent(second.get());
    });
    EXPECT_EQ(WaitAny(VeryLong, first, second), (Outcome{0, 1}));
    setter.join();
    EXPECT_FALSE(IsSet(second));
}

TEST(MultipleEvents, TheFormWithoutAnIndex) {
    const Event event = Auto(true);
    pevents_event_t* array[] = {event.get()};
    EXPECT_EQ(WaitForMultipleEvents(array, 1, false, 0), 0);
    EXPECT_EQ(WaitForMultipleEvents(array, 1, true, 0), TimedOut);
}

TEST(MultipleEvents, NoEventsAtAll) {
    int index = 0;
    EXPECT_EQ(WaitForMultipleEvents(nullptr, 0, true, 0, index), 0);
    EXPECT_EQ(index, 0);
    EXPECT_EQ(WaitForMultipleEvents(nullptr, 0, false, 0, index), TimedOut);
    EXPECT_EQ(index, -1);
}

TEST(MultipleEvents, StaleRegistrationsArePurged) {
    const Event event = Auto();
    for (int i = 0; i < 50; ++i) {
        EXPECT_EQ(WaitAny(0, event).result, TimedOut);
    }
    EXPECT_EQ(event->waits.size(), 1U);
}

TEST(MultipleEvents, AWaiterOutlivesAnEventThatIsDestroyed) {
    pevents_event_t* gone = CreateEvent(false, false);
    const Event other = Auto();
    std::thread destroyer([&] {
        std::this_thread::sleep_for(50ms);
        DestroyEvent(gone);
        SetEvent(other.get());
    });
    pevents_event_t* both[] = {gone, other.get()};
    int index = -1;
    EXPECT_EQ(WaitForMultipleEvents(both, 2, false, VeryLong, index), 0);
    EXPECT_EQ(index, 1);
    destroyer.join();
}

// Two threads that wait for {A, B} and {B, A} while others set both must never lock up.
TEST(MultipleEvents, WaitersInOppositeOrdersNeverLockUp) {
    const Event first = Auto();
    const Event second = Auto();
    std::atomic<bool> done{false};
    std::atomic<int> waits{0};
    const auto wait = [&](const Event& one, const Event& two, bool all) {
        while (!done) {
            Wait(all, 1, one, two);
            ++waits;
        }
    };
    std::vector<std::thread> threads;
    for (const bool all : {false, true}) {
        threads.emplace_back(wait, std::cref(first), std::cref(second), all);
        threads.emplace_back(wait, std::cref(second), std::cref(first), all);
    }
    for (const Event* event : {&first, &second}) {
        threads.emplace_back([&, event] {
            while (!done) {
                SetEvent(event->get());
                std::this_thread::yield();
            }
        });
    }
    std::this_thread::sleep_for(1500ms);
    done = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_GT(waits, 100);
}

namespace {

void SetBroken(bool manual, bool waitAll) {
    pevents_event_t* event = CreateEvent(manual, false);
    pevents_wfmo_t waiter{};
    pthread_mutex_init(&waiter.mutex, nullptr);
    pthread_cond_init(&waiter.cond, nullptr);
    waiter.RefCount = waitAll ? 5 : 0;
    waiter.wait_all = waitAll;
    waiter.still_waiting = true;
    waiter.Status.EventsLeft = 0;
    event->waits.push_back({&waiter, 0});
    SetEvent(event);
}

} // namespace

TEST(EventDeath, BrokenWaitersStopTheProcessInTheirOwnWordsOnPurpose) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(SetBroken(true, false),
                 "../Library/pevents.cpp:.*`info->Waiter->RefCount >= 0' failed");
    EXPECT_DEATH(SetBroken(false, false),
                 "../Library/pevents.cpp:.*`i->Waiter->RefCount >= 0' failed");
    EXPECT_DEATH(SetBroken(true, true),
                 "../Library/pevents.cpp:.*`info->Waiter->Status.EventsLeft >= 0' failed");
    EXPECT_DEATH(SetBroken(false, true),
                 "../Library/pevents.cpp:.*`i->Waiter->Status.EventsLeft >= 0' failed");
}
