// Calls whose threads are detached when they do not return in time.

#include "base/timed_calls.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <memory>
#include <string>
#include <thread>

#include "support/client.h"

namespace {

using Clock = std::chrono::steady_clock;

class TimedCallsTest : public testing::Test {
  protected:
    ~TimedCallsTest() override {
        release();
        while (running > 0) {
            std::this_thread::yield();
        }
    }
    void release() {
        if (!isReleased_) {
            isReleased_ = true;
            released_.set_value();
        }
    }
    // A call that hangs until release().
    bool hang(const std::string &name) {
        ++running; // until it has returned, or is found not to be made
        const auto counter = std::shared_ptr<void>(nullptr, [this](void *) { --running; });
        return calls.run(
            name,
            [this, counter, end = released] {
                ++made;
                end.wait();
            },
            Clock::now() + std::chrono::milliseconds(20));
    }
    // One that returns, made with time enough.
    bool pass(const std::string &name) {
        return calls.run(
            name, [this] { ++matchCount; }, Clock::now() + support::LIMIT);
    }

    mrb::TimedCalls calls;
    std::atomic<int> running = 0;
    std::atomic<int> made = 0;
    std::atomic<int> matchCount = 0;

  private:
    std::promise<void> released_;
    bool isReleased_ = false;

  protected:
    const std::shared_future<void> released = released_.get_future().share();
};

} // namespace

TEST_F(TimedCallsTest, AreOverWhenTheyReturnInTime) {
    for (int round = 1; round <= 100; ++round) {
        EXPECT_TRUE(pass("a"));
        EXPECT_EQ(matchCount, round);
    }
}

TEST_F(TimedCallsTest, ThatHangAreMadeOnceAndBlockNoOther) {
    for (int round = 0; round < 100; ++round) {
        EXPECT_FALSE(hang("a"));
    }
    EXPECT_FALSE(pass("a"));
    EXPECT_TRUE(pass("b"));
    EXPECT_LE(made, 1);
    EXPECT_EQ(matchCount, 1);
}

TEST_F(TimedCallsTest, AreMadeAgainWhenTheLateOneHasReturned) {
    EXPECT_FALSE(hang("a"));
    release();
    const auto limit = Clock::now() + support::LIMIT;
    while (!pass("a") && Clock::now() < limit) {
        std::this_thread::yield();
    }
    EXPECT_EQ(matchCount, 1);
}

TEST_F(TimedCallsTest, AreRefusedWhileTooManyAreLate) {
    for (std::size_t number = 0; number < mrb::TimedCalls::MAX_LATE; ++number) {
        EXPECT_FALSE(hang(std::to_string(number)));
    }
    EXPECT_FALSE(pass("another"));
    EXPECT_EQ(matchCount, 0);
}
