// Capacity and free space of cameras: read in the background, and reported when they are known.
// The cameras are scripted, on a testbed's USB bus; the framework is the one that ships.

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <future>
#include <string>
#include <thread>

#include "support/devices.h"
#include "support/plugged_devices.h"
#include "support/scripted_camera.h"

using mrb::CameraSizes;
using mrb::Status;
using support::DeviceEvent;
using support::DeviceObserver;
using support::Record;
using support::Surroundings;

namespace {

class CameraSizesTest : public support::PluggedDevices {
  protected:
    CameraSizesTest() { camera.place.unplug(); } // The one on the bus is the only one.

    static std::vector<Record> cameras() { return support::listDevices(MRB_STORAGE_KIND_PTP); }

    // Lists until there is a camera whose sizes are known.
    static Record known() {
        const auto limit = std::chrono::steady_clock::now() + support::LIMIT;
        std::vector<Record> found = cameras();
        while ((found.empty() || found[0].total == 0) && std::chrono::steady_clock::now() < limit) {
            std::this_thread::yield();
            found = cameras();
        }
        return found.at(0);
    }
    static auto answering(const CameraSizes &answer) {
        return [answer](CameraSizes &sizes) {
            sizes = answer;
            return Status();
        };
    }
    // Its name does not matter: libgphoto2 has no such ids.
    std::string addUnknown() { return addCamera("0000", "0000"); }

    support::ScriptedCamera camera;
};

} // namespace

TEST_F(CameraSizesTest, AreUnknownAtFirstAndReportedWhenTheyAreKnown) {
    if (!inside(Surroundings::SCRIPTED_USB_CAMERA)) {
        return;
    }
    std::promise<void> listed;
    camera.onSizes = [&listed](CameraSizes &sizes) {
        listed.get_future().wait();
        sizes = {100, 200};
        return Status();
    };
    testbed();
    DeviceObserver observer;
    event(addUnknown(), "add");
    EXPECT_EQ(observer.waitFor(1).at(0).record.total, 0);
    const Record before = cameras().at(0);
    EXPECT_EQ(before.available, 0);
    EXPECT_EQ(before.total, 0);
    listed.set_value();
    const DeviceEvent change = observer.waitFor(2).at(1);
    EXPECT_EQ(change.event, MRB_STORAGE_EVENT_CHANGED);
    EXPECT_EQ(change.record.available, 100);
    EXPECT_EQ(change.record.total, 200);
    EXPECT_EQ(change.record.id, before.id);
    EXPECT_EQ(change.record.index, before.index);
    const Record after = cameras().at(0);
    EXPECT_EQ(after.available, 100);
    EXPECT_EQ(after.total, 200);
}

TEST_F(CameraSizesTest, AreKnownToLaterListsWithoutAListener) {
    if (!inside(Surroundings::SCRIPTED_USB_CAMERA)) {
        return;
    }
    camera.onSizes = answering({100, 200});
    event(addUnknown(), "add");
    const Record record = known();
    EXPECT_EQ(record.available, 100);
    EXPECT_EQ(record.total, 200);
}

// Scripts may list devices many times a second; each request for sizes claims the camera.
TEST_F(CameraSizesTest, AreNotRequestedWithEachList) {
    if (!inside(Surroundings::SCRIPTED_USB_CAMERA)) {
        return;
    }
    std::atomic<int> requestCount = 0;
    camera.onSizes = [&requestCount](CameraSizes &sizes) {
        ++requestCount;
        sizes = {100, 200};
        return Status();
    };
    event(addUnknown(), "add");
    known();
    for (int round = 0; round < 100; ++round) {
        cameras();
    }
    support::awaitCameraThreads();
    EXPECT_EQ(requestCount, 1);
}

// It is another camera, however similar.
TEST_F(CameraSizesTest, OfANewCameraAtTheSamePlaceAreNotThoseOfTheOldOne) {
    if (!inside(Surroundings::SCRIPTED_USB_CAMERA)) {
        return;
    }
    camera.onSizes = answering({100, 200});
    testbed();
    DeviceObserver observer;
    const std::string usb = addUnknown();
    event(usb, "add");
    EXPECT_EQ(known().total, 200);
    observer.waitFor(2); // added, changed
    camera.onSizes = answering({1, 2});
    event(usb, "remove");
    event(usb, "add");
    observer.waitFor(4);
    EXPECT_EQ(cameras().at(0).total, 0);
    EXPECT_EQ(known().total, 2);
}

// The one that left may answer late, or may have answered before the first list.
TEST_F(CameraSizesTest, OfACameraThatLeftAreNotThoseOfTheNextOne) {
    if (!inside(Surroundings::SCRIPTED_USB_CAMERA)) {
        return;
    }
    std::promise<void> answer;
    std::promise<void> reached;
    std::atomic<int> requestCount = 0;
    camera.onSizes = [&](CameraSizes &sizes) {
        const bool isFirst = ++requestCount == 1;
        if (isFirst) {
            reached.set_value();
            answer.get_future().wait();
        }
        sizes = isFirst ? CameraSizes{100, 200} : CameraSizes{1, 2};
        return Status();
    };
    testbed();
    DeviceObserver observer;
    const std::string usb = addUnknown();
    event(usb, "add");
    observer.waitFor(1);
    cameras();
    reached.get_future().wait();
    event(usb, "remove");
    event(usb, "add");
    // It does not wait for the one that hangs either.
    EXPECT_EQ(known().total, 2);
    answer.set_value();
    support::awaitCameraThreads();
    EXPECT_EQ(cameras().at(0).total, 2);
    const std::vector<DeviceEvent> events = observer.waitFor(4);
    ASSERT_EQ(events.size(), 4U); // added, removed, added, changed
    EXPECT_EQ(events[3].event, MRB_STORAGE_EVENT_CHANGED);
    EXPECT_EQ(events[3].record.total, 2);
}

// Neither the first list nor a later one waits. Each of these cameras is new and hangs; on a
// machine that is busy with other things some lists take long, but not all.
TEST_F(CameraSizesTest, OfACameraThatHangsAreNotWaitedFor) {
    if (!inside(Surroundings::SCRIPTED_USB_CAMERA)) {
        return;
    }
    constexpr auto MOST = std::chrono::milliseconds(100); // that a script's call may take
    std::promise<void> end;
    std::atomic<int> requestCount = 0;
    camera.onSizes = [&requestCount, ended = end.get_future().share()](CameraSizes & /*sizes*/) {
        ++requestCount;
        ended.wait();
        return Status::ioError("Too late.");
    };
    const std::string usb = addUnknown();
    DeviceObserver observer; // the first one arrives before it
    auto fastest = std::chrono::steady_clock::duration::max();
    for (int round = 1; round <= 10; ++round) {
        event(usb, "remove");
        changeAttribute(usb, "serial", std::to_string(round).c_str());
        event(usb, "add");
        observer.waitFor(2 * static_cast<std::size_t>(round));
        const auto begin = std::chrono::steady_clock::now();
        EXPECT_EQ(cameras().at(0).total, 0);
        fastest = std::min(fastest, std::chrono::steady_clock::now() - begin);
        while (requestCount < round) {
            std::this_thread::yield();
        }
    }
    EXPECT_LT(fastest, MOST);
    end.set_value();
    support::awaitCameraThreads();
}
