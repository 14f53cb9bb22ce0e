// What a folder's list holds, and in which order.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/client.h"
#include "support/folder.h"

using support::Client;
using support::Folder;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(Scan, AnEmptyFolderIsReadyWithNoItems) {
    const Folder folder;
    Client client;
    const support::Event last = client.list(folder.path());
    EXPECT_EQ(last.event, MRB_EVENT_LIST_READY);
    EXPECT_EQ(last.agent, client.handle);
    EXPECT_EQ(last.data["item_count"], 0);
    EXPECT_EQ(client.count(), 0);
}

TEST(Scan, ListsPicturesMusicVideoPlaylistsAndFoldersOnly) {
    const Folder folder;
    for (const char *name :
         {"a.jpg", "b.flac", "c.mkv", "d.m3u8", "notes.txt", "program", ".hidden.jpg", "jpg"}) {
        folder.file(name);
    }
    folder.folder("e");
    folder.folder(".hidden");
    folder.file(".hidden/inside.jpg");
    Client client;
    client.list(folder.path());
    EXPECT_THAT(client.all("name"), ElementsAre("a.jpg", "b.flac", "c.mkv", "d.m3u8", "e"));
    EXPECT_THAT(client.all("type_name"), ElementsAre("image", "music", "video", "playlist", "folder"));
}

TEST(Scan, KnowsExtensionsInAnyCase) {
    const Folder folder;
    folder.file("a.JPG");
    folder.file("b.JpEg");
    Client client;
    client.list(folder.path());
    EXPECT_EQ(client.count(MRB_ITEM_TYPE_IMAGE), 2);
}

TEST(Scan, CountsEveryType) {
    const Folder folder;
    folder.files({"a.jpg", "b.png", "c.mp3", "d.mp4", "e.mkv", "f.webm", "g.pls", "sub/h.xspf"});
    Client client;
    client.list(folder.path());
    EXPECT_EQ(client.count(), 9);
    EXPECT_EQ(client.count(MRB_ITEM_TYPE_FOLDER), 1);
    EXPECT_EQ(client.count(MRB_ITEM_TYPE_IMAGE), 2);
    EXPECT_EQ(client.count(MRB_ITEM_TYPE_VIDEO), 3);
    EXPECT_EQ(client.count(MRB_ITEM_TYPE_MUSIC), 1);
    EXPECT_EQ(client.count(MRB_ITEM_TYPE_M3U), 2);
    for (const int none : {MRB_ITEM_TYPE_RECORD, MRB_ITEM_TYPE_GROUP, MRB_ITEM_TYPE_UHD, MRB_ITEM_TYPE_SCSA,
                           MRB_ITEM_TYPE_UPFOLDER, MRB_ITEM_TYPE_EMPTY}) {
        EXPECT_EQ(client.count(none), 0);
    }
}

TEST(Scan, AFoldersFilesComeBeforeItsFoldersAndEachFolderBeforeItsContents) {
    const Folder folder;
    folder.files({"z.jpg", "a/y.jpg", "a/b/x.jpg", "a/c/w.jpg", "d/v.jpg"});
    Client client;
    client.list(folder.path());
    EXPECT_THAT(client.all("name"),
                ElementsAre("z.jpg", "a", "y.jpg", "b", "x.jpg", "c", "w.jpg", "d", "v.jpg"));
}

TEST(Scan, NumbersInNamesCountByTheirValue) {
    const Folder folder;
    folder.files({"img10.jpg", "img2.jpg", "img1.jpg", "IMG3.jpg"});
    Client client;
    client.list(folder.path());
    EXPECT_THAT(client.all("name"), ElementsAre("img1.jpg", "img2.jpg", "IMG3.jpg", "img10.jpg"));
}

TEST(Scan, AccentedLettersStandNextToTheirBaseLetter) {
    const Folder folder;
    folder.files({"zoo.jpg", "École.jpg", "ecole2.jpg", "abc.jpg"});
    Client client;
    client.list(folder.path());
    EXPECT_THAT(client.all("name"), ElementsAre("abc.jpg", "École.jpg", "ecole2.jpg", "zoo.jpg"));
}

