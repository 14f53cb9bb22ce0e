// Which callbacks and observers of devices run, when, and when not. The devices are scripted.

#include <gtest/gtest.h>
#include <sys/eventfd.h>

#include <atomic>
#include <future>
#include <mutex>
#include <string>
#include <thread>

#include "base/descriptor.h"
#include "mrb/result.h"
#include "storage/device_service.h"
#include "support/client.h"
#include "support/devices.h"

using mrb::Device;
using mrb::DeviceService;
using mrb::DeviceTable;

namespace {

// The state of the one scripted device.
struct World {
    // Attaches or detaches it, and wakes the service.
    void set(bool isThere) {
        const std::lock_guard guard(lock);
        steps.push_back(isThere);
        eventfd_write(wakeUp.fd(), 1);
    }

    std::mutex lock;
    std::vector<bool> steps;
    mrb::Descriptor wakeUp{eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)};
};

class Source final : public mrb::DeviceSource {
  public:
    explicit Source(World &world) : world_(world) {}
    void addDescriptors(std::vector<pollfd> &waited) const override {
        waited.push_back({world_.wakeUp.fd(), POLLIN, 0});
    }
    void scan(DeviceTable &table) override {
        const std::lock_guard guard(world_.lock);
        eventfd_t ignored = 0;
        eventfd_read(world_.wakeUp.fd(), &ignored);
        for (const bool isThere : std::exchange(world_.steps, {})) {
            if (isThere) {
                table.set("own", Device{});
            } else {
                table.remove("own");
            }
        }
    }

  private:
    World &world_;
};

class Services : public testing::Test {
  protected:
    World world;
    // However busy the machine is, a list contains what was done before the call.
    DeviceService service{[this] {
                              DeviceService::Sources sources;
                              sources.push_back(std::make_unique<Source>(world));
                              return sources;
                          },
                          mrb::CapacityProbe::instance(),
                          {support::LIMIT, support::LIMIT, support::LIMIT}};
};

// Counts its events, and runs the test's work.
struct DeviceCallback {
    explicit DeviceCallback(DeviceService &owner) : service(owner) {}
    ~DeviceCallback() { service.removeCallback(); }
    DeviceCallback(const DeviceCallback &) = delete;
    DeviceCallback &operator=(const DeviceCallback &) = delete;

    static void receive(void *self, mrb_storage_event_e event, _mrb_storage_s *& /*storage*/) {
        auto &received = *static_cast<DeviceCallback *>(self);
        received.balance += event == MRB_STORAGE_EVENT_ADDED ? 1 : -1;
        if (received.work) {
            received.work();
        }
        ++received.number;
        received.number.notify_all();
    }
    void waitFor(int wanted) {
        for (int seen = number; seen < wanted; seen = number) {
            number.wait(seen);
        }
    }

    DeviceService &service;
    std::function<void()> work;
    std::atomic<int> number = 0;
    int balance = 0;
};

// Waits for the removal of the one device.
struct Observer final : mrb::RemovalObserver {
    void deviceRemoved() override {
        if (work) {
            work();
        }
        ++number;
        number.notify_all();
    }
    void wait() const { number.wait(0); }

    std::function<void()> work;
    std::atomic<int> number = 0;
};

} // namespace

TEST_F(Services, CallsBackFromItsOwnNamedThread) {
    DeviceCallback received(service);
    std::string name(16, '\0');
    received.work = [&name] { pthread_getname_np(pthread_self(), name.data(), name.size()); };
    ASSERT_EQ(service.setCallback(DeviceCallback::receive, &received), MRB_ERR_NONE);
    world.set(true);
    received.waitFor(1);
    service.removeCallback();
    EXPECT_STREQ(name.c_str(), "mrb-dev-events");
}

TEST_F(Services, DevicesThatWereThereBeforeAreListedAndNotReported) {
    world.set(true);
    DeviceCallback received(service);
    ASSERT_EQ(service.setCallback(DeviceCallback::receive, &received), MRB_ERR_NONE);
    EXPECT_EQ(service.list(mrb::DeviceKind::USB).size(), 1U);
    world.set(false);
    received.waitFor(1);
    EXPECT_EQ(received.balance, -1);
}

TEST_F(Services, AnEventThatAListSeesFirstIsStillReported) {
    DeviceCallback received(service);
    ASSERT_EQ(service.setCallback(DeviceCallback::receive, &received), MRB_ERR_NONE);
    for (int round = 1; round <= 1000; ++round) {
        world.set(round % 2 == 1);
        EXPECT_EQ(service.list(mrb::DeviceKind::USB).size(), round % 2);
    }
    received.waitFor(1000);
    EXPECT_EQ(received.balance, 0);
}

