// A device, or the system's device tables, do not answer: no call of an application waits
// for them. What hangs here continues when the test releases it.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/eventfd.h>
#include <sys/mount.h>
#include <sys/stat.h>

#include <atomic>
#include <condition_variable>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <future>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "base/descriptor.h"
#include "mrb/agent.h"
#include "storage/device_service.h"
#include "storage/local_storage.h"
#include "storage/offered_folders.h"
#include "support/client.h"
#include "support/devices.h"
#include "support/folder.h"
#include "support/own_process.h"
#include "support/silent_file_system.h"

using mrb::Device;
using mrb::DeviceKind;
using mrb::DeviceService;
using mrb::DeviceTable;
using support::Surroundings;

namespace {

// A bus with one device, whose state cannot be read while it is held.
class Bus {
  public:
    void plug(bool isPlugged) {
        const std::lock_guard guard(lock_);
        isPlugged_ = isPlugged;
        eventfd_write(news_.fd(), 1);
    }
    void hold() { setHeld(true); }
    void release() { setHeld(false); }

    // Waits until a scan hangs, which an event on the bus causes.
    void awaitHeldLook() {
        eventfd_write(news_.fd(), 1);
        std::unique_lock guard(lock_);
        EXPECT_TRUE(change_.wait_for(guard, support::LIMIT, [this] { return looking_ > 0; }));
    }

    [[nodiscard]] int fd() const { return news_.fd(); }
    bool scan() {
        std::unique_lock guard(lock_);
        eventfd_t ignored = 0;
        eventfd_read(news_.fd(), &ignored);
        looking_ += isHeld_ ? 1 : 0;
        change_.notify_all();
        change_.wait(guard, [this] { return !isHeld_; });
        looking_ = 0;
        return isPlugged_;
    }

  private:
    void setHeld(bool isHeld) {
        const std::lock_guard guard(lock_);
        isHeld_ = isHeld;
        change_.notify_all();
    }

    const mrb::Descriptor news_{eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)};
    std::mutex lock_;
    std::condition_variable change_;
    bool isPlugged_ = false;
    bool isHeld_ = false;
    int looking_ = 0; // scans that hang
};

class BusSource final : public mrb::DeviceSource {
  public:
    explicit BusSource(Bus &bus) : bus_(bus) {}
    void addDescriptors(std::vector<pollfd> &waited) const override {
        waited.push_back({bus_.fd(), POLLIN, 0});
    }
    void scan(DeviceTable &table) override {
        if (bus_.scan()) {
            Device device;
            device.mountPath = "/nowhere/bus";
            table.set("own", device);
        } else {
            table.remove("own");
        }
    }

  private:
    Bus &bus_;
};

// The result of a call, which returns before what hangs is released.
template <typename Call, typename Release>
auto whileHanging(Call call, Release release) {
    auto answer = std::async(std::launch::async, call);
    const bool hasReturned = answer.wait_for(support::LIMIT / 8) == std::future_status::ready;
    EXPECT_TRUE(hasReturned) << "The call waits for what hangs.";
    if (!hasReturned) {
        release();
    }
    return answer.get();
}

class DeviceHang : public testing::Test {
  protected:
    ~DeviceHang() override { bus.release(); }

    std::size_t count() { return service.list(DeviceKind::USB).size(); }
    template <typename Call>
    auto whileHeld(Call call) {
        return whileHanging(call, [this] { bus.release(); });
    }

    Bus bus;
    DeviceService service{[this] {
        DeviceService::Sources sources;
        sources.push_back(std::make_unique<BusSource>(bus));
        return sources;
    }};
};

// Receives the device events of a service.
struct DeviceEvents {
    explicit DeviceEvents(DeviceService &owner) : service(owner) {}
    ~DeviceEvents() { service.removeCallback(); }
    DeviceEvents(const DeviceEvents &) = delete;
    DeviceEvents &operator=(const DeviceEvents &) = delete;

    int observe() { return service.setCallback(receive, this); }
    static void receive(void *self, mrb_storage_event_e event, _mrb_storage_s *&storage) {
        auto &events = *static_cast<DeviceEvents *>(self);
        const std::lock_guard guard(events.lock);
        events.last = storage->device;
        events.events += "+-~"[event];
        events.arrived.notify_all();
    }
    std::string waitFor(std::size_t number) {
        std::unique_lock guard(lock);
        EXPECT_TRUE(arrived.wait_for(guard, support::LIMIT, [&] { return events.size() >= number; }));
        return events;
    }

    DeviceService &service;
    std::mutex lock;
    std::condition_variable arrived;
    std::string events;
    Device last; // the device of the latest event
};

struct Observer final : mrb::RemovalObserver {
    void deviceRemoved() override { removed.set_value(); }
    std::promise<void> removed;
};

} // namespace

TEST_F(DeviceHang, TheFirstListDoesNotWaitForAScanThatHangs) {
    bus.plug(true);
    bus.hold();
    EXPECT_EQ(whileHeld([this] { return count(); }), 0U);
}

