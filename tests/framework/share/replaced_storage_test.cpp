// Another file system, or none, is mounted where a list found its items: their files are not the list's.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mount.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <thread>

#include "support/fields.h"
#include "support/folder.h"
#include "support/own_process.h"
#include "support/playlists.h"
#include "support/sharing.h"

using support::Client;
using support::fieldOf;
using support::Folder;
using support::Sharing;
using support::Surroundings;
using support::tree;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

// A stick at "usb", which is replaced by another one with the same names on it.
class ReplacedStorage : public support::OwnProcess {
  protected:
    void plugIn() const {
        folder.folder("usb");
        ASSERT_EQ(mount("tmpfs", path().c_str(), "tmpfs", 0, nullptr), 0) << errno;
        folder.file("usb/DCIM/1/a.jpg", 500);
        folder.file("usb/DCIM/1/b.jpg", 500);
    }
    void unplug() const {
        // A list that is ready may hold its folders open for another moment.
        const auto deadline = std::chrono::steady_clock::now() + support::LIMIT;
        while (umount2(path().c_str(), 0) != 0) {
            ASSERT_EQ(errno, EBUSY);
            ASSERT_LT(std::chrono::steady_clock::now(), deadline);
            std::this_thread::yield();
        }
    }
    void replace() const {
        unplug();
        plugIn();
    }
    [[nodiscard]] std::string path(const std::string &name = "") const { return folder.path("usb" + name); }

    // The last event of a copy of everything in the list.
    int copyAll() {
        EXPECT_EQ(mrb_select_all_v2(client.handle), MRB_ERR_NONE);
        return sharing.copyAll(client, to.path()).event;
    }
    int playData() const {
        char *text = nullptr;
        const int code = mrb_prepare_play_data_v2(client.handle, &text);
        std::free(text);
        return code;
    }
    ~ReplacedStorage() override { umount2(path().c_str(), MNT_DETACH); }

    const Folder folder;
    const Folder to;
    Client client;
    Sharing sharing;
};

} // namespace

TEST_F(ReplacedStorage, NothingIsCopiedFromAStickThatIsUnmountedAsTheCopyBegins) {
    if (!inside(Surroundings::MOUNTS)) {
        return;
    }
    plugIn();
    for (const std::string root : {"", "/DCIM"}) {
        client.list(path(root));
        unplug();
        EXPECT_EQ(copyAll(), MRB_EVENT_DEVICE_REMOVED) << root;
        EXPECT_THAT(tree(to.path()), IsEmpty());
        plugIn();
    }
}

TEST_F(ReplacedStorage, NothingIsCopiedFromTheStickThatTookItsPlace) {
    if (!inside(Surroundings::MOUNTS)) {
        return;
    }
    plugIn();
    for (const std::string root : {"", "/DCIM"}) {
        client.list(path(root));
        replace();
        EXPECT_EQ(copyAll(), MRB_EVENT_DEVICE_REMOVED) << root;
        EXPECT_THAT(tree(to.path()), IsEmpty());
    }
}

TEST_F(ReplacedStorage, NothingIsCopiedFromAStickBelowTheListsFolderThatTookAnothersPlace) {
    if (!inside(Surroundings::MOUNTS)) {
        return;
    }
    plugIn();
    folder.file("c.jpg");
    client.list(folder.path());
    replace();
    EXPECT_EQ(copyAll(), MRB_EVENT_SHARE_FAILED);
    EXPECT_THAT(tree(to.path()), ElementsAre("c.jpg"));
}

TEST_F(ReplacedStorage, NothingThatAPlaylistNamesIsCopiedFromAnotherStick) {
    if (!inside(Surroundings::MOUNTS)) {
        return;
    }
    plugIn();
    folder.file("usb/a.mp3");
    support::writeText(folder, "usb/list.m3u", "a.mp3\n");
    client.list(support::playlist(path("/list.m3u")));
    ASSERT_EQ(client.count(), 1);
    replace();
    folder.file("usb/a.mp3");
    EXPECT_EQ(copyAll(), MRB_EVENT_SHARE_FAILED);
    EXPECT_THAT(tree(to.path()), IsEmpty());
    EXPECT_EQ(playData(), MRB_ERR_DEVICE_REMOVED);
}

TEST_F(ReplacedStorage, ACopyThatCrossesMountsTakesThemAll) {
    if (!inside(Surroundings::MOUNTS)) {
        return;
    }
    plugIn();
    folder.folder("usb/DCIM/1/deep");
    ASSERT_EQ(mount("tmpfs", path("/DCIM/1/deep").c_str(), "tmpfs", 0, nullptr), 0);
    folder.file("usb/DCIM/1/deep/more/d.jpg");
    client.list(folder.path());
    EXPECT_EQ(copyAll(), MRB_EVENT_SHARE_DONE);
    EXPECT_THAT(tree(to.path()), testing::IsSupersetOf({"usb/DCIM/1/a.jpg", "usb/DCIM/1/deep/more/d.jpg"}));
    umount2(path("/DCIM/1/deep").c_str(), MNT_DETACH);
}

TEST_F(ReplacedStorage, FieldsAreNotReadFromAnotherStickAndNothingOfItIsRemembered) {
    if (!inside(Surroundings::MOUNTS)) {
        return;
    }
    const Folder made;
    support::shell(made.path(),
                   "for size in 64 96; do ffmpeg -nostdin -loglevel error -y -f lavfi -i "
                   "testsrc2=size=${size}x32 -frames:v 1 $size.jpg; done; touch -d @1700000000 *");
    plugIn();
    const auto put = [&](const std::string &name) {
        support::shell(path(), "cp -p '" + made.path(name) + "' DCIM/1/a.jpg");
    };
    put("64.jpg");
    client.list(path());
    replace();
    put("96.jpg");
    const int photo = support::indexOf(client, "a.jpg");
    for (int time = 0; time < 2; ++time) {
        EXPECT_EQ(fieldOf(client, photo, mrb_get_item_value_int_v2, "WIDTH", -1).first,
                  MRB_ERR_DEVICE_REMOVED);
    }
    EXPECT_EQ(playData(), MRB_ERR_DEVICE_REMOVED);
    // The new file system has a list of its own.
    Client other;
    other.list(path());
    EXPECT_EQ(support::number(other, support::indexOf(other, "a.jpg"), "WIDTH"), 96);
}
