// The restartable thread object and the mutex, on real threads (also run under TSan).
#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <stdexcept>
#include <thread>

#include "utils/QelInstantThread.h"
#include "utils/QelMutex.h"

namespace {

// A gate a run waits at until the test opens it.
class Gate {
public:
    void Open() { m_promise.set_value(); }
    void Wait() const { m_future.wait(); }

private:
    std::promise<void> m_promise;
    std::shared_future<void> m_future = m_promise.get_future().share();
};

TEST(QelInstantThreadTest, RunsTheFunctionOnceOnItsOwnThreadAndRefusesASecondRunMeanwhile) {
    QelInstantThread thread;
    EXPECT_FALSE(thread.Create(std::function<void(void*)>(), nullptr, true)) << "nothing to run";
    Gate gate;
    std::atomic<int> nCalls{0};
    int nValue = 41;
    std::thread::id runner;
    auto body = [&](void* arg) {
        runner = std::this_thread::get_id();
        ++*static_cast<int*>(arg);
        ++nCalls;
        gate.Wait();
    };
    ASSERT_TRUE(thread.Create(body, &nValue, true));
    EXPECT_TRUE(thread.IsRunning());
    EXPECT_FALSE(thread.Create(body, &nValue, false));
    gate.Open();
    thread.Join();
    EXPECT_FALSE(thread.IsRunning());
    EXPECT_EQ(nCalls.load(), 1);
    EXPECT_EQ(nValue, 42);
    EXPECT_NE(runner, std::this_thread::get_id());
}

// Runs that end at once: the start signal may come after the end, and a run that ended
// unjoined is joined by the next Create. Neither may hang or lose a run.
TEST(QelInstantThreadTest, CanBeCreatedAgainAfterARunEnded) {
    QelInstantThread thread;
    std::atomic<int> nCalls{0};
    for (int i = 0; i < 200; ++i) {
        ASSERT_TRUE(thread.Create([&](void*) { ++nCalls; }, nullptr, i % 2 == 0)) << "run " << i;
        if (i % 3 == 0) {
            thread.Join();
        } else {
            while (thread.IsRunning()) std::this_thread::yield();
        }
    }
    thread.Join();
    EXPECT_EQ(nCalls.load(), 200);
}

TEST(QelInstantThreadTest, AnExceptionEndsOnlyTheRun) {
    QelInstantThread thread;
    ASSERT_TRUE(thread.Create([](void*) { throw std::runtime_error("boom"); }, nullptr, false));
    thread.Join();
    EXPECT_FALSE(thread.IsRunning());
    std::atomic<bool> bRan{false};
    ASSERT_TRUE(thread.Create([&](void*) { bRan = true; }, nullptr, false));
    thread.Join();
    EXPECT_TRUE(bRan.load());
}

TEST(QelInstantThreadTest, ARunMayDestroyItsOwnThreadObject) {
    std::atomic<bool> bDone{false};
    auto* pThread = new QelInstantThread;
    Gate created;
    ASSERT_TRUE(pThread->Create(
        [&](void* arg) {
            created.Wait();
            delete static_cast<QelInstantThread*>(arg);
            bDone = true;
        },
        pThread, false));
    created.Open();
    while (!bDone.load()) std::this_thread::yield();
}

TEST(QelInstantThreadTest, JoinFromTheRunItselfReturns) {
    QelInstantThread thread;
    std::atomic<bool> bReturned{false};
    Gate created;
    ASSERT_TRUE(thread.Create(
        [&](void*) {
            created.Wait();
            thread.Join();
            bReturned = true;
        },
        nullptr, false));
    created.Open();
    thread.Join();
    EXPECT_TRUE(bReturned.load());
}

TEST(QelMutexTest, TryLockFailsWhileAnotherThreadHoldsIt) {
    QelMutex mutex;
    {
        QelMutexGuard guard(mutex);
        bool bGot = true;
        std::thread([&] { bGot = mutex.TryLock(); }).join();
        EXPECT_FALSE(bGot);
    }
    bool bGot = false;
    std::thread([&] {
        bGot = mutex.TryLock();
        if (bGot) mutex.Unlock();
    }).join();
    EXPECT_TRUE(bGot) << "the guard released it";
}

}  // namespace
