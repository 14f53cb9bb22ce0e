// Cameras as libgphoto2 reports them: their names and sizes.

#include <gtest/gtest.h>
#include <sys/statvfs.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "camera/camera_library.h"
#include "support/client.h"
#include "support/devices.h"
#include "support/folder.h"
#include "support/plugged_devices.h"

using mrb::CameraAddress;
using support::DeviceObserver;
using support::listDevices;
using support::Surroundings;

namespace {

class CameraTest : public support::PluggedDevices {
  protected:
    static std::vector<support::Record> cameras() { return listDevices(MRB_STORAGE_KIND_PTP); }

    static mrb::CameraLibrary &library() {
        static mrb::CameraLibrary &made = *mrb::mrb_make_camera_library();
        return made;
    }
    static CameraAddress folderCamera(const support::Folder &folder) {
        return {"disk:" + folder.path(), 0, 0};
    }
};

// What was written to the standard error while it lives.
template <typename Work>
std::string logOf(Work work) {
    testing::internal::CaptureStderr();
    work();
    return testing::internal::GetCapturedStderr();
}

std::size_t times(const std::string &text, const std::string &part) {
    std::size_t number = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
        ++number;
    }
    return number;
}

} // namespace

TEST_F(CameraTest, IsReportedAtOnceAndThenRenamedToItsModel) {
    if (!inside(Surroundings::DEVICES)) {
        return;
    }
    testbed();
    DeviceObserver observer;
    const std::string camera = addCamera();
    event(camera, "add");
    const auto events = observer.waitFor(2);
    EXPECT_EQ(events.at(0).event, MRB_STORAGE_EVENT_ADDED);
    EXPECT_EQ(events.at(0).record.name, "Camera 1");
    EXPECT_EQ(events.at(1).event, MRB_STORAGE_EVENT_CHANGED);
    EXPECT_EQ(events.at(1).record.name, "Canon Digital IXUS 132");
    EXPECT_EQ(events.at(1).record.id, "ptp:A1");
    EXPECT_EQ(events.at(1).record.index, events.at(0).record.index);
    EXPECT_EQ(cameras().at(0).name, "Canon Digital IXUS 132");
    support::awaitCameraThreads();
}

// As a script that lists the devices and ends. Sanitizers do not allow the libraries of
// the drivers to be loaded in the way that this takes.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
TEST_F(CameraTest, MayBeLoadingItsDriversWhenTheProcessEnds) {
    if (!inside(Surroundings::DEVICES)) {
        return;
    }
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    if (std::getenv("UMOCKDEV_DIR") == nullptr) {
        addCamera(); // inherited by the processes below
    }
    for (int pause = 0; pause < 60; pause += 4) {
        SCOPED_TRACE(pause);
        EXPECT_EXIT(
            {
                static const auto &observer = *new DeviceObserver; // never stops listening
                static_cast<void>(observer);
                cameras();
                // Not a wait for luck: the exits are spread over the time of the loading.
                std::this_thread::sleep_for(std::chrono::milliseconds(pause));
                std::exit(7);
            },
            testing::ExitedWithCode(7), "");
    }
}
#endif

TEST_F(CameraTest, KeepsItsNameWhateverUdevReportsLater) {
    if (!inside(Surroundings::DEVICES)) {
        return;
    }
    testbed();
    DeviceObserver observer;
    const std::string camera = addCamera();
    event(camera, "add");
    observer.waitFor(2);
    for (const char *action : {"bind", "change", "change"}) {
        event(camera, action);
    }
    event(camera, "remove");
    const auto events = observer.waitFor(3);
    ASSERT_EQ(events.size(), 3U);
    EXPECT_EQ(events[2].event, MRB_STORAGE_EVENT_REMOVED);
    EXPECT_EQ(events[2].record.name, "Canon Digital IXUS 132");
}

