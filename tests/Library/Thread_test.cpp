#include "Library/Thread.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

using namespace std::chrono_literals;

namespace {

class Worker : public CThreadObject {
public:
    explicit Worker(bool waits) : CThreadObject(0), m_waits(waits) {}
    ~Worker() override { ThreadStop(0); }
    void ThreadCycle() override {
        ++cycles;
        if (m_waits) {
            pevents::WaitForEvent(m_stop_event, ~0UL);
            sawStop = ThreadShouldStop();
        }
    }
    bool Running() const { return m_running; }

    std::atomic<int> cycles{0};
    std::atomic<bool> sawStop{false};

private:
    bool m_waits;
};

template <typename Body>
std::chrono::steady_clock::duration TimeOf(Body&& body) {
    const auto start = std::chrono::steady_clock::now();
    body();
    return std::chrono::steady_clock::now() - start;
}

} // namespace

TEST(ThreadObject, RunsItsCycleOnceAndStops) {
    Worker worker(true);
    EXPECT_FALSE(worker.Active());
    EXPECT_EQ(worker.ThreadStart(), 0);
    EXPECT_TRUE(worker.Active());
    EXPECT_EQ(worker.ThreadStart(), -1);
    EXPECT_EQ(worker.ThreadStop(0), 0);
    EXPECT_FALSE(worker.Active());
    EXPECT_FALSE(worker.ThreadShouldStop());
    EXPECT_FALSE(worker.Running());
    EXPECT_TRUE(worker.sawStop);
    EXPECT_EQ(worker.cycles, 1);
}

TEST(ThreadObject, StoppingSleepsItsWholeTimeAlsoForAFinishedThreadOnPurpose) {
    Worker worker(false);
    worker.ThreadStart();
    EXPECT_GE(TimeOf([&] { worker.ThreadStop(300); }), 300ms);
    EXPECT_LT(TimeOf([&] { worker.ThreadStop(20000); }), 10s);
}

TEST(ThreadObject, AFinishedThreadStaysActiveUntilItIsStoppedOnPurpose) {
    Worker worker(false);
    worker.ThreadStart();
    for (int i = 0; i < 1000 && (worker.cycles == 0 || worker.Running()); ++i) {
        std::this_thread::sleep_for(10ms);
    }
    EXPECT_TRUE(worker.Active());
    EXPECT_EQ(worker.ThreadStart(), -1);
    worker.ThreadStop(0);
    EXPECT_EQ(worker.ThreadStart(), 0);
    worker.ThreadStop(0);
    EXPECT_EQ(worker.cycles, 2);
}

TEST(ThreadObject, AskingToStopDoesNotJoin) {
    Worker worker(true);
    EXPECT_EQ(worker.ThreadStopAsync(), 0);
    EXPECT_FALSE(worker.ThreadShouldStop());
    worker.ThreadStart();
    EXPECT_EQ(worker.ThreadStopAsync(), 0);
    EXPECT_TRUE(worker.ThreadShouldStop());
    EXPECT_TRUE(worker.Active());
    worker.ThreadStop(0);
}

TEST(ThreadObject, TheDestructorStopsForASecondOnPurpose) {
    EXPECT_GE(TimeOf([] {
                  CThreadObject object(0);
                  object.ThreadStart();
              }),
              1000ms);
    EXPECT_LT(TimeOf([] { CThreadObject object(0); }), 900ms);
}

TEST(SafeObject, LocksRecursivelyAndExcludesOthers) {
    CSafeObject object;
    object.Lock();
    EXPECT_TRUE(object.TryLock());
    const auto triesElsewhere = [&] {
        bool taken = false;
        std::thread([&] {
            taken = object.TryLock();
            if (taken) {
                object.Unlock();
            }
        }).join();
        return taken;
    };
    EXPECT_FALSE(triesElsewhere());
    object.Unlock();
    EXPECT_FALSE(triesElsewhere());
    object.Unlock();
    EXPECT_TRUE(triesElsewhere());
}
