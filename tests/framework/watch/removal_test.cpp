// The device under a list is unmounted, pulled, or hidden by another.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mount.h>

#include <cstdlib>
#include <fstream>

#include "base/descriptor.h"
#include "support/change_events.h"
#include "support/client.h"
#include "support/devices.h"
#include "support/folder.h"
#include "support/own_process.h"

using support::changeCount;
using support::Client;
using support::Folder;
using support::Surroundings;
using support::waitForChange;

namespace {

int playData(const Client &client) {
    char *text = nullptr;
    const int code = mrb_prepare_play_data_v2(client.handle, &text);
    std::free(text);
    return code;
}

// A mounted file system with a few files, at "usb".
class Removal : public support::OwnProcess {
  protected:
    void plugIn() const {
        folder.folder("usb");
        ASSERT_EQ(mount("tmpfs", path().c_str(), "tmpfs", 0, nullptr), 0) << errno;
        folder.file("usb/media/a.jpg", 5);
        folder.file("usb/media/sub/b.jpg", 5);
    }
    [[nodiscard]] std::string path(const std::string &name = "") const { return folder.path("usb" + name); }
    ~Removal() override { umount2(path().c_str(), MNT_DETACH); }

    const Folder folder;
    Client client;
};

} // namespace

TEST_F(Removal, AnUnmountIsReportedAndLaterCallsNameWhatIsGone) {
    if (!inside(Surroundings::MOUNTS)) {
        return;
    }
    plugIn();
    client.list(path("/media"));
    EXPECT_EQ(playData(client), MRB_ERR_NONE);
    // Not detached: the list keeps no file open that would block the unmount.
    ASSERT_EQ(umount2(path().c_str(), 0), 0) << errno;
    EXPECT_EQ(waitForChange(client), MRB_EVENT_DEVICE_REMOVED);
    EXPECT_EQ(client.events().back().data["item_count"], 3);
    EXPECT_EQ(client.item(0)["name"], "a.jpg");
    EXPECT_EQ(playData(client), MRB_ERR_DEVICE_REMOVED);
    EXPECT_EQ(client.open(path("/media")), MRB_ERR_NOT_FOUND);
    EXPECT_EQ(client.count(), 3);
    EXPECT_EQ(support::storageId(path("/media")).first, MRB_ERR_NOT_FOUND);
}

// inotify sends no event here, since the file system lives on until the file is closed.
TEST_F(Removal, AnUnmountThatLeavesAFileOpenIsReported) {
    if (!inside(Surroundings::MOUNTS)) {
        return;
    }
    plugIn();
    client.list(path("/media"));
    const mrb::Descriptor open(::open(path("/media/a.jpg").c_str(), O_RDONLY | O_CLOEXEC));
    ASSERT_TRUE(open);
    ASSERT_EQ(umount2(path().c_str(), MNT_DETACH), 0);
    EXPECT_EQ(waitForChange(client), MRB_EVENT_DEVICE_REMOVED);
    EXPECT_EQ(playData(client), MRB_ERR_DEVICE_REMOVED);
}

TEST_F(Removal, AMountOverTheFolderIsItsRemoval) {
    if (!inside(Surroundings::MOUNTS)) {
        return;
    }
    plugIn();
    client.list(path());
    ASSERT_EQ(mount("tmpfs", path().c_str(), "tmpfs", 0, nullptr), 0);
    EXPECT_EQ(waitForChange(client), MRB_EVENT_DEVICE_REMOVED);
    umount2(path().c_str(), MNT_DETACH);
}

TEST_F(Removal, AnUnmountBelowTheFolderIsAChange) {
    if (!inside(Surroundings::MOUNTS)) {
        return;
    }
    plugIn();
    client.list(folder.path());
    ASSERT_EQ(umount2(path().c_str(), 0), 0);
    EXPECT_EQ(waitForChange(client), MRB_EVENT_LIST_CHANGED);
}

TEST_F(Removal, OtherMountsAreNotReported) {
    if (!inside(Surroundings::MOUNTS)) {
        return;
    }
    plugIn();
    client.list(path());
    const Folder other;
    ASSERT_EQ(mount("tmpfs", other.path().c_str(), "tmpfs", 0, nullptr), 0);
    other.file("a.jpg");
    Client witness;
    witness.list(other.path());
    ASSERT_EQ(umount2(other.path().c_str(), 0), 0);
    EXPECT_EQ(waitForChange(witness), MRB_EVENT_DEVICE_REMOVED);
    EXPECT_EQ(changeCount(client), 0U);
    folder.file("usb/new.jpg");
    EXPECT_EQ(waitForChange(client), MRB_EVENT_LIST_CHANGED);
}

TEST_F(Removal, AFileThatIsGoneCannotBePlayed) {
    folder.file("a.jpg");
    client.list(folder.path());
    EXPECT_EQ(playData(client), MRB_ERR_NONE);
    std::filesystem::remove(folder.path("a.jpg"));
    EXPECT_EQ(playData(client), MRB_ERR_NOT_FOUND);
}
