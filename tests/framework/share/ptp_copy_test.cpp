// Copies from a camera to a folder. The camera is libgphoto2's own that shows a folder.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "support/cameras.h"
#include "support/plugged_devices.h"
#include "support/sharing.h"

namespace fs = std::filesystem;

using support::OfferedCamera;

namespace {

class PtpCopy : public support::CopyTest {
  protected:
    static void TearDownTestSuite() { support::awaitCameraThreads(); }

    // A list of all files on the camera.
    void open() { EXPECT_EQ(client.list(camera.listOptions()).event, MRB_EVENT_LIST_READY); }

    OfferedCamera camera;
};

} // namespace

TEST_F(PtpCopy, ACopyOfEverythingIsTheSame) {
    support::writeNoise(camera.folder.path("a.jpg"), 3'000'000, 1);
    camera.folder.folder("DCIM/100");
    support::writeNoise(camera.folder.path("DCIM/100/b.mp4"), 20'000'000, 2);
    support::writeNoise(camera.folder.path("DCIM/100/empty.jpg"), 0, 3);
    camera.folder.setModified("a.jpg", 1'700'000'000);
    open();
    support::select(client, {"a.jpg", "DCIM"});
    const support::ShareEvent last = sharing.copyAll(client, to.path());
    EXPECT_EQ(last.event, MRB_EVENT_SHARE_DONE);
    EXPECT_EQ(last.status.done_file_count, 3U);
    EXPECT_EQ(last.status.success_file_size, 23'000'000U);
    EXPECT_EQ(last.status.total_file_size, 23'000'000U);
    EXPECT_EQ(support::contents(to.path()), support::contents(camera.folder.path()));
    EXPECT_EQ(fs::last_write_time(to.path("a.jpg")), fs::last_write_time(camera.folder.path("a.jpg")));
}

TEST_F(PtpCopy, ACopyCanBeStopped) {
    for (int number = 0; number < 50; ++number) {
        support::writeNoise(camera.folder.path(std::to_string(number) + ".jpg"), 4'000'000, 1);
    }
    open();
    ASSERT_EQ(mrb_select_all_v2(client.handle), MRB_ERR_NONE);
    sharing.whenStarted([](const support::ShareEvent &event) { mrb_stop_batch_process_v2(event.share); });
    const support::ShareEvent last = sharing.copyAll(client, to.path());
    EXPECT_EQ(last.event, MRB_EVENT_SHARE_STOPPED);
    for (const auto &[name, content] : support::contents(to.path())) {
        EXPECT_EQ(content.size(), 4'000'000U) << name;
        EXPECT_FALSE(name.ends_with(".part")) << name;
    }
}

TEST_F(PtpCopy, ACopyEndsWhenTheCameraIsPulledOut) {
    for (int number = 0; number < 200; ++number) {
        support::writeNoise(camera.folder.path(std::to_string(number) + ".jpg"), 500'000, 1);
    }
    open();
    ASSERT_EQ(mrb_select_all_v2(client.handle), MRB_ERR_NONE);
    sharing.whenStarted([this](const support::ShareEvent & /*event*/) { camera.unplug(); });
    const support::ShareEvent last = sharing.copyAll(client, to.path());
    EXPECT_EQ(last.event, MRB_EVENT_DEVICE_REMOVED);
    EXPECT_LT(last.status.done_file_count, 200U);
    camera.plug();
}

TEST_F(PtpCopy, AFileThatIsGoneIsLeftOutOfACopy) {
    camera.folder.file("a.jpg", 100);
    camera.folder.file("b.jpg", 100);
    open();
    fs::remove(camera.folder.path("a.jpg"));
    support::select(client, {"a.jpg", "b.jpg"});
    const support::ShareEvent last = sharing.copyAll(client, to.path());
    EXPECT_EQ(last.event, MRB_EVENT_SHARE_FAILED);
    EXPECT_EQ(last.name(), "a.jpg");
    EXPECT_THAT(support::tree(to.path()), testing::ElementsAre("b.jpg"));
}
