// Lists of playlists through the C functions.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <thread>

#include "support/client.h"
#include "support/fields.h"
#include "support/folder.h"
#include "support/groups.h"
#include "support/own_process.h"
#include "support/playlists.h"
#include "support/songs.h"

using support::Client;
using support::enter;
using support::Folder;
using support::ListOptions;
using support::playlist;
using support::writeText;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

int navigate(const Client &client, int navigation) {
    return mrb_set_navigation_v2(client.handle, navigation);
}

int playData(const Client &client, int index, Json::Value &data) {
    EXPECT_EQ(mrb_move_to_index_v2(client.handle, index), MRB_ERR_NONE);
    char *text = nullptr;
    const int code = mrb_prepare_play_data_v2(client.handle, &text);
    if (text != nullptr) {
        data = support::parse(text);
    }
    std::free(text);
    return code;
}

int pageOf(const Client &client, const std::string &mediaId) {
    int page = -1;
    EXPECT_EQ(mrb_get_page_index_v2(client.handle, mediaId.c_str(), &page), MRB_ERR_NONE) << mediaId;
    return page;
}

class PreparedPlaylist : public support::OwnProcess {};

} // namespace

TEST(Playlist, APlaylistThatTheRequestNamesIsListedInItsOrder) {
    const Folder folder;
    folder.files({"c.mp3", "a.mp3", "sub/b.mp4"}, 3);
    writeText(folder, "p.m3u", "#EXTM3U\nc.mp3\nsub\\b.mp4\na.mp3\nc.mp3\n");
    Client client;
    EXPECT_EQ(client.list(playlist(folder.path("p.m3u"))).event, MRB_EVENT_LIST_READY);
    EXPECT_THAT(client.all("name"), ElementsAre("c.mp3", "b.mp4", "a.mp3", "c.mp3"));
    EXPECT_THAT(client.all("type_name"), ElementsAre("music", "video", "music", "music"));
}

TEST(Playlist, AFileUriNamesAPlaylistToo) {
    const Folder folder;
    folder.file("a.mp3");
    writeText(folder, "p \u00e9.pls", "[playlist]\nFile1=a.mp3\n");
    Client client;
    client.list(playlist("file://" + folder.path("p%20%C3%A9.pls")));
    EXPECT_THAT(client.all("name"), ElementsAre("a.mp3"));
}

TEST(Playlist, OtherFilesAreRefusedAtOnce) {
    const Folder folder;
    folder.file("a.mp3");
    folder.folder("b.m3u");
    const std::pair<std::string, int> names[] = {
        {folder.path("gone.m3u"), MRB_ERR_NOT_FOUND},  {folder.path("a.mp3"), MRB_ERR_NOT_SUPPORTED},
        {folder.path("b.m3u"), MRB_ERR_NOT_SUPPORTED}, {"p.m3u", MRB_ERR_INVALID_PARAMETER},
        {"http://h/p.m3u", MRB_ERR_INVALID_PARAMETER}, {"file://h/p.m3u", MRB_ERR_INVALID_PARAMETER},
    };
    for (const auto &[name, code] : names) {
        Client client;
        EXPECT_EQ(client.open(playlist(name)), code) << name;
        EXPECT_THAT(client.events(), IsEmpty());
    }
}

