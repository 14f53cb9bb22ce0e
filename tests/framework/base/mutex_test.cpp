// The annotated mutex, its scopes, and the waits on a condition variable. What clang finds with
// them is tested in tests/runner/locks.test.mjs.

#include "base/mutex.h"

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <thread>

#include "support/client.h"

namespace {

using mrb::ConditionVariable;
using mrb::Mutex;
using mrb::MutexLock;
using mrb::MutexUnlock;
using std::chrono::steady_clock;

steady_clock::time_point inTime() { return steady_clock::now() + support::LIMIT; }

// What two threads share.
struct Shared {
    Mutex lock;
    ConditionVariable change;
    int value MRB_GUARDED_BY(lock) = 0;

    void set(int wanted) MRB_EXCLUDES(lock) {
        const MutexLock guard(lock);
        value = wanted;
        change.notifyAll();
    }
    // False: it does not happen in time.
    bool await(int wanted) MRB_REQUIRES(lock) {
        const auto deadline = inTime();
        while (value != wanted && change.waitUntil(lock, deadline)) {
        }
        return value == wanted;
    }
};

TEST(Mutex, IsHeldByOneThreadAtATime) {
    constexpr int TIMES = 10'000;
    Shared shared;
    const auto count = [&shared] {
        for (int time = 0; time < TIMES; ++time) {
            const MutexLock guard(shared.lock);
            ++shared.value;
        }
    };
    std::thread other(count);
    count();
    other.join();
    const MutexLock guard(shared.lock);
    EXPECT_EQ(shared.value, 2 * TIMES);
}

TEST(Mutex, IsFreeAfterItsScope) {
    Shared shared;
    { const MutexLock guard(shared.lock); }
    const auto other = std::async(std::launch::async, [&shared] { shared.set(1); });
    EXPECT_EQ(other.wait_until(inTime()), std::future_status::ready);
}

TEST(Mutex, IsFreeBetweenUnlockAndLock) {
    Shared shared;
    MutexLock guard(shared.lock);
    guard.unlock();
    std::async(std::launch::async, [&shared] { shared.set(1); }).wait();
    guard.lock();
    EXPECT_EQ(shared.value, 1);
}

TEST(Mutex, IsFreeInsideMutexUnlockAndHeldAfterIt) {
    Shared shared;
    const MutexLock guard(shared.lock);
    {
        const MutexUnlock unlocked(shared.lock);
        std::async(std::launch::async, [&shared] { shared.set(1); }).wait();
    }
    const auto other = std::async(std::launch::async, [&shared] { shared.set(2); });
    EXPECT_EQ(shared.value, 1);
    EXPECT_TRUE(shared.await(2)); // which releases it
}

TEST(ConditionVariable, WakesAWaitingThread) {
    Shared shared;
    const auto other = std::async(std::launch::async, [&shared] {
        {
            const MutexLock guard(shared.lock);
            while (shared.value != 1) {
                shared.change.wait(shared.lock);
            }
        }
        shared.set(2);
    });
    shared.set(1);
    const MutexLock guard(shared.lock);
    EXPECT_TRUE(shared.await(2));
}

TEST(ConditionVariable, ReturnsFalseAtTheDeadline) {
    Mutex lock;
    ConditionVariable change;
    const MutexLock guard(lock);
    const auto deadline = steady_clock::now() + std::chrono::milliseconds(1);
    while (change.waitUntil(lock, deadline)) {
    }
    EXPECT_GE(steady_clock::now(), deadline);
}

} // namespace