TEST(Scan, AContentTypeKeepsOneTypeFromEveryLevel) {
    const Folder folder;
    folder.files({"a.jpg", "b.mp3", "sub/c.jpg", "sub/d.mp4", "sub/list.m3u"});
    const std::pair<const char *, std::vector<std::string>> cases[] = {
        {"ALL", {"a.jpg", "b.mp3", "sub", "c.jpg", "d.mp4", "list.m3u"}},
        {"IMAGE", {"a.jpg", "c.jpg"}},
        {"MUSIC", {"b.mp3"}},
        {"VIDEO", {"d.mp4"}},
        {"PLAYLIST", {"list.m3u"}},
        {"FOLDER", {"sub"}},
    };
    for (const auto &[contentType, names] : cases) {
        Client client;
        client.list({.path = folder.path(), .contentType = contentType});
        EXPECT_EQ(client.all("name"), names) << contentType;
    }
}

TEST(Scan, AnItemBelowAnUnlistedFolderStillHasItsWholePath) {
    const Folder folder;
    folder.file("one/two/c.jpg");
    Client client;
    client.list({.path = folder.path(), .contentType = "IMAGE"});
    EXPECT_THAT(client.all("path"), ElementsAre(folder.path("one/two/c.jpg")));
}

TEST(Scan, LinksToFilesAreFollowed) {
    const Folder folder;
    folder.file("outside.bin", 5);
    folder.link(folder.path("outside.bin"), "linked.jpg");
    Client client;
    client.list(folder.path());
    EXPECT_THAT(client.all("name"), ElementsAre("linked.jpg"));
    EXPECT_EQ(client.item(0)["size"], 5);
}

TEST(Scan, DanglingLinksAreLeftOut) {
    const Folder folder;
    folder.link("/nowhere/at/all.jpg", "dangling.jpg");
    folder.link("round.jpg", "round.jpg");
    Client client;
    const support::Event last = client.list(folder.path());
    EXPECT_EQ(last.event, MRB_EVENT_LIST_READY);
    EXPECT_EQ(last.data["unreadable"], 0);
    EXPECT_THAT(client.all("name"), IsEmpty());
}

TEST(Scan, LinksToFoldersAreNotEnteredSoLoopsEnd) {
    const Folder folder;
    folder.file("sub/a.jpg");
    folder.link("..", "sub/up");
    folder.link(folder.path(), "sub/self.jpg");
    Client client;
    client.list(folder.path());
    EXPECT_THAT(client.all("name"), ElementsAre("sub", "a.jpg"));
}

TEST(Scan, TheScannedPathItselfMayBeALink) {
    const Folder folder;
    folder.file("real/a.jpg");
    folder.link("real", "alias");
    Client client;
    client.list(folder.path("alias"));
    EXPECT_THAT(client.all("path"), ElementsAre(folder.path("alias/a.jpg")));
}

TEST(Scan, DeletedFilesOfOtherSystemsAreLeftOut) {
    const Folder folder;
    folder.file("$RECYCLE.BIN/S-1-5/deleted.jpg");
    folder.file("System Volume Information/a.jpg");
    Client client;
    client.list(folder.path());
    EXPECT_EQ(client.count(), 0);
}

TEST(Scan, SpecialFilesAreLeftOut) {
    const Folder folder;
    ASSERT_EQ(std::system(("mkfifo '" + folder.path("pipe.mp3") + "'").c_str()), 0);
    Client client;
    client.list(folder.path());
    EXPECT_EQ(client.count(), 0);
}

TEST(Scan, RepeatedAndTrailingSlashesDoNotShow) {
    const Folder folder;
    folder.file("sub/a.jpg");
    Client client;
    client.list(folder.path() + "//sub///");
    EXPECT_THAT(client.all("path"), ElementsAre(folder.path("sub/a.jpg")));
}

TEST(Scan, TenThousandFilesAreAllThere) {
    const Folder folder;
    folder.pictures(100, 100);
    Client client;
    const support::Event last = client.list(folder.path());
    EXPECT_EQ(last.data["item_count"], 10100);
    EXPECT_EQ(client.count(), 10100);
    EXPECT_EQ(client.count(MRB_ITEM_TYPE_IMAGE), 10000);
    EXPECT_EQ(client.count(MRB_ITEM_TYPE_FOLDER), 100);
    EXPECT_EQ(client.item(10099)["path"], folder.path("100/100.jpg"));
}
