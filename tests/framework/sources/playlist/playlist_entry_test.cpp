// Where the entries of a playlist may lie, and how an entry is resolved to a file.

#include <gtest/gtest.h>

#include <filesystem>

#include "sources/playlist/entry_resolver.h"
#include "sources/playlist/playlist_roots.h"
#include "support/folder.h"

using mrb::PlaylistRoots;
using mrb::ResolvedEntry;
using support::Folder;
using Kind = mrb::ResolvedEntry::Kind;

namespace {

// A stick, another one and a music folder, each with a song of its own.
class PlaylistEntry : public testing::Test {
  protected:
    PlaylistEntry() {
        for (const char *name :
             {"stick/a.mp3", "stick/sub/b c.mp3", "stick/caf\u00e9.mp3", "stick/100%25.mp3", "other/o.mp3",
              "music/m.mp3", "secret/s.mp3", "stick2/x.mp3"}) {
            folder.file(name, 5);
        }
    }

    ResolvedEntry find(const std::string &playlist, const std::string &target, bool isUri = false) const {
        const PlaylistRoots roots({folder.path("stick"), folder.path("other")}, folder.path("music"));
        const std::string path = folder.path(playlist);
        return mrb::EntryResolver(path, roots.scopeOf(path)).find({.target = target, .isUri = isUri});
    }
    void expectFile(const ResolvedEntry &found, const std::string &name) const {
        EXPECT_EQ(found.kind, Kind::FILE) << found.location;
        EXPECT_EQ(found.location, folder.path(name));
        EXPECT_EQ(found.stat.size, 5);
    }
    const Folder folder;
};

} // namespace

TEST_F(PlaylistEntry, ARelativePathBeginsAtThePlaylist) {
    expectFile(find("stick/p.m3u", "a.mp3"), "stick/a.mp3");
    expectFile(find("stick/p.m3u", "./sub/b c.mp3"), "stick/sub/b c.mp3");
    expectFile(find("stick/sub/p.m3u", "../a.mp3"), "stick/a.mp3");
}

TEST_F(PlaylistEntry, AnAbsolutePathIsTheMachinesOrElseTheStorages) {
    expectFile(find("stick/p.m3u", folder.path("stick/a.mp3")), "stick/a.mp3");
    expectFile(find("stick/sub/p.m3u", "/sub/b c.mp3"), "stick/sub/b c.mp3");
}

TEST_F(PlaylistEntry, BackslashesAndDrivesAreUnderstood) {
    expectFile(find("stick/p.m3u", "sub\\b c.mp3"), "stick/sub/b c.mp3");
    expectFile(find("stick/p.m3u", "\\sub\\b c.mp3"), "stick/sub/b c.mp3");
    expectFile(find("stick/p.m3u", "E:\\sub\\b c.mp3"), "stick/sub/b c.mp3");
    expectFile(find("stick/p.m3u", "e:/a.mp3"), "stick/a.mp3");
    folder.file("stick/back\\slash.mp3", 5);
    expectFile(find("stick/p.m3u", "back\\slash.mp3"), "stick/back\\slash.mp3");
}

TEST_F(PlaylistEntry, FileUrlsAreUnderstood) {
    const std::string song = "stick/sub/b c.mp3";
    const std::string path = folder.path("stick/sub/b%20c.mp3");
    for (const std::string &url :
         {"file://" + path, "file://localhost" + path, "file:" + path, "FILE://" + path,
          std::string("file:sub/b%20c.mp3"), std::string("file:///E:/sub/b%20c.mp3"),
          std::string("file://E:/sub/b%20c.mp3"), "file://" + folder.path(song)}) {
        expectFile(find("stick/p.m3u", url), song);
    }
    EXPECT_EQ(find("stick/p.m3u", "file://host/a.mp3").kind, Kind::NOTHING);
    EXPECT_EQ(find("stick/p.m3u", "file:").kind, Kind::NOTHING);
    EXPECT_EQ(find("stick/p.m3u", "file:///a%00.mp3").kind, Kind::MISSING);
}

TEST_F(PlaylistEntry, PercentSignsAreDecodedWhereThatLeadsSomewhere) {
    expectFile(find("stick/p.m3u", "sub/b%20c.mp3"), "stick/sub/b c.mp3");
    expectFile(find("stick/p.xspf", "sub/b%20c.mp3", true), "stick/sub/b c.mp3");
    expectFile(find("stick/p.xspf", "sub/b c.mp3", true), "stick/sub/b c.mp3");
    expectFile(find("stick/p.m3u", "100%25.mp3"), "stick/100%25.mp3");
    expectFile(find("stick/p.xspf", "100%2525.mp3", true), "stick/100%25.mp3");
}

TEST_F(PlaylistEntry, NamesThatAreNotUtf8AreTakenAsTheyAreAndAsLatin1) {
    expectFile(find("stick/p.m3u", "caf\xe9.mp3"), "stick/caf\u00e9.mp3");
    folder.file("stick/na\xefve.mp3", 5);
    expectFile(find("stick/p.m3u", "na\xefve.mp3"), "stick/na\xefve.mp3");
}

