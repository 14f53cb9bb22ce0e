// Shares that lock and unlock the selection.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/client.h"
#include "support/fields.h"
#include "support/folder.h"
#include "support/sharing.h"

using support::Client;
using support::Folder;
using support::ShareEvent;
using support::Sharing;

namespace {

class ShareLock : public testing::Test {
  protected:
    // Locks or unlocks items of these names; the last event.
    ShareEvent lock(const std::vector<std::string> &names, bool isLocked) {
        mrb_deselect_all_v2(client.handle);
        support::select(client, names);
        EXPECT_EQ(sharing.start(MRB_SHARE_LOCK, client.handle,
                                [&](mrb_share_param_h param) { mrb_param_set_share_lock(param, isLocked); }),
                  MRB_ERR_NONE);
        return sharing.waitForEnd();
    }
    static bool isLocked(const Client &list, const std::string &name) {
        return support::flag(list, support::indexOf(list, name), "CONTENT_LOCK");
    }

    const Folder folder;
    Client client;
    Sharing sharing;
};

} // namespace

TEST_F(ShareLock, MarksTheSelectedFiles) {
    folder.files({"0.jpg", "1.jpg", "2.jpg"}, 10);
    client.list(folder.path());
    const ShareEvent end = lock({"0.jpg", "2.jpg"}, true);
    EXPECT_EQ(end.event, MRB_EVENT_SHARE_DONE);
    EXPECT_EQ(sharing.events().front().event, MRB_EVENT_SHARE_STARTED);
    EXPECT_EQ(end.status.total_file_count, 2U);
    EXPECT_EQ(end.status.done_file_count, 2U);
    EXPECT_EQ(end.status.total_file_size, 0U);
    EXPECT_TRUE(isLocked(client, "0.jpg"));
    EXPECT_FALSE(isLocked(client, "1.jpg"));
    EXPECT_TRUE(isLocked(client, "2.jpg"));
    EXPECT_EQ(support::contents(folder.path()).size(), 3U);
}

TEST_F(ShareLock, UnmarksThem) {
    folder.file("a.jpg", 10);
    folder.file("b.jpg", 10);
    client.list(folder.path());
    lock({"a.jpg", "b.jpg"}, true);
    EXPECT_EQ(lock({"a.jpg"}, false).event, MRB_EVENT_SHARE_DONE);
    EXPECT_FALSE(isLocked(client, "a.jpg"));
    EXPECT_TRUE(isLocked(client, "b.jpg"));
}

TEST_F(ShareLock, EveryListShowsIt) {
    folder.file("a.jpg", 10);
    client.list(folder.path());
    lock({"a.jpg"}, true);
    Client other;
    other.list(folder.path());
    EXPECT_TRUE(isLocked(other, "a.jpg"));
}

TEST_F(ShareLock, FoldersAreNamedAndTheFilesLocked) {
    folder.file("a/in.jpg", 10);
    folder.file("b.jpg", 10);
    client.list(folder.path());
    ASSERT_GE(support::indexOf(client, "a"), 0);
    const ShareEvent end = lock({"a", "b.jpg"}, true);
    EXPECT_EQ(end.event, MRB_EVENT_SHARE_FAILED);
    EXPECT_EQ(end.name(), "a");
    EXPECT_EQ(end.status.total_file_count, 2U);
    EXPECT_EQ(end.status.done_file_count, 1U);
    EXPECT_TRUE(isLocked(client, "b.jpg"));
}