TEST_F(DeviceHang, AListHasWhatWasKnownBeforeTheScanThatHangs) {
    bus.plug(true);
    EXPECT_EQ(count(), 1U);
    DeviceEvents events(service);
    ASSERT_EQ(events.observe(), MRB_ERR_NONE);
    bus.hold();
    bus.plug(false);
    bus.awaitHeldLook();
    EXPECT_EQ(whileHeld([this] { return count(); }), 1U);
    bus.release();
    EXPECT_EQ(events.waitFor(1), "-");
    EXPECT_EQ(count(), 0U);
}

// A call waits for a scan that hangs once at most: many wait no longer than one.
TEST_F(DeviceHang, AScanThatHangsIsNotWaitedForAgain) {
    bus.hold();
    EXPECT_EQ(whileHeld([this] {
                  std::size_t devices = 0;
                  for (int number = 0; number < 2000; ++number) {
                      devices += count();
                  }
                  return devices;
              }),
              0U);
}

TEST_F(DeviceHang, WhatTheScanThatHungFindsIsAnEvent) {
    bus.plug(true);
    bus.hold();
    DeviceEvents events(service);
    EXPECT_EQ(whileHeld([&] { return events.observe(); }), MRB_ERR_NONE);
    EXPECT_EQ(whileHeld([this] { return count(); }), 0U);
    bus.release();
    EXPECT_EQ(events.waitFor(1), "+");
    EXPECT_EQ(count(), 1U);
    bus.plug(false);
    EXPECT_EQ(events.waitFor(2), "+-");
}

TEST_F(DeviceHang, CallbacksAreSetAndUnsetDuringAScanThatHangs) {
    DeviceEvents first(service);
    DeviceEvents second(service);
    ASSERT_EQ(first.observe(), MRB_ERR_NONE);
    bus.hold();
    bus.awaitHeldLook();
    bus.plug(true);
    EXPECT_EQ(whileHeld([&] { return second.observe(); }), MRB_ERR_NONE);
    EXPECT_EQ(whileHeld([this] { return service.removeCallback(); }), MRB_ERR_NONE);
    EXPECT_EQ(whileHeld([&] { return second.observe(); }), MRB_ERR_NONE);
    bus.release();
    EXPECT_EQ(second.waitFor(1), "+");
    EXPECT_EQ(service.removeCallback(), MRB_ERR_NONE);
    EXPECT_EQ(first.events, "");
}

TEST_F(DeviceHang, ACallbackThatHangsHoldsUpNeitherScansNorObservers) {
    bus.plug(true);
    EXPECT_EQ(count(), 1U);
    DeviceEvents events(service);
    ASSERT_EQ(events.observe(), MRB_ERR_NONE);
    std::unique_lock inCallback(events.lock); // which the callback takes
    const auto observer = std::make_shared<Observer>();
    service.awaitRemoval(Device{}, observer);
    bus.plug(false);
    EXPECT_EQ(observer->removed.get_future().wait_for(support::LIMIT), std::future_status::ready);
    bus.plug(true);
    const auto limit = std::chrono::steady_clock::now() + support::LIMIT;
    while (count() == 0 && std::chrono::steady_clock::now() < limit) {
        std::this_thread::yield();
    }
    EXPECT_EQ(count(), 1U);
    inCallback.unlock();
    EXPECT_EQ(events.waitFor(2), "-+");
}

TEST_F(DeviceHang, ARemovalObserverIsAddedAndRemovedDuringAScanThatHangs) {
    bus.plug(true);
    EXPECT_EQ(count(), 1U);
    DeviceEvents events(service);
    ASSERT_EQ(events.observe(), MRB_ERR_NONE);
    bus.hold();
    bus.awaitHeldLook();
    const auto observer = std::make_shared<Observer>();
    const auto forgotten = std::make_shared<Observer>();
    whileHeld([&] {
        service.awaitRemoval(Device{}, observer);
        service.awaitRemoval(Device{}, forgotten);
        service.forget(*forgotten);
        return true;
    });
    bus.plug(false);
    bus.release();
    EXPECT_EQ(observer->removed.get_future().wait_for(support::LIMIT), std::future_status::ready);
    EXPECT_EQ(events.waitFor(1), "-");
    EXPECT_EQ(forgotten->removed.get_future().wait_for(std::chrono::seconds(0)), std::future_status::timeout);
}

TEST(TeardownDeviceScan, AScanThatHangsIsDetached) {
    // Leaked with its thread, and static so that it does not count as a leak.
    static auto &bus = *new Bus;
    static auto &service = *new DeviceService([] {
        DeviceService::Sources sources;
        sources.push_back(std::make_unique<BusSource>(bus));
        return sources;
    });
    EXPECT_EQ(service.list(DeviceKind::USB).size(), 0U);
    bus.hold();
    bus.awaitHeldLook();
    EXPECT_FALSE(service.shutDown(std::chrono::steady_clock::now() + std::chrono::milliseconds(20)));
    EXPECT_EQ(service.list(DeviceKind::USB).size(), 0U);
}