TEST(Playlist, AnEntryHasItsPlaceAndTheMetadataOfThePlaylist) {
    const Folder folder;
    folder.file("a.mp3", 7);
    folder.setModified("a.mp3", 1'700'000'000);
    writeText(folder, "p.m3u", "#EXTINF:61,The Title\na.mp3\na.mp3\n");
    Client client;
    client.list(playlist(folder.path("p.m3u")));
    const Json::Value item = client.item(0);
    EXPECT_EQ(item["path"], folder.path("a.mp3"));
    EXPECT_EQ(item["url"], "file://" + folder.path("a.mp3"));
    EXPECT_EQ(item["size"], 7);
    EXPECT_EQ(item["modified"], "2023-11-14T22:13:20Z");
    EXPECT_EQ(item["mime_type"], "audio/mpeg");
    EXPECT_EQ(item["media_id"], "playlist:" + folder.path("p.m3u") + "#1");
    EXPECT_EQ(item["title"], "The Title");
    EXPECT_EQ(item["duration"], 61'000);
    EXPECT_EQ(item["missing"], false);
    EXPECT_TRUE(client.item(1)["title"].isNull());
    EXPECT_TRUE(client.item(1)["duration"].isNull());
    EXPECT_EQ(pageOf(client, item["media_id"].asString()), 0);
    EXPECT_EQ(pageOf(client, "playlist:" + folder.path("p.m3u") + "#2"), 1);
}

TEST(Playlist, MediaIdsOfOthersAreNotFound) {
    const Folder folder;
    folder.file("a.mp3");
    writeText(folder, "p.m3u", "a.mp3\n");
    Client client;
    client.list(playlist(folder.path("p.m3u")));
    const std::string own = "playlist:" + folder.path("p.m3u");
    for (const std::string &id :
         {own + "#2", own + "#0", own + "#-1", own + "#1x", own + "#", own, std::string("msc:/a"),
          std::string("playlist:"), std::string("playlist:#1"), std::string("0")}) {
        int page = -1;
        EXPECT_EQ(mrb_get_page_index_v2(client.handle, id.c_str(), &page), MRB_ERR_NOT_FOUND) << id;
    }
}

TEST(Playlist, EntriesThatAreNotThereAreListedAsMissing) {
    const Folder folder;
    folder.file("a.mp3");
    writeText(folder, "p.m3u", "#EXTINF:5,Gone\ngone.mp3\na.mp3\n../../../etc/passwd.mp3\nnotes.txt\n");
    Client client;
    client.list(playlist(folder.path("p.m3u")));
    EXPECT_THAT(support::missing(client), ElementsAre("gone.mp3", "passwd.mp3"));
    EXPECT_THAT(support::found(client), ElementsAre("a.mp3"));
    EXPECT_EQ(client.item(0)["path"], folder.path("gone.mp3"));
    EXPECT_EQ(client.item(0)["title"], "Gone");
    EXPECT_TRUE(client.item(0)["size"].isNull());
    Json::Value data;
    EXPECT_EQ(playData(client, 0, data), MRB_ERR_NOT_FOUND);
    EXPECT_EQ(support::text(client, 0, "TITLE"), "Gone");
    EXPECT_EQ(support::longNumber(client, 0, "DURATION"), 5000);
}

TEST(Playlist, UrlsAreListedWithWhatIsNeededToPlayThem) {
    const Folder folder;
    writeText(folder, "p.m3u",
              "#EXTINF:-1,Radio\nhttp://host:8000/\nhttps://host/film.mp4?x=1\nhttp://host/live\n");
    Client client;
    client.list(playlist(folder.path("p.m3u")));
    EXPECT_THAT(client.all("name"), ElementsAre("Radio", "film.mp4", "live"));
    EXPECT_THAT(client.all("type_name"), ElementsAre("music", "video", "music"));
    EXPECT_THAT(client.all("path"), ElementsAre("", "", ""));
    EXPECT_THAT(support::missing(client), IsEmpty());
    Json::Value data;
    EXPECT_EQ(playData(client, 1, data), MRB_ERR_NONE);
    EXPECT_EQ(data["url"], "https://host/film.mp4?x=1");
    EXPECT_EQ(data["mime_type"], "video/mp4");
    EXPECT_EQ(support::text(client, 0, "TITLE"), "Radio");
    EXPECT_EQ(support::text(client, 0, "URL"), "http://host:8000/");
}

TEST(Playlist, TheFieldsOfFilesAreThoseOfTheFilesThemselves) {
    const Folder folder;
    support::writeSong(folder.path("tagged.flac"), {.artist = "Singer"});
    folder.file("plain.mp3", 10);
    writeText(folder, "p.m3u", "#EXTINF:9,Listed\ntagged.flac\n#EXTINF:9,Listed\nplain.mp3\nplain.mp3\n");
    Client client;
    client.list(playlist(folder.path("p.m3u")));
    EXPECT_EQ(support::text(client, 0, "TITLE"), "Listed");
    EXPECT_EQ(support::text(client, 0, "ARTIST"), "Singer");
    EXPECT_EQ(support::text(client, 0, "MIME_TYPE"), "audio/flac");
    EXPECT_EQ(support::text(client, 1, "TITLE"), "Listed");
    EXPECT_EQ(support::longNumber(client, 1, "DURATION"), 9000);
    EXPECT_EQ(support::text(client, 2, "TITLE"), "plain");
    EXPECT_EQ(support::text(client, 0, "FILE_PATH"), folder.path("tagged.flac"));
    ASSERT_EQ(mrb_set_item_value_char_v2(client.handle, "TITLE", "Written"), MRB_ERR_NONE);
    EXPECT_EQ(support::text(client, 0, "TITLE"), "Written");
}

TEST(Playlist, WhatIsWrittenToAFileOfAFolderIsReadInAPlaylist) {
    const Folder folder;
    folder.file("a.mp3", 20);
    writeText(folder, "p.m3u", "a.mp3\n");
    Client files;
    files.list(folder.path());
    ASSERT_EQ(mrb_move_to_index_v2(files.handle, 0), MRB_ERR_NONE);
    ASSERT_EQ(mrb_set_item_value_int_v2(files.handle, "PLAYED_POSITION", 42), MRB_ERR_NONE);
    Client client;
    client.list(playlist(folder.path("p.m3u")));
    Json::Value data;
    EXPECT_EQ(playData(client, 0, data), MRB_ERR_NONE);
    EXPECT_EQ(data["resume_position"], 42);
}

TEST(Playlist, FiltersAndOrdersAreThoseOfOtherLists) {
    const Folder folder;
    folder.files({"b.mp3", "a.jpg", "c.flac"});
    writeText(folder, "p.m3u", "#EXTINF:1,Z\nb.mp3\na.jpg\nc.flac\n#EXTINF:1,0\nhttp://h/x.mp3\n");
    const std::pair<ListOptions, std::vector<std::string>> lists[] = {
        {{.contentType = "MUSIC"}, {"b.mp3", "c.flac", "x.mp3"}},
        {{.sortCategory = "NAME"}, {"a.jpg", "b.mp3", "c.flac", "x.mp3"}},
        {{.sortCategory = "TITLE"}, {"x.mp3", "a.jpg", "c.flac", "b.mp3"}},
        {{.extension = "mp3"}, {"b.mp3", "x.mp3"}},
        {{.keyWord = "A"}, {"a.jpg", "c.flac"}},
    };
    for (const auto &[options, names] : lists) {
        Client client;
        client.list(playlist(folder.path("p.m3u"), options));
        EXPECT_EQ(client.all("name"), names);
    }
}

TEST(Playlist, GroupsAreThoseOfTheFilesMetadata) {
    const Folder folder;
    support::writeSong(folder.path("1.flac"), {"Zoë", "Été", "Jazz"});
    support::writeSong(folder.path("2.flac"), {"Anna", "Album", "Pop"});
    writeText(folder, "p.m3u", "1.flac\n2.flac\nhttp://h/x.mp3\n1.flac\n");
    Client client;
    client.list(playlist(folder.path("p.m3u")));
    ASSERT_EQ(support::groupBy(client, MRB_PAGE_STYLE_GROUP_ARTIST), MRB_ERR_NONE);
    support::waitForGroups(client);
    EXPECT_THAT(support::headings(client), ElementsAre("Anna: 1", "Zoë: 2", ": 1"));
}

TEST_F(PreparedPlaylist, HasTheReadersOfItsFilesLoaded) {
    if (!inside(support::Surroundings::PLAIN)) {
        return;
    }
    const Folder folder;
    folder.file("a.mp3");
    writeText(folder, "p.m3u", "http://h/x.mp3\na.mp3\n");
    Client client;
    client.list(playlist(folder.path("p.m3u")));
    const auto deadline = std::chrono::steady_clock::now() + support::LIMIT;
    while (!support::isMapped("libmrb-readers.so") && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::yield();
    }
    EXPECT_TRUE(support::isMapped("libmrb-readers.so"));
}

TEST(Playlist, APlaylistInAPlaylistOpensAsAFolder) {
    const Folder folder;
    folder.files({"a.mp3", "b.mp3", "sub/c.mp3"});
    writeText(folder, "outer.m3u", "a.mp3\nsub/inner.xspf\nb.mp3\n");
    writeText(folder, "sub/inner.xspf",
              "<playlist><trackList><track><location>c.mp3</location></track></trackList></playlist>");
    Client client;
    client.list(playlist(folder.path("outer.m3u")));
    EXPECT_THAT(client.all("name"), ElementsAre("a.mp3", "inner.xspf", "c.mp3", "b.mp3"));
    EXPECT_EQ(client.item(2)["media_id"], "playlist:" + folder.path("sub/inner.xspf") + "#1");
    EXPECT_EQ(navigate(client, MRB_NAVIGATION_FOLDER), MRB_ERR_NONE);
    EXPECT_THAT(client.all("name"), ElementsAre("a.mp3", "inner.xspf", "b.mp3"));
    EXPECT_EQ(enter(client, 1), MRB_ERR_NONE);
    EXPECT_THAT(client.all("name"), ElementsAre("..", "c.mp3"));
    EXPECT_EQ(navigate(client, MRB_NAVIGATION_UP), MRB_ERR_NONE);
    EXPECT_EQ(client.count(), 3);
}

TEST(Playlist, BasesAreRelativeToThePlaylist) {
    const Folder folder;
    folder.file("sub/sets/a.mp3");
    folder.file("sub/\u00fc b.mp3");
    writeText(
        folder, "sub/p.xspf",
        "<playlist xml:base='sets/'><trackList><track><location>a.mp3</location></track>"
        "<track xml:base='../'><location>%C3%BC%20b.mp3</location></track>"
        "<track xml:base='http://host/live/'><location>c.mp3</location></track></trackList></playlist>");
    Client client;
    client.list(playlist(folder.path("sub/p.xspf")));
    EXPECT_THAT(client.all("path"),
                ElementsAre(folder.path("sub/sets/a.mp3"), folder.path("sub/\u00fc b.mp3"), ""));
    EXPECT_THAT(client.all("name"), ElementsAre("a.mp3", "\u00fc b.mp3", "c.mp3"));
    EXPECT_EQ(client.item(2)["url"], "http://host/live/c.mp3");
    EXPECT_THAT(support::missing(client), IsEmpty());
}

TEST(Playlist, AFilteredListCanStillBeWalkedThroughItsPlaylists) {
    const Folder folder;
    folder.file("a.jpg");
    folder.file("b.mp3");
    writeText(folder, "outer.m3u", "pictures.m3u\nmusic.m3u\n");
    writeText(folder, "pictures.m3u", "a.jpg\n");
    writeText(folder, "music.m3u", "b.mp3\n");
    Client client;
    client.list(playlist(folder.path("outer.m3u"), {.contentType = "MUSIC"}));
    EXPECT_THAT(client.all("name"), ElementsAre("b.mp3"));
    EXPECT_EQ(navigate(client, MRB_NAVIGATION_FOLDER), MRB_ERR_NONE);
    EXPECT_THAT(client.all("name"), ElementsAre("music.m3u"));
    EXPECT_EQ(enter(client, 0), MRB_ERR_NONE);
    EXPECT_THAT(client.all("name"), ElementsAre("..", "b.mp3"));
}

TEST(Playlist, AnEmptyPlaylistMakesAnEmptyList) {
    const Folder folder;
    for (const char *name : {"p.m3u", "p.m3u8", "p.pls"}) {
        folder.file(name);
        Client client;
        const support::Event end = client.list(playlist(folder.path(name)));
        EXPECT_EQ(end.event, MRB_EVENT_LIST_READY);
        EXPECT_EQ(end.data["unreadable"], 0);
        EXPECT_EQ(client.count(), 0);
    }
}

// ---- all playlists of the machine -------------------------------------------

class FoundPlaylists : public support::OwnProcess {};

TEST_F(FoundPlaylists, AreThoseOfStoragesAndOfTheMusicFolder) {
    if (!inside(support::Surroundings::PLAIN)) {
        return;
    }
    const Folder folder;
    folder.files({"stick/a.mp3", "Klänge/b.mp3", "elsewhere/c.mp3"});
    writeText(folder, "stick/deep/er/p.m3u", "../../a.mp3\n../../../elsewhere/c.mp3\n");
    writeText(folder, "stick/.hidden/h.m3u", "../a.mp3\n");
    writeText(folder, "Klänge/q.pls", "File1=b.mp3\nFile2=../stick/a.mp3\nTitle2=On the stick\n");
    writeText(folder, "elsewhere/r.m3u", "c.mp3\n");
    folder.link(folder.path("elsewhere/r.m3u"), "stick/link.m3u");
    writeText(folder, "config/user-dirs.dirs", "XDG_MUSIC_DIR=\"$HOME/Klänge\"\n");
    setenv("HOME", folder.path().c_str(), 1);
    setenv("XDG_CONFIG_HOME", folder.path("config").c_str(), 1);
    setenv("MRB_DEVICES", folder.path("stick").c_str(), 1);
    Client client;
    EXPECT_EQ(client.list(ListOptions{.source = "SOURCE_PLAYLIST"}).event, MRB_EVENT_LIST_READY);
    EXPECT_THAT(client.all("name"), ElementsAre("p.m3u", "a.mp3", "c.mp3", "q.pls", "b.mp3", "a.mp3"));
    EXPECT_THAT(support::missing(client), ElementsAre("c.mp3"));
    EXPECT_EQ(client.item(0)["type_name"], "playlist");
    EXPECT_EQ(client.item(0)["path"], folder.path("stick/deep/er/p.m3u"));
    EXPECT_EQ(client.item(0)["media_id"], "playlist:" + folder.path("stick/deep/er/p.m3u"));
    EXPECT_EQ(navigate(client, MRB_NAVIGATION_FOLDER), MRB_ERR_NONE);
    EXPECT_THAT(client.all("name"), ElementsAre("p.m3u", "q.pls"));
    EXPECT_EQ(enter(client, 1), MRB_ERR_NONE);
    EXPECT_THAT(client.all("name"), ElementsAre("..", "b.mp3", "a.mp3"));
    EXPECT_EQ(client.item(2)["title"], "On the stick");
}

TEST_F(FoundPlaylists, AreThoseOfTheUsualMusicFolderWithoutSettings) {
    if (!inside(support::Surroundings::PLAIN)) {
        return;
    }
    const Folder folder;
    writeText(folder, "Music/p.m3u", "http://h/a.mp3\n");
    setenv("HOME", folder.path().c_str(), 1);
    setenv("XDG_CONFIG_HOME", folder.path("config").c_str(), 1);
    Client client;
    client.list(ListOptions{.contentType = "PLAYLIST", .source = "SOURCE_PLAYLIST"});
    EXPECT_THAT(client.all("name"), testing::Contains("p.m3u"));
}

TEST_F(FoundPlaylists, MayBeNone) {
    if (!inside(support::Surroundings::PLAIN)) {
        return;
    }
    const Folder folder;
    setenv("HOME", folder.path().c_str(), 1);
    writeText(folder, "config/user-dirs.dirs", "XDG_MUSIC_DIR=\"$HOME/\"\n");
    writeText(folder, "p.m3u", "http://h/a.mp3\n");
    setenv("XDG_CONFIG_HOME", folder.path("config").c_str(), 1);
    Client client;
    EXPECT_EQ(client.list(ListOptions{.source = "SOURCE_PLAYLIST"}).event, MRB_EVENT_LIST_READY);
    EXPECT_THAT(client.all("name"), testing::Not(testing::Contains("p.m3u")));
}