TEST_F(Services, UnsetWaitsForTheCallbackThatIsRunning) {
    std::promise<void> entered;
    std::promise<void> release;
    DeviceCallback received(service);
    received.work = [&] {
        entered.set_value();
        release.get_future().wait();
    };
    ASSERT_EQ(service.setCallback(DeviceCallback::receive, &received), MRB_ERR_NONE);
    world.set(true);
    entered.get_future().wait();
    auto unset = std::async(std::launch::async, [this] { return service.removeCallback(); });
    EXPECT_EQ(unset.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    release.set_value();
    EXPECT_EQ(unset.get(), MRB_ERR_NONE);
    EXPECT_EQ(received.number, 1);
}

TEST_F(Services, UnsetDoesNotWaitLongForACallbackThatDoesNotReturn) {
    std::promise<void> entered;
    std::promise<void> release;
    DeviceCallback received(service);
    received.work = [&] {
        entered.set_value();
        release.get_future().wait_for(support::LIMIT);
    };
    ASSERT_EQ(service.setCallback(DeviceCallback::receive, &received), MRB_ERR_NONE);
    world.set(true);
    entered.get_future().wait();
    EXPECT_EQ(service.removeCallback(), MRB_ERR_TIMEOUT);
    EXPECT_EQ(received.number, 0);
    release.set_value();
}

TEST_F(Services, AnotherCallbackTakesOverWhenTheOneBeforeHasReturned) {
    std::promise<void> entered;
    std::promise<void> release;
    DeviceCallback before(service);
    DeviceCallback after(service);
    before.work = [&] {
        entered.set_value();
        release.get_future().wait();
    };
    ASSERT_EQ(service.setCallback(DeviceCallback::receive, &before), MRB_ERR_NONE);
    world.set(true);
    entered.get_future().wait();
    auto set =
        std::async(std::launch::async, [&] { return service.setCallback(DeviceCallback::receive, &after); });
    EXPECT_EQ(set.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    release.set_value();
    EXPECT_EQ(set.get(), MRB_ERR_NONE);
    world.set(false);
    after.waitFor(1);
    EXPECT_EQ(before.number, 1);
}

TEST_F(Services, ACallbackMayUnsetItself) {
    DeviceCallback received(service);
    received.work = [this] { service.removeCallback(); };
    ASSERT_EQ(service.setCallback(DeviceCallback::receive, &received), MRB_ERR_NONE);
    world.set(true);
    received.waitFor(1);
    world.set(false);
    EXPECT_EQ(service.list(mrb::DeviceKind::USB).size(), 0U);
    EXPECT_EQ(service.removeCallback(), MRB_ERR_NONE);
    EXPECT_EQ(received.number, 1);
}

TEST_F(Services, ACallbackMayListAndSetAnother) {
    DeviceCallback other(service);
    DeviceCallback received(service);
    received.work = [&] {
        EXPECT_EQ(service.list(mrb::DeviceKind::USB).size(), 1U);
        EXPECT_EQ(service.setCallback(DeviceCallback::receive, &other), MRB_ERR_NONE);
    };
    ASSERT_EQ(service.setCallback(DeviceCallback::receive, &received), MRB_ERR_NONE);
    world.set(true);
    received.waitFor(1);
    world.set(false);
    other.waitFor(1);
    service.removeCallback();
    EXPECT_EQ(received.number, 1);
    EXPECT_EQ(other.balance, -1);
}

// Registered and removed while devices come and go: the callback's owner is destroyed right after
// its removal, which a sanitizer detects when a callback runs nevertheless.
TEST_F(Services, TenThousandRegistrationsRaceWithEvents) {
    std::atomic<bool> stop = false;
    std::thread devices([&] {
        for (bool isThere = true; !stop; isThere = !isThere) {
            world.set(isThere);
            std::this_thread::yield();
        }
    });
    int seen = 0;
    for (int round = 0; round < 10'000; ++round) {
        auto received = std::make_unique<DeviceCallback>(service);
        if (round % 3 == 0) {
            received->work = [this] { service.removeCallback(); };
        }
        ASSERT_EQ(service.setCallback(DeviceCallback::receive, received.get()), MRB_ERR_NONE);
        if (round % 100 == 0) {
            received->waitFor(1);
        }
        ASSERT_EQ(service.removeCallback(), MRB_ERR_NONE);
        seen += received->number;
    }
    stop = true;
    devices.join();
    EXPECT_GE(seen, 100);
}

TEST_F(Services, AfterItsShutdownNoCallbackRunsAndListsAreWhatWasKnown) {
    world.set(true);
    DeviceCallback received(service);
    ASSERT_EQ(service.setCallback(DeviceCallback::receive, &received), MRB_ERR_NONE);
    service.shutDown(std::chrono::steady_clock::now() + support::LIMIT);
    world.set(false);
    EXPECT_EQ(service.setCallback(DeviceCallback::receive, &received), MRB_ERR_NOT_INITIALIZED);
    EXPECT_EQ(service.list(mrb::DeviceKind::USB).size(), 1U);
    EXPECT_EQ(received.number, 0);
}

TEST_F(Services, ACallbackMayEndIt) {
    DeviceCallback received(service);
    received.work = [this] { service.shutDown(std::chrono::steady_clock::now() + support::LIMIT); };
    ASSERT_EQ(service.setCallback(DeviceCallback::receive, &received), MRB_ERR_NONE);
    world.set(true);
    received.waitFor(1);
}

TEST_F(Services, ARemovalIsReportedOnceToItsObserver) {
    world.set(true);
    const auto first = std::make_shared<Observer>();
    const auto second = std::make_shared<Observer>();
    std::string name(16, '\0');
    first->work = [&name] { pthread_getname_np(pthread_self(), name.data(), name.size()); };
    service.awaitRemoval(Device{}, first);
    world.set(false);
    first->wait();
    EXPECT_STREQ(name.c_str(), "mrb-devices");
    world.set(true);
    service.awaitRemoval(Device{}, second);
    world.set(false);
    second->wait();
    EXPECT_EQ(first->number, 1);
}

TEST_F(Services, TheRemovalOfAMissingDeviceIsReportedAtOnce) {
    const auto observer = std::make_shared<Observer>();
    service.awaitRemoval(Device{}, observer);
    observer->wait();
    EXPECT_EQ(observer->number, 1);
}

TEST_F(Services, TheRemovalOfAnotherDeviceIsNotReported) {
    world.set(true);
    Device other;
    other.camera.port = "usb:001,002";
    const auto observer = std::make_shared<Observer>();
    const auto own = std::make_shared<Observer>();
    service.awaitRemoval(other, observer); // the device is missing
    observer->wait();
    service.awaitRemoval(Device{}, own);
    EXPECT_EQ(own->number, 0);
    world.set(false);
    own->wait();
    EXPECT_EQ(observer->number, 1);
}

TEST_F(Services, ARemovalIsReportedInAdditionToACallback) {
    world.set(true);
    DeviceCallback received(service);
    ASSERT_EQ(service.setCallback(DeviceCallback::receive, &received), MRB_ERR_NONE);
    const auto observer = std::make_shared<Observer>();
    service.awaitRemoval(Device{}, observer);
    world.set(false);
    observer->wait();
    received.waitFor(1);
    EXPECT_EQ(received.balance, -1);
    service.removeCallback();
    EXPECT_EQ(observer->number, 1);
}

TEST_F(Services, ARemovalThatAListSeesFirstIsStillReported) {
    for (int round = 0; round < 1000; ++round) {
        world.set(true);
        const auto observer = std::make_shared<Observer>();
        service.awaitRemoval(Device{}, observer);
        world.set(false);
        EXPECT_EQ(service.list(mrb::DeviceKind::USB).size(), 0U);
        observer->wait();
    }
}

TEST_F(Services, RemovedAndDestroyedObserversAreNotNotified) {
    world.set(true);
    const auto forgotten = std::make_shared<Observer>();
    auto gone = std::make_shared<Observer>();
    const auto last = std::make_shared<Observer>();
    for (const auto &each : {forgotten, gone, last}) {
        service.awaitRemoval(Device{}, each);
    }
    service.forget(*forgotten);
    const std::weak_ptr<Observer> dead = gone;
    gone.reset();
    EXPECT_TRUE(dead.expired()) << "the service kept it alive";
    world.set(false);
    last->wait();
    EXPECT_EQ(forgotten->number, 0);
}

TEST_F(Services, ANotifiedObserverMayRemoveItselfAndAddAnother) {
    world.set(true);
    const auto next = std::make_shared<Observer>();
    const auto observer = std::make_shared<Observer>();
    observer->work = [&] {
        service.forget(*observer);
        world.set(true);
        EXPECT_EQ(service.list(mrb::DeviceKind::USB).size(), 1U);
        service.awaitRemoval(Device{}, next);
        world.set(false);
    };
    service.awaitRemoval(Device{}, observer);
    world.set(false);
    observer->wait();
    next->wait();
    EXPECT_EQ(observer->number, 1);
}

TEST_F(Services, ObserversComeAndGoWhileDevicesDo) {
    std::atomic<bool> stop = false;
    std::thread devices([&] {
        for (bool isThere = true; !stop; isThere = !isThere) {
            world.set(isThere);
            std::this_thread::yield();
        }
        world.set(false);
    });
    for (int round = 0; round < 3000; ++round) {
        const auto observer = std::make_shared<Observer>();
        service.awaitRemoval(Device{}, observer);
        if (round % 10 == 0) {
            observer->wait();
        }
        service.forget(*observer);
        EXPECT_LE(observer->number, 1);
    }
    stop = true;
    devices.join();
}

TEST_F(Services, AfterItsShutdownNoRemovalIsReported) {
    world.set(true);
    const auto before = std::make_shared<Observer>();
    const auto after = std::make_shared<Observer>();
    service.awaitRemoval(Device{}, before);
    EXPECT_EQ(service.list(mrb::DeviceKind::USB).size(), 1U);
    service.shutDown(std::chrono::steady_clock::now() + support::LIMIT);
    world.set(false);
    service.awaitRemoval(Device{}, after);
    EXPECT_EQ(service.list(mrb::DeviceKind::USB).size(), 1U);
    EXPECT_EQ(before->number + after->number, 0);
}