// An event waits for its device's sizes, and no call waits for the event.
TEST(DeviceHangOfSizes, AListHasTheDeviceWhoseEventWaitsForItsSizes) {
    Bus bus;
    std::promise<void> requested;
    std::promise<void> answer;
    std::atomic<int> requests = 0;
    mrb::CapacityProbe probe([&, answered = answer.get_future().share()](Device &device) {
        if (++requests == 1) {
            requested.set_value();
        }
        answered.wait();
        device.total = 77;
        --requests;
    });
    bool isAnswered = false;
    const auto release = [&] {
        if (!std::exchange(isAnswered, true)) {
            answer.set_value();
        }
    };
    mrb::DeviceLimits limits;
    limits.event = support::LIMIT;
    {
        DeviceService service(
            [&bus] {
                DeviceService::Sources sources;
                sources.push_back(std::make_unique<BusSource>(bus));
                return sources;
            },
            probe, limits);
        DeviceEvents events(service);
        ASSERT_EQ(events.observe(), MRB_ERR_NONE);
        bus.plug(true);
        requested.get_future().wait();
        const auto devices = whileHanging([&] { return service.list(DeviceKind::USB); }, release);
        ASSERT_EQ(devices.size(), 1U);
        EXPECT_EQ(devices[0].total, 0);
        EXPECT_EQ(events.events, "");
        release();
        EXPECT_EQ(events.waitFor(1), "+");
        EXPECT_EQ(events.last.total, 77);
    }
    while (requests > 0) {
        std::this_thread::yield();
    }
}

// The table of mounts is a pipe without a writer: opening it hangs.
TEST(DeviceHangOfMounts, NoListWaitsForTheTableOfMounts) {
    support::Folder folder;
    const std::string pipe = folder.path("mounts");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    DeviceService service([&pipe] {
        DeviceService::Sources sources;
        sources.push_back(std::make_unique<mrb::LocalStorage>(pipe));
        return sources;
    });
    const auto list = [&service] { return service.list(DeviceKind::USB).size(); };
    mrb::Descriptor writer;
    // A reader finds it empty from then on; later it is an empty file.
    const auto release = [&] {
        writer = mrb::Descriptor(open(pipe.c_str(), O_RDWR | O_CLOEXEC));
        std::ofstream(folder.path("empty")) << "";
        std::filesystem::rename(folder.path("empty"), pipe);
        writer = mrb::Descriptor();
    };
    EXPECT_EQ(whileHanging(list, release), 0U);
    EXPECT_EQ(whileHanging(list, release), 0U);
    release();
}

namespace {

// A folder on a file system that does not respond, and one that does.
class SilentFolder : public support::OwnProcess, public testing::WithParamInterface<const char *> {
  protected:
    template <typename Call>
    auto whileSilent(Call call) {
        return whileHanging(call, [this] { dead->end(); });
    }

    std::optional<support::SilentFileSystem> dead; // made inside of the surroundings
    const support::Folder living;
};
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(SilentFolder);
INSTANTIATE_TEST_SUITE_P(, SilentFolder, testing::ValuesIn(support::silentFileSystems()));

} // namespace

TEST_P(SilentFolder, DoesNotBlockListsWhereAFolderInItIsOffered) {
    if (!inside(Surroundings::MOUNTS)) {
        return;
    }
    dead.emplace(GetParam());
    setenv(mrb::OFFERED_FOLDERS, (living.path() + "\n" + dead->path("inside")).c_str(), 1);
    for (int round = 0; round < 3; ++round) {
        whileSilent([] { return support::listDevices().size(); });
    }
    EXPECT_EQ(whileSilent([] { return support::listDevices(MRB_STORAGE_KIND_PTP).size(); }), 0U);
    EXPECT_EQ(whileSilent([] { return mrb_unset_usb_callback(); }), MRB_ERR_NONE);
    support::DeviceObserver observer;
    dead->end();
    EXPECT_EQ(observer.waitFor(1).at(0).record.mountPath, living.path());
    EXPECT_EQ(support::listDevices().size(), 1U);
}

TEST_P(SilentFolder, DoesNotBlockStorageIdRequests) {
    if (!inside(Surroundings::MOUNTS)) {
        return;
    }
    dead.emplace(GetParam());
    char *id = nullptr;
    for (int round = 0; round < 3; ++round) {
        EXPECT_EQ(whileSilent([&] { return mrb_get_storage_id_v2(dead->path("inside").c_str(), &id); }),
                  MRB_ERR_TIMEOUT);
    }
    EXPECT_EQ(mrb_get_storage_id_v2(living.path().c_str(), &id), MRB_ERR_NONE);
    std::free(id);
    dead->end();
}
