// Which files a list holds: filters by extension and key word.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/client.h"
#include "support/folder.h"

using support::Client;
using support::Folder;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

std::vector<std::string> names(const Client &client) { return client.all("name"); }

} // namespace

TEST(Filter, ExtensionsAreSeparatedInManyWaysAndOfAnyCase) {
    const Folder folder;
    folder.files({"a.JPG", "b.png", "c.gif", "d.mp3", "e.Jpeg"});
    for (const char *list : {"jpg,png,mp3", ".JPG;.Png;.MP3", "*.jpg png  mp3", "mp3, .png;jpg,"}) {
        Client client;
        client.list({.path = folder.path(), .extension = list});
        EXPECT_THAT(names(client), ElementsAre("a.JPG", "b.png", "d.mp3")) << list;
    }
}

TEST(Filter, ExtensionsNarrowTheContentType) {
    const Folder folder;
    folder.file("a.jpg");
    folder.file("b.mp3");
    Client client;
    client.list({.path = folder.path(), .contentType = "MUSIC", .extension = "jpg,mp3"});
    EXPECT_THAT(names(client), ElementsAre("b.mp3"));
}

TEST(Filter, FoldersHaveNoExtension) {
    const Folder folder;
    folder.file("album.jpg/a.jpg");
    Client client;
    client.list({.path = folder.path(), .extension = "jpg"});
    EXPECT_THAT(names(client), ElementsAre("a.jpg"));
}

TEST(Filter, AnExtensionOfOtherFilesListsNothing) {
    const Folder folder;
    folder.file("a.jpg");
    folder.file("notes.txt");
    Client client;
    client.list({.path = folder.path(), .extension = "txt"});
    EXPECT_THAT(names(client), IsEmpty());
}

TEST(Filter, AWordIsFoundAnywhereInTheName) {
    const Folder folder;
    folder.files({"Été à la mer.jpg", "ETE.jpg", "hiver.jpg", "L'été.mp3"});
    Client client;
    client.list({.path = folder.path(), .sortCategory = "NAME", .keyWord = "ete"});
    EXPECT_THAT(names(client), ElementsAre("Été à la mer.jpg", "ETE.jpg", "L'été.mp3"));
}

TEST(Filter, AWordIsSoughtInNamesNotInPaths) {
    const Folder folder;
    folder.file("sea/a.jpg");
    folder.file("hills/sea.jpg");
    Client client;
    client.list({.path = folder.path(), .keyWord = "sea"});
    EXPECT_THAT(names(client), ElementsAre("sea.jpg", "sea"));
}

TEST(Filter, EventsAndCountsContainMatchesOnly) {
    const Folder folder;
    folder.file("sea/sea.jpg");
    folder.file("sea/b.jpg");
    Client client;
    const support::Event last =
        client.list({.path = folder.path(), .contentType = "IMAGE", .keyWord = "sea"});
    EXPECT_EQ(last.data["item_count"], 1);
    EXPECT_EQ(client.count(), 1);
    EXPECT_EQ(client.count(MRB_ITEM_TYPE_IMAGE), 1);
    EXPECT_EQ(client.count(MRB_ITEM_TYPE_FOLDER), 0);
}
