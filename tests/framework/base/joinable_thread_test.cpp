// Threads that are detached when they do not end by a deadline.

#include "base/joinable_thread.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <string>

#include "support/client.h"
#include "support/own_process.h"

namespace {

using mrb::JoinableThread;
using std::chrono::steady_clock;

constexpr const char *BLOCKER = "A test does not let it go.";

steady_clock::time_point inTime() { return steady_clock::now() + support::LIMIT; }
steady_clock::time_point soon() { return steady_clock::now() + std::chrono::milliseconds(20); }

class JoinableThreadLog : public support::OwnProcess {};

TEST(JoinableThread, DoesItsWorkUnderItsName) {
    std::string name(16, '\0');
    std::promise<void> started;
    JoinableThread thread("test-thread", BLOCKER);
    thread.start([&] {
        started.get_future().wait(); // it has its name when start() returns
        pthread_getname_np(pthread_self(), name.data(), name.size());
    });
    started.set_value();
    EXPECT_TRUE(thread.finish(inTime()));
    EXPECT_STREQ(name.c_str(), "test-thread");
}

TEST(JoinableThread, IsStartedOnce) {
    std::atomic<int> started = 0;
    JoinableThread thread("test-thread", BLOCKER);
    EXPECT_FALSE(thread.isStarted());
    for (int time = 0; time < 3; ++time) {
        thread.start([&started] { ++started; });
        EXPECT_TRUE(thread.isStarted());
    }
    EXPECT_TRUE(thread.finish(inTime()));
    thread.start([&started] { ++started; });
    EXPECT_EQ(started, 1);
}

TEST(JoinableThread, ThatWasNeverStartedHasEnded) {
    JoinableThread thread("test-thread", BLOCKER);
    EXPECT_TRUE(thread.finish(steady_clock::now()));
}

TEST(JoinableThread, HasEndedWhenWhatItsWorkHeldIsReleased) {
    std::atomic<bool> isReleased = false;
    JoinableThread thread("test-thread", BLOCKER);
    thread.start([held = std::shared_ptr<void>(nullptr, [&](void *) { isReleased = true; })] {});
    EXPECT_TRUE(thread.finish(inTime()));
    EXPECT_TRUE(isReleased);
}

TEST(JoinableThread, KnowsWhetherTheCallerIsIt) {
    bool isInside = false;
    JoinableThread thread("test-thread", BLOCKER);
    EXPECT_FALSE(thread.isCurrent());
    thread.start([&] { isInside = thread.isCurrent(); });
    EXPECT_TRUE(thread.finish(inTime()));
    EXPECT_TRUE(isInside);
    EXPECT_FALSE(thread.isCurrent());
}

TEST_F(JoinableThreadLog, IsDetachedWhenItIsBlockedAtTheDeadlineAndTheLogNamesIt) {
    if (!inside(support::Surroundings::PLAIN)) {
        return;
    }
    std::promise<void> end;
    JoinableThread thread("test-thread", BLOCKER);
    thread.start([&end] { end.get_future().wait(); });
    testing::internal::CaptureStderr();
    EXPECT_FALSE(thread.finish(soon()));
    const std::string log = testing::internal::GetCapturedStderr();
    EXPECT_NE(log.find(std::string("test-thread still blocked: detached at exit. ") + BLOCKER),
              std::string::npos)
        << log;
    end.set_value();
}

TEST_F(JoinableThreadLog, ThatWasDetachedIsWaitedForAgainWithoutAnotherWarning) {
    if (!inside(support::Surroundings::PLAIN)) {
        return;
    }
    std::promise<void> end;
    JoinableThread thread("test-thread", BLOCKER);
    thread.start([&end] { end.get_future().wait(); });
    EXPECT_FALSE(thread.finish(soon()));
    testing::internal::CaptureStderr();
    EXPECT_FALSE(thread.finish(soon()));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    end.set_value();
    EXPECT_TRUE(thread.finish(inTime()));
}

// Its owner goes next, which the thread may still use.
TEST(JoinableThread, IsNotDestroyedBeforeTheThreadHasEnded) {
    std::promise<void> end;
    std::atomic<bool> hasEnded = false;
    std::future<void> later;
    {
        JoinableThread thread("test-thread", BLOCKER);
        thread.start([&] {
            end.get_future().wait();
            hasEnded = true;
        });
        EXPECT_FALSE(thread.finish(soon()));
        later = std::async(std::launch::async, [&end] { end.set_value(); });
    }
    EXPECT_TRUE(hasEnded);
}

TEST(JoinableThread, MayBeFinishedByItself) {
    bool isFinished = false;
    JoinableThread thread("test-thread", BLOCKER);
    std::promise<void> started;
    thread.start([&] {
        started.get_future().wait();
        isFinished = thread.finish(steady_clock::time_point::max());
    });
    started.set_value();
    EXPECT_TRUE(thread.finish(inTime()));
    EXPECT_TRUE(isFinished);
}

TEST(JoinableThread, IsFinishedByManyAtOnce) {
    constexpr int ROUNDS = 200;
    for (int round = 0; round < ROUNDS; ++round) {
        std::promise<void> end;
        JoinableThread thread("test-thread", BLOCKER);
        thread.start([&end] { end.get_future().wait(); });
        auto one = std::async(std::launch::async, [&] { return thread.finish(inTime()); });
        auto other = std::async(std::launch::async, [&] { return thread.finish(inTime()); });
        end.set_value();
        EXPECT_TRUE(one.get());
        EXPECT_TRUE(other.get());
    }
}

} // namespace
