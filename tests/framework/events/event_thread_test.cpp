// The order of events, what is dropped, and who is waited for.

#include "events/event_thread.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <vector>

#include "support/client.h"

namespace {

using mrb::EventTarget;
using mrb::EventThread;
using std::chrono::steady_clock;
using testing::ElementsAre;

steady_clock::time_point inTime() { return steady_clock::now() + support::LIMIT; }
steady_clock::time_point soon() { return steady_clock::now() + std::chrono::milliseconds(20); }

class EventThreadTest : public testing::Test {
  protected:
    // Returns when all that was posted before is delivered.
    void drain() {
        std::promise<void> done;
        events.post(std::make_shared<EventTarget>(), [&done] { done.set_value(); });
        done.get_future().wait();
    }

    const std::shared_ptr<EventTarget> target = std::make_shared<EventTarget>();
    std::vector<int> delivered; // by the event thread
    EventThread events;         // ends before what its events use
};

} // namespace

TEST_F(EventThreadTest, DeliversInTheOrderOfThePosts) {
    const auto other = std::make_shared<EventTarget>();
    for (int number = 0; number < 4; ++number) {
        events.post(number % 2 == 0 ? target : other, [this, number] { delivered.push_back(number); });
    }
    events.start();
    drain();
    EXPECT_THAT(delivered, ElementsAre(0, 1, 2, 3));
}

TEST_F(EventThreadTest, KeepsATargetUntilItsLastEventIsDelivered) {
    auto owned = std::make_shared<EventTarget>();
    const std::weak_ptr<EventTarget> watched = owned;
    bool wasThere = false;
    events.post(std::move(owned), [&] { wasThere = !watched.expired(); });
    EXPECT_FALSE(watched.expired());
    events.start();
    drain();
    EXPECT_TRUE(wasThere);
    EXPECT_TRUE(watched.expired());
}

TEST_F(EventThreadTest, DestroysAnEventBeforeItDeliversTheNext) {
    auto owned = std::make_shared<int>();
    const std::weak_ptr<int> watched = owned;
    events.post(target, [owned = std::move(owned)] {});
    bool isGone = false;
    events.post(target, [&] { isGone = watched.expired(); });
    events.start();
    drain();
    EXPECT_TRUE(isGone);
}

TEST_F(EventThreadTest, AWithdrawnTargetGetsNeitherQueuedNorLaterEvents) {
    const auto other = std::make_shared<EventTarget>();
    events.post(target, [this] { delivered.push_back(1); });
    events.post(other, [this] { delivered.push_back(2); });
    EXPECT_TRUE(events.withdraw(*target, inTime()));
    events.post(target, [this] { delivered.push_back(3); });
    events.start();
    drain();
    EXPECT_THAT(delivered, ElementsAre(2));
}

TEST_F(EventThreadTest, WithdrawingWaitsForTheDeliveryUnderWayUntilTheDeadline) {
    std::promise<void> entered;
    std::promise<void> release;
    std::atomic<bool> hasEnded = false;
    events.start();
    events.post(target, [&] {
        entered.set_value();
        release.get_future().wait();
        hasEnded = true;
    });
    entered.get_future().wait();
    EXPECT_FALSE(events.withdraw(*target, soon()));
    release.set_value();
    EXPECT_TRUE(events.withdraw(*target, inTime()));
    EXPECT_TRUE(hasEnded);
}

TEST_F(EventThreadTest, WithdrawingInsideTheDeliveryReturnsAtOnce) {
    std::promise<bool> withdrawn;
    events.start();
    events.post(target, [&] { withdrawn.set_value(events.withdraw(*target, inTime())); });
    EXPECT_TRUE(withdrawn.get_future().get());
}

TEST_F(EventThreadTest, AfterItsEndPostsAreDropped) {
    events.start();
    drain();
    EXPECT_TRUE(events.finish(inTime()));
    auto owned = std::make_shared<int>();
    const std::weak_ptr<int> watched = owned;
    events.post(target, [this, owned = std::move(owned)] { delivered.push_back(*owned); });
    EXPECT_TRUE(watched.expired());
    EXPECT_THAT(delivered, ElementsAre());
}
