// Copies of the entries of playlists, which lie in any folders of the machine.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>

#include "support/client.h"
#include "support/folder.h"
#include "support/playlists.h"
#include "support/sharing.h"

using support::Folder;
using support::playlist;
using support::ShareEvent;
using support::tree;
using support::writeText;
using testing::ElementsAre;

namespace fs = std::filesystem;

namespace {

class PlaylistShare : public support::CopyTest {
  protected:
    // Opens the list of a playlist with this text.
    void open(const std::string &text) {
        writeText(from, "p.m3u", text);
        EXPECT_EQ(client.list(playlist(from.path("p.m3u"))).event, MRB_EVENT_LIST_READY);
    }
};

} // namespace

TEST_F(PlaylistShare, SelectedEntriesArriveByteForByteWhereverTheyLie) {
    support::writeNoise(from.path("deep/er/a.mp3"), 3'000'000, 1);
    support::writeNoise(from.path("b.flac"), 70'000, 2);
    support::writeNoise(from.path("c.mp3"), 10, 3);
    from.setModified("b.flac", 1'000'000'000);
    open("deep/er/a.mp3\nb.flac\nc.mp3\n");
    support::select(client, {"a.mp3", "b.flac"});
    const ShareEvent end = sharing.copyAll(client, to.path());
    EXPECT_EQ(end.event, MRB_EVENT_SHARE_DONE);
    EXPECT_EQ(end.status.total_file_count, 2U);
    EXPECT_EQ(end.status.done_file_count, 2U);
    EXPECT_EQ(end.status.total_file_size, 3'070'000U);
    EXPECT_EQ(end.status.success_file_size, 3'070'000U);
    EXPECT_THAT(tree(to.path()), ElementsAre("a.mp3", "b.flac"));
    EXPECT_TRUE(support::areEqual(from.path("deep/er/a.mp3"), to.path("a.mp3")));
    EXPECT_TRUE(support::areEqual(from.path("b.flac"), to.path("b.flac")));
    EXPECT_EQ(fs::last_write_time(to.path("b.flac")), fs::last_write_time(from.path("b.flac")));
}

TEST_F(PlaylistShare, AMissingEntryIsNamedAndTheOthersGoOn) {
    from.file("a.mp3", 5);
    from.file("b.mp3", 5);
    open("a.mp3\ngone.mp3\nb.mp3\n");
    const ShareEvent end = copyEverything();
    EXPECT_EQ(end.event, MRB_EVENT_SHARE_FAILED);
    EXPECT_EQ(end.name(), "gone.mp3");
    EXPECT_EQ(end.status.total_file_count, 3U);
    EXPECT_EQ(end.status.done_file_count, 2U);
    EXPECT_THAT(tree(to.path()), ElementsAre("a.mp3", "b.mp3"));
}

TEST_F(PlaylistShare, AnEntryOfAnotherMachineIsNamedAndTheOthersGoOn) {
    from.file("a.mp3", 5);
    open("http://host/film.mp4\na.mp3\n");
    const ShareEvent end = copyEverything();
    EXPECT_EQ(end.event, MRB_EVENT_SHARE_FAILED);
    EXPECT_EQ(end.name(), "film.mp4");
    EXPECT_EQ(end.status.done_file_count, 1U);
    EXPECT_THAT(tree(to.path()), ElementsAre("a.mp3"));
}

TEST_F(PlaylistShare, AnEntryThatHasVanishedIsNamedAndTheOthersGoOn) {
    from.file("sub/a.mp3", 5);
    from.file("b.mp3", 5);
    open("sub/a.mp3\nb.mp3\n");
    fs::remove_all(from.path("sub"));
    const ShareEvent end = copyEverything();
    EXPECT_EQ(end.event, MRB_EVENT_SHARE_FAILED);
    EXPECT_EQ(end.name(), "a.mp3");
    EXPECT_THAT(tree(to.path()), ElementsAre("b.mp3"));
}

TEST_F(PlaylistShare, FilesOfOneNameGetNumbers) {
    from.files({"1/a.mp3", "2/a.mp3"}, 5);
    to.file("a.mp3", 7);
    open("1/a.mp3\n2/a.mp3\n1/a.mp3\n");
    EXPECT_EQ(copyEverything().event, MRB_EVENT_SHARE_DONE);
    EXPECT_THAT(tree(to.path()), ElementsAre("a (1).mp3", "a (2).mp3", "a (3).mp3", "a.mp3"));
    EXPECT_EQ(fs::file_size(to.path("a.mp3")), 7U);
}

TEST_F(PlaylistShare, APlaylistArrivesWithItsEntriesInAFolderThatIsCalledLikeIt) {
    from.files({"a.mp3", "sub/b.mp3", "sub/deep/c.mp3", "d.mp3"}, 5);
    writeText(from, "sub/in.m3u", "b.mp3\ndeep/inner.pls\n");
    writeText(from, "sub/deep/inner.pls", "File1=c.mp3\n");
    open("a.mp3\nsub/in.m3u\nd.mp3\n");
    ASSERT_EQ(mrb_set_navigation_v2(client.handle, MRB_NAVIGATION_FOLDER), MRB_ERR_NONE);
    support::select(client, {"a.mp3", "in.m3u"});
    EXPECT_EQ(sharing.copyAll(client, to.path()).event, MRB_EVENT_SHARE_DONE);
    EXPECT_THAT(tree(to.path()), ElementsAre("a.mp3", "in", "in.m3u", "in/b.mp3", "in/inner", "in/inner.pls",
                                             "in/inner/c.mp3"));
    EXPECT_TRUE(support::areEqual(from.path("sub/in.m3u"), to.path("in.m3u")));
}

TEST_F(PlaylistShare, EntriesOfOnePlaylistArriveInTheDestinationItself) {
    from.file("a.mp3", 5);
    from.file("b.mp3", 5);
    writeText(from, "in.m3u", "a.mp3\nb.mp3\n");
    open("in.m3u\n");
    support::select(client, {"a.mp3", "b.mp3"});
    EXPECT_EQ(sharing.copyAll(client, to.path()).event, MRB_EVENT_SHARE_DONE);
    EXPECT_THAT(tree(to.path()), ElementsAre("a.mp3", "b.mp3"));
}

TEST_F(PlaylistShare, APlaylistWhoseNameIsNearlyAllExtensionKeepsIt) {
    from.file("a.mp3", 5);
    from.file("b.mp3", 5);
    writeText(from, "...m3u", "a.mp3\n");
    open("...m3u\nb.mp3\n");
    support::select(client, {"a.mp3", "b.mp3"});
    EXPECT_EQ(sharing.copyAll(client, to.path()).event, MRB_EVENT_SHARE_DONE);
    EXPECT_THAT(tree(to.path()), ElementsAre("...m3u", "...m3u/a.mp3", "b.mp3"));
}

TEST_F(PlaylistShare, ALinkIsCopiedAsTheFileThatItLedToUnderItsOwnName) {
    support::writeNoise(from.path("real/a.mp3"), 1000, 1);
    from.link(from.path("real/a.mp3"), "link.mp3");
    open("link.mp3\n");
    EXPECT_EQ(copyEverything().event, MRB_EVENT_SHARE_DONE);
    EXPECT_THAT(tree(to.path()), ElementsAre("link.mp3"));
    EXPECT_TRUE(support::areEqual(from.path("real/a.mp3"), to.path("link.mp3")));
}

TEST_F(PlaylistShare, WhatHasBecomeALinkAPipeOrAFolderIsLeftOut) {
    const Folder secret;
    secret.file("a.mp3", 10);
    from.files({"way/a.mp3", "link.mp3", "pipe.mp3", "folder.mp3", "b.mp3"}, 5);
    open("way/a.mp3\nlink.mp3\npipe.mp3\nfolder.mp3\nb.mp3\n");
    fs::remove_all(from.path("way"));
    from.link(secret.path(), "way");
    fs::remove(from.path("link.mp3"));
    from.link(secret.path("a.mp3"), "link.mp3");
    fs::remove(from.path("pipe.mp3"));
    ASSERT_EQ(mkfifo(from.path("pipe.mp3").c_str(), 0600), 0);
    fs::remove(from.path("folder.mp3"));
    from.folder("folder.mp3");
    const ShareEvent end = copyEverything();
    EXPECT_EQ(end.event, MRB_EVENT_SHARE_FAILED);
    EXPECT_EQ(end.name(), "a.mp3");
    EXPECT_EQ(end.status.done_file_count, 1U);
    EXPECT_THAT(tree(to.path()), ElementsAre("b.mp3"));
}

TEST_F(PlaylistShare, OneOfOnlyOtherMachinesEndsWithItsFirstName) {
    open("http://host/a.mp3\nhttp://host/b.mp3\n");
    const ShareEvent end = copyEverything();
    EXPECT_EQ(end.event, MRB_EVENT_SHARE_FAILED);
    EXPECT_EQ(end.name(), "a.mp3");
    EXPECT_EQ(end.status.done_file_count, 0U);
}

TEST_F(PlaylistShare, CanBeStoppedAndLeavesWholeFiles) {
    std::string text;
    for (unsigned number = 0; number < 30; ++number) {
        const std::string name = std::to_string(number) + ".mp3";
        support::writeNoise(from.path(name), 10'000'000, number);
        text += name + "\n";
    }
    open(text);
    sharing.whenStarted([](const ShareEvent &event) { mrb_stop_batch_process_v2(event.share); });
    EXPECT_EQ(copyEverything().event, MRB_EVENT_SHARE_STOPPED);
    for (const auto &[name, bytes] : support::contents(to.path())) {
        EXPECT_TRUE(support::areEqual(from.path(name), to.path(name))) << name;
    }
}
