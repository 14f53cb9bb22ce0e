// A playlist's file that changes under its open list.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>

#include "support/change_events.h"
#include "support/client.h"
#include "support/folder.h"
#include "support/playlists.h"

using support::changeCount;
using support::Client;
using support::Folder;
using support::playlist;
using support::waitForAllChanges;
using support::waitForChange;
using support::writeText;

namespace fs = std::filesystem;

namespace {

// The list of a playlist that is an hour old.
class PlaylistChanges : public testing::Test {
  protected:
    PlaylistChanges() {
        folder.file("a.mp3");
        folder.file("b.mp3");
        writeText(folder, "p.m3u", "a.mp3\n");
        fs::last_write_time(path(), fs::file_time_type::clock::now() - std::chrono::hours(1));
        support::instanceIsFree();
        EXPECT_EQ(client.list(playlist(path())).event, MRB_EVENT_LIST_READY);
    }
    [[nodiscard]] std::string path() const { return folder.path("p.m3u"); }

    const Folder folder;
    Client client;
};

} // namespace

TEST_F(PlaylistChanges, ARewrittenPlaylistIsReportedAndReopenedHasItsNewEntries) {
    writeText(folder, "p.m3u", "a.mp3\nb.mp3\n");
    EXPECT_EQ(waitForChange(client), MRB_EVENT_LIST_CHANGED);
    EXPECT_EQ(client.events().back().data["item_count"], 1);
    EXPECT_EQ(client.count(), 1);
    ASSERT_EQ(client.open(playlist(path())), MRB_ERR_NONE);
    EXPECT_EQ(client.waitForEnd(2).data["item_count"], 2);
    writeText(folder, "p.m3u", "b.mp3\n");
    client.waitFor([](const auto &events) { return events.back().event == MRB_EVENT_LIST_CHANGED; });
    EXPECT_EQ(changeCount(client), 2U);
}

TEST_F(PlaylistChanges, APlaylistOfTheSameSizeIsReported) {
    writeText(folder, "p.m3u", "b.mp3\n");
    EXPECT_EQ(waitForChange(client), MRB_EVENT_LIST_CHANGED);
}

TEST_F(PlaylistChanges, APlaylistThatIsReplacedIsReportedOnce) {
    writeText(folder, "p.m3u.new", "b.mp3\n");
    fs::rename(folder.path("p.m3u.new"), path());
    EXPECT_EQ(waitForChange(client), MRB_EVENT_LIST_CHANGED);
    writeText(folder, "p.m3u", "a.mp3\n");
    waitForAllChanges(folder);
    EXPECT_EQ(changeCount(client), 1U);
}

TEST_F(PlaylistChanges, APlaylistThatIsGoneIsReportedAndItsEntriesCanStillBePlayed) {
    fs::remove(path());
    EXPECT_EQ(waitForChange(client), MRB_EVENT_LIST_CHANGED);
    char *data = nullptr;
    EXPECT_EQ(mrb_prepare_play_data_v2(client.handle, &data), MRB_ERR_NONE);
    std::free(data);
}

TEST_F(PlaylistChanges, APlaylistThatGoesWithItsFolderIsReported) {
    const Folder other;
    writeText(other, "in/p.m3u", "http://h/a.mp3\n");
    Client inside;
    inside.list(playlist(other.path("in/p.m3u")));
    fs::rename(other.path("in"), other.path("out"));
    EXPECT_EQ(waitForChange(inside), MRB_EVENT_LIST_CHANGED);
}

TEST_F(PlaylistChanges, ChangesNextToAPlaylistAreNotReported) {
    writeText(folder, "q.m3u", "a.mp3\n");
    fs::remove(folder.path("a.mp3"));
    folder.file("c.mp3");
    ASSERT_EQ(chmod(path().c_str(), 0600), 0);
    const int file = open(path().c_str(), O_WRONLY | O_CLOEXEC);
    ASSERT_GE(file, 0);
    close(file);
    waitForAllChanges(folder);
    EXPECT_EQ(changeCount(client), 0U);
}

TEST_F(PlaylistChanges, APlaylistThatIsNamedByALinkIsWatchedWhereItIs) {
    folder.link(path(), "link.m3u");
    Client linked;
    linked.list(playlist(folder.path("link.m3u")));
    writeText(folder, "p.m3u", "b.mp3\n");
    EXPECT_EQ(waitForChange(linked), MRB_EVENT_LIST_CHANGED);
}

TEST_F(PlaylistChanges, NothingIsReportedAfterADisconnect) {
    EXPECT_EQ(mrb_disconnect_v2(std::exchange(client.handle, 0)), MRB_ERR_NONE);
    writeText(folder, "p.m3u", "b.mp3\n");
    waitForAllChanges(folder);
    EXPECT_EQ(changeCount(client), 0U);
}
