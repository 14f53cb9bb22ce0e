// Threads for one piece of work each, which are waited for together.

#include "base/thread_group.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <string>
#include <system_error>

#include "support/client.h"
#include "support/own_process.h"

namespace {

using mrb::ThreadGroup;
using std::chrono::steady_clock;

constexpr const char *BLOCKER = "A test does not let it go.";

steady_clock::time_point inTime() { return steady_clock::now() + support::LIMIT; }
steady_clock::time_point soon() { return steady_clock::now() + std::chrono::milliseconds(20); }

class ThreadGroupLog : public support::OwnProcess {};

TEST(ThreadGroup, WithoutThreadsHasEnded) {
    ThreadGroup threads("test-group", BLOCKER);
    EXPECT_TRUE(threads.finish(steady_clock::now()));
}

TEST(ThreadGroup, RunsEachPieceOfWorkOnAThreadOfItsOwn) {
    std::promise<void> first;
    std::promise<void> second;
    ThreadGroup threads("test-group", BLOCKER);
    threads.start([&] { first.get_future().wait(); });
    threads.start([&] {
        first.set_value(); // which one thread alone would not come to
        second.set_value();
    });
    second.get_future().wait();
    EXPECT_TRUE(threads.finish(inTime()));
}

TEST(ThreadGroup, HasEndedWhenWhatItsWorkHeldIsReleased) {
    std::atomic<int> released = 0;
    ThreadGroup threads("test-group", BLOCKER);
    for (int thread = 0; thread < 4; ++thread) {
        threads.start([held = std::shared_ptr<void>(nullptr, [&](void *) { ++released; })] {});
    }
    EXPECT_TRUE(threads.finish(inTime()));
    EXPECT_EQ(released, 4);
}

TEST(ThreadGroup, StartsNothingOnceItIsFinished) {
    std::atomic<int> started = 0;
    ThreadGroup threads("test-group", BLOCKER);
    EXPECT_TRUE(threads.finish(inTime()));
    EXPECT_THROW(threads.start([&] { ++started; }), std::system_error);
    EXPECT_EQ(started, 0);
}

TEST_F(ThreadGroupLog, DetachesThoseThatAreBlockedAtTheDeadlineAndTheLogNamesThem) {
    if (!inside(support::Surroundings::PLAIN)) {
        return;
    }
    std::promise<void> end;
    const std::shared_future<void> ended = end.get_future().share();
    ThreadGroup threads("test-group", BLOCKER);
    threads.start([ended] { ended.wait(); });
    threads.start([ended] { ended.wait(); });
    testing::internal::CaptureStderr();
    EXPECT_FALSE(threads.finish(soon()));
    const std::string log = testing::internal::GetCapturedStderr();
    const std::string warning = std::string("test-group still blocked: detached at exit. ") + BLOCKER;
    const std::size_t first = log.find(warning);
    ASSERT_NE(first, std::string::npos) << log;
    EXPECT_NE(log.find(warning, first + 1), std::string::npos) << log;
    end.set_value();
}

} // namespace
