// Which callback receives which device events, and how long its removal waits.

#include "storage/device_notifier.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "mrb/result.h"
#include "support/client.h"

namespace {

using mrb::DeviceNotifier;
using mrb::EventTarget;
using mrb::EventThread;
using testing::ElementsAre;
using testing::IsEmpty;

// A callback that keeps the names of its events, and runs the test's work in each.
struct Callback {
    static void receive(void *self, mrb_storage_event_e event, _mrb_storage_s *&storage) {
        auto &callback = *static_cast<Callback *>(self);
        callback.names.push_back(std::string(1, "+-~"[event]) + storage->device.name);
        callback.totals.push_back(storage->device.total);
        if (callback.work) {
            callback.work();
        }
    }

    std::function<void()> work;
    std::vector<std::string> names; // written by the event thread
    std::vector<long long> totals;
};

// Keeps a callback running at its first event until it is released, then runs `atEnd` in it.
struct Hold {
    explicit Hold(Callback &callback) {
        callback.work = [this] {
            if (!std::exchange(isEntered, true)) {
                entered.set_value();
                released.wait();
                if (atEnd) {
                    atEnd();
                }
            }
        };
    }
    ~Hold() { release(); }
    Hold(const Hold &) = delete;
    Hold &operator=(const Hold &) = delete;

    void awaitEntry() { entered.get_future().wait(); }
    void release() {
        if (!std::exchange(isReleased, true)) {
            gate.set_value();
        }
    }

    std::function<void()> atEnd;
    std::promise<void> entered;
    std::promise<void> gate;
    std::shared_future<void> released = gate.get_future().share();
    bool isEntered = false; // of the event thread
    bool isReleased = false;
};

class DeviceNotifierTest : public testing::Test {
  protected:
    int set(Callback &callback) { return notifier->set(Callback::receive, &callback); }
    void collect(const std::string &name, mrb_storage_event_e event = MRB_STORAGE_EVENT_ADDED) {
        mrb::Device device;
        device.id = device.name = name;
        device.mountPath = "/nowhere/" + name;
        notifier->collect({event, device});
    }
    void post(const std::string &name) {
        collect(name);
        notifier->post();
    }
    // Returns when all that was posted before is delivered.
    void drain() {
        std::promise<void> done;
        events.post(std::make_shared<EventTarget>(), [&done] { done.set_value(); });
        done.get_future().wait();
    }
    void SetUp() override { events.start(); }
    // Before what the callbacks of a test use.
    void TearDown() override { EXPECT_TRUE(events.finish(std::chrono::steady_clock::time_point::max())); }

    EventThread events;
    const std::shared_ptr<DeviceNotifier> notifier = std::make_shared<DeviceNotifier>(events);
    Callback first;
    Callback second;
};

} // namespace

TEST_F(DeviceNotifierTest, DeliversEventsInTheirOrder) {
    EXPECT_EQ(set(first), MRB_ERR_NONE);
    collect("one");
    collect("two", MRB_STORAGE_EVENT_CHANGED);
    notifier->post();
    collect("one", MRB_STORAGE_EVENT_REMOVED);
    notifier->post();
    drain();
    EXPECT_THAT(first.names, ElementsAre("+one", "~two", "-one"));
}

TEST_F(DeviceNotifierTest, DropsEventsWithoutACallback) {
    EXPECT_FALSE(notifier->isSet());
    collect("one");
    EXPECT_EQ(set(first), MRB_ERR_NONE);
    EXPECT_TRUE(notifier->isSet());
    notifier->post();
    drain();
    EXPECT_THAT(first.names, IsEmpty());
}

TEST_F(DeviceNotifierTest, CollectedEventsWaitForTheirSizes) {
    set(first);
    collect("one");
    collect("two");
    drain();
    EXPECT_THAT(first.names, IsEmpty());
    mrb::Device measured;
    measured.id = measured.name = "two";
    measured.mountPath = "/nowhere/two";
    measured.total = 77;
    notifier->keepSizes(measured);
    notifier->post();
    drain();
    EXPECT_THAT(first.totals, ElementsAre(0, 77));
}