TEST_F(PlaylistEntry, APlaylistOnAStorageNamesOnlyWhatIsOnThatStorage) {
    for (const std::string &target :
         {std::string("../secret/s.mp3"), std::string("../other/o.mp3"), std::string("../stick2/x.mp3"),
          std::string("../../../../../../../../../../etc/passwd.mp3"), folder.path("secret/s.mp3"),
          folder.path("music/m.mp3"), folder.path("other/o.mp3"), folder.path("stick2/x.mp3"),
          "file://" + folder.path("secret/s.mp3"), std::string("sub/../../secret/s.mp3"),
          std::string("..\\secret\\s.mp3"), std::string("%2e%2e/secret/s.mp3")}) {
        const ResolvedEntry found = find("stick/p.m3u", target);
        EXPECT_EQ(found.kind, Kind::MISSING) << target;
        EXPECT_EQ(found.stat.size, mrb::UNKNOWN) << target;
    }
}

TEST_F(PlaylistEntry, ThePlaylistsOfTheUserNameWhatIsInAnyRoot) {
    expectFile(find("music/p.m3u", "m.mp3"), "music/m.mp3");
    expectFile(find("music/p.m3u", folder.path("stick/a.mp3")), "stick/a.mp3");
    expectFile(find("music/p.m3u", "../other/o.mp3"), "other/o.mp3");
    EXPECT_EQ(find("music/p.m3u", folder.path("secret/s.mp3")).kind, Kind::MISSING);
}

TEST_F(PlaylistEntry, APlaylistElsewhereNamesWhatIsNextToItAndInTheRoots) {
    expectFile(find("secret/p.m3u", "s.mp3"), "secret/s.mp3");
    expectFile(find("secret/p.m3u", "../music/m.mp3"), "music/m.mp3");
    EXPECT_EQ(find("secret/p.m3u", "../stick2/x.mp3").kind, Kind::MISSING);
}

TEST_F(PlaylistEntry, LinksDoNotLeadOutOfTheRoots) {
    folder.link(folder.path("secret/s.mp3"), "stick/link.mp3");
    folder.link(folder.path("secret"), "stick/way");
    folder.link(folder.path("stick/a.mp3"), "stick/good.mp3");
    folder.link(folder.path("stick/sub"), "stick/good");
    EXPECT_EQ(find("stick/p.m3u", "link.mp3").kind, Kind::MISSING);
    EXPECT_EQ(find("stick/p.m3u", "way/s.mp3").kind, Kind::MISSING);
    expectFile(find("stick/p.m3u", "good.mp3"), "stick/a.mp3");
    expectFile(find("stick/p.m3u", "good/b c.mp3"), "stick/sub/b c.mp3");
}

TEST_F(PlaylistEntry, ARootMayBeReachedByALink) {
    folder.link(folder.path("stick"), "mounted");
    const PlaylistRoots roots({folder.path("mounted") + "/"}, "");
    const std::string path = folder.path("stick/p.m3u");
    expectFile(mrb::EntryResolver(path, roots.scopeOf(path)).find({.target = folder.path("mounted/a.mp3")}),
               "stick/a.mp3");
}

TEST_F(PlaylistEntry, AMissingEntryHasAReadableName) {
    const ResolvedEntry found = find("stick/p.m3u", "sub/../gone/caf\xe9.mp3");
    EXPECT_EQ(found.kind, Kind::MISSING);
    EXPECT_EQ(found.name, "caf\u00e9.mp3");
    EXPECT_EQ(found.location, folder.path("stick/gone/caf\u00e9.mp3"));
}

TEST_F(PlaylistEntry, FoldersPipesAndOtherFilesAreNotEntries) {
    folder.folder("stick/folder.mp3");
    EXPECT_EQ(find("stick/p.m3u", "folder.mp3").kind, Kind::MISSING);
    folder.file("stick/notes.txt");
    for (const char *target :
         {"notes.txt", "sub", "sub/", "", ".", "..", "/", "\\", "C:\\", ".mp3", "nothing"}) {
        EXPECT_EQ(find("stick/p.m3u", target).kind, Kind::NOTHING) << target;
    }
}

TEST_F(PlaylistEntry, UrlsOfOtherMachinesStayAsTheyAre) {
    const ResolvedEntry file = find("stick/p.m3u", "https://host/a/b%20c.mp3?x=/y#z");
    EXPECT_EQ(file.kind, Kind::URL);
    EXPECT_EQ(file.location, "https://host/a/b%20c.mp3?x=/y#z");
    EXPECT_EQ(file.name, "b c.mp3");
    EXPECT_EQ(find("stick/p.m3u", "http://host:8000/").name, "host:8000");
    EXPECT_EQ(find("stick/p.m3u", "rtsp://host").name, "host");
    EXPECT_EQ(find("stick/p.m3u", "http://host/a%2Fb").name, "a%2Fb");
    for (const char *target : {"http://", "http:///a.mp3", "http://h/\x01"}) {
        EXPECT_EQ(find("stick/p.m3u", target).kind, Kind::NOTHING) << target;
    }
}

TEST_F(PlaylistEntry, RootsThatLieInOthersAreNotSearchedTwice) {
    const PlaylistRoots roots(
        {folder.path("stick/sub"), folder.path("stick"), folder.path("stick") + "/", folder.path("gone")},
        folder.path("music"));
    std::vector<std::string> paths;
    for (const mrb::PlaylistRoot &root : roots.searchFolders()) {
        paths.push_back(root.real);
    }
    EXPECT_EQ(paths, (std::vector{folder.path("stick"), folder.path("music")}));
}