TEST_F(CameraTest, WithoutADriverHasItsNameOfUdevAndALineInTheLog) {
    if (!inside(Surroundings::DEVICES)) {
        return;
    }
    addCamera(); // libgphoto2 does not find it
    const std::string log = logOf([] {
        for (int round = 0; round < 3; ++round) {
            const auto found = cameras();
            ASSERT_EQ(found.size(), 1U);
            EXPECT_EQ(found[0].vendor, "ACME");
            EXPECT_EQ(found[0].total, 0);
            EXPECT_EQ(found[0].available, 0);
        }
        support::awaitCameraThreads();
    });
    EXPECT_EQ(times(log, "does not report its capacity: usb:001,007: "), 1U) << log;
}

TEST_F(CameraTest, AThousandArrivalsAndRemovalsAreEachReportedOnce) {
    if (!inside(Surroundings::DEVICES)) {
        return;
    }
    const std::string camera = addCamera("0000", "0000");
    event(camera, "add");
    expectReplugsReported(camera);
    support::awaitCameraThreads();
}

TEST_F(CameraTest, ModelsAreKnownByTheirNumbers) {
    EXPECT_EQ(library().modelOf({"usb:001,002", 0x04a9, 0x327d}).name, "Canon Digital IXUS 132");
    const mrb::CameraModel other = library().modelOf({"usb:001,002", 1, 1});
    EXPECT_EQ(other.name, "");
    EXPECT_EQ(other.driver, "USB PTP Class Camera");
}

TEST_F(CameraTest, AFolderHasTheSizesOfItsFileSystem) {
    const support::Folder folder;
    mrb::Status status;
    const auto camera = library().open(folderCamera(folder), status);
    ASSERT_NE(camera, nullptr) << status.message;
    mrb::CameraSizes sizes;
    EXPECT_EQ(camera->readSizes(sizes).code, MRB_ERR_NONE);
    struct statvfs fileStatus {};
    ASSERT_EQ(statvfs(folder.path().c_str(), &fileStatus), 0);
    const auto blocks = static_cast<long long>(fileStatus.f_blocks);
    const auto size = static_cast<long long>(fileStatus.f_frsize);
    EXPECT_EQ(sizes.total / (1 << 20), blocks * size / (1 << 20));
    EXPECT_GT(sizes.available, 0);
    EXPECT_LE(sizes.available, sizes.total);
}

TEST_F(CameraTest, IsOpenedAndReleasedManyTimes) {
    const support::Folder folder;
    for (int round = 0; round < 20; ++round) {
        mrb::Status status;
        const auto camera = library().open(folderCamera(folder), status);
        ASSERT_NE(camera, nullptr) << status.message;
        EXPECT_EQ(status.code, MRB_ERR_NONE);
        mrb::CameraSizes sizes;
        EXPECT_EQ(camera->readSizes(sizes).code, MRB_ERR_NONE);
    }
}

// libgphoto2 loads and unloads drivers with a library that is not thread-safe.
TEST_F(CameraTest, SeveralAreOpenedAndReleasedAtATime) {
    const support::Folder folder;
    library();
    const auto openAndRelease = [&folder] {
        for (int round = 0; round < 20; ++round) {
            mrb::Status status;
            EXPECT_NE(library().open(folderCamera(folder), status), nullptr) << status.message;
        }
    };
    std::thread one(openAndRelease);
    std::thread other(openAndRelease);
    one.join();
    other.join();
}

TEST_F(CameraTest, OneThatIsNotThereIsNotOpened) {
    mrb::Status status;
    EXPECT_EQ(library().open({"usb:254,254", 0x04a9, 0x327d}, status), nullptr);
    EXPECT_EQ(status.code, MRB_ERR_DEVICE_REMOVED);
    EXPECT_NE(status.message.find("usb:254,254: "), std::string::npos) << status.message;
    for (const char *port : {"usb:001,007", "nowhere", "disk:/nowhere/at/all"}) {
        EXPECT_EQ(library().open({port, 0x04a9, 0x327d}, status), nullptr) << port;
        EXPECT_EQ(status.code, MRB_ERR_DEVICE_REMOVED) << port << ' ' << status.message;
    }
}