TEST_F(DeviceNotifierTest, EventsOfAReplacedCallbackGoToTheNewOne) {
    Hold hold(first);
    hold.atEnd = [this] { set(second); };
    set(first);
    post("one");
    post("two");
    hold.awaitEntry();
    collect("three");
    hold.release();
    drain();
    notifier->post();
    drain();
    EXPECT_THAT(first.names, ElementsAre("+one"));
    EXPECT_THAT(second.names, ElementsAre("+two", "+three"));
}

TEST_F(DeviceNotifierTest, ReplacingWaitsForTheCallbackThatIsRunning) {
    std::atomic<bool> hasEnded = false;
    Hold hold(first);
    hold.atEnd = [&hasEnded] { hasEnded = true; };
    set(first);
    post("one");
    hold.awaitEntry();
    auto replaced = std::async(std::launch::async, [&] { return set(second) == MRB_ERR_NONE && hasEnded; });
    // Long enough for one that does not wait.
    EXPECT_EQ(replaced.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    hold.release();
    EXPECT_TRUE(replaced.get());
}

TEST_F(DeviceNotifierTest, ReplacingDoesNotWaitForTheNewCallback) {
    Hold earlier(first);
    Hold later(second);
    set(first);
    post("one");
    earlier.awaitEntry();
    auto replaced = std::async(std::launch::async, [&] { return set(second); });
    earlier.release();
    auto entered = later.entered.get_future();
    while (entered.wait_for(std::chrono::seconds(0)) != std::future_status::ready) {
        post("two"); // until it goes to the new one
    }
    EXPECT_EQ(replaced.get(), MRB_ERR_NONE);
    later.release();
    drain();
}

TEST_F(DeviceNotifierTest, RemovalDropsEventsThatAreCollectedOrPosted) {
    Hold hold(first);
    set(first);
    post("one");
    hold.awaitEntry();
    post("two");
    collect("three");
    auto removed = std::async(std::launch::async, [&] { return notifier->remove(); });
    while (notifier->isSet()) { // then it waits for the one that is running
        std::this_thread::yield();
    }
    EXPECT_EQ(removed.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    hold.release();
    EXPECT_EQ(removed.get(), MRB_ERR_NONE);
    set(second);
    notifier->post();
    drain();
    EXPECT_THAT(first.names, ElementsAre("+one"));
    EXPECT_THAT(second.names, IsEmpty());
}

TEST_F(DeviceNotifierTest, NeitherWaitsLongForACallbackThatDoesNotReturn) {
    Hold hold(first);
    set(first);
    post("one");
    hold.awaitEntry();
    EXPECT_EQ(set(second), MRB_ERR_TIMEOUT);
    EXPECT_EQ(notifier->remove(), MRB_ERR_TIMEOUT);
    EXPECT_FALSE(notifier->isSet());
    hold.release();
    drain();
}

TEST_F(DeviceNotifierTest, InsideTheCallbackBothReturnAtOnce) {
    std::vector<int> codes;
    first.work = [&] { codes = {set(second), notifier->remove(), set(second)}; };
    set(first);
    post("one");
    drain();
    post("two");
    drain();
    EXPECT_THAT(codes, ElementsAre(MRB_ERR_NONE, MRB_ERR_NONE, MRB_ERR_NONE));
    EXPECT_THAT(first.names, ElementsAre("+one"));
    EXPECT_THAT(second.names, ElementsAre("+two"));
}

TEST_F(DeviceNotifierTest, ACallbackMayCauseFurtherEvents) {
    first.work = [&] {
        if (first.names.size() < 3) {
            post("more");
        }
    };
    set(first);
    post("one");
    drain();
    drain();
    drain();
    EXPECT_THAT(first.names, ElementsAre("+one", "+more", "+more"));
}

// Each callback is destroyed right after its removal, which a sanitizer detects when it runs
// nevertheless.
TEST_F(DeviceNotifierTest, CallbacksComeAndGoWhileEventsArrive) {
    std::atomic<bool> stop = false;
    std::thread source([&] {
        while (!stop) {
            post("one");
            std::this_thread::yield();
        }
    });
    for (int round = 0; round < 5000; ++round) {
        const auto one = std::make_unique<Callback>();
        const auto other = std::make_unique<Callback>();
        ASSERT_EQ(set(*one), MRB_ERR_NONE);
        ASSERT_EQ(set(*other), MRB_ERR_NONE);
        ASSERT_EQ(notifier->remove(), MRB_ERR_NONE);
    }
    stop = true;
    source.join();
}
