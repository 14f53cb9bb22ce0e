// Navigation from folder to folder, and the positions of items.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>

#include "support/client.h"
#include "support/fields.h"
#include "support/folder.h"

using support::Client;
using support::Folder;
using testing::ElementsAre;

namespace {

int navigate(const Client &client, int navigation) {
    return mrb_set_navigation_v2(client.handle, navigation);
}

int navigation(const Client &client) {
    int value = -1;
    EXPECT_EQ(mrb_get_navigation_v2(client.handle, &value), MRB_ERR_NONE);
    return value;
}

int enter(const Client &client, const std::string &name) {
    return support::enter(client, support::indexOf(client, name));
}

std::string mediaId(const Folder &folder, const std::string &name) { return "msc:" + folder.path(name); }

} // namespace

TEST(Navigation, AListIsFlatAtFirst) {
    const Folder folder;
    folder.file("a/b.jpg");
    Client client;
    client.list(folder.path());
    EXPECT_EQ(navigation(client), MRB_NAVIGATION_FLAT);
    EXPECT_THAT(client.all("name"), ElementsAre("a", "b.jpg"));
}

TEST(Navigation, AFolderShowsItsFoldersThenItsFilesAfterAnUpFolderEntry) {
    const Folder folder;
    folder.files({"1.jpg", "b/2.jpg", "b/c/3.jpg", "a/4.jpg"});
    Client client;
    client.list(folder.path());
    EXPECT_EQ(navigate(client, MRB_NAVIGATION_FOLDER), MRB_ERR_NONE);
    EXPECT_EQ(navigation(client), MRB_NAVIGATION_FOLDER);
    EXPECT_THAT(client.all("name"), ElementsAre("a", "b", "1.jpg"));
    EXPECT_EQ(enter(client, "b"), MRB_ERR_NONE);
    EXPECT_EQ(navigation(client), MRB_NAVIGATION_FOLDER);
    EXPECT_THAT(client.all("name"), ElementsAre("..", "c", "2.jpg"));
    EXPECT_EQ(client.count(MRB_ITEM_TYPE_UPFOLDER), 1);
    EXPECT_EQ(client.count(MRB_ITEM_TYPE_FOLDER), 1);
    EXPECT_EQ(client.count(MRB_ITEM_TYPE_IMAGE), 1);
    EXPECT_EQ(enter(client, "c"), MRB_ERR_NONE);
    EXPECT_THAT(client.all("name"), ElementsAre("..", "3.jpg"));
    EXPECT_EQ(navigate(client, MRB_NAVIGATION_FLAT), MRB_ERR_NONE);
    EXPECT_EQ(client.count(), 7);
}

TEST(Navigation, AnUpFolderEntryNamesItsTarget) {
    const Folder folder;
    folder.file("a/b/1.jpg");
    Client client;
    client.list(folder.path());
    navigate(client, MRB_NAVIGATION_FOLDER);
    enter(client, "a");
    Json::Value up = client.item(0);
    EXPECT_EQ(up["type"], MRB_ITEM_TYPE_UPFOLDER);
    EXPECT_EQ(up["type_name"], "upfolder");
    EXPECT_EQ(up["path"], folder.path());
    EXPECT_EQ(up["mime_type"], "inode/directory");
    enter(client, "b");
    up = client.item(0);
    EXPECT_EQ(up["path"], folder.path("a"));
    EXPECT_EQ(up["media_id"], mediaId(folder, "a"));
}

TEST(Navigation, UpLeadsToTheEnclosingFolderWithTheCursorOnTheFolderLeft) {
    const Folder folder;
    folder.file("a/1.jpg");
    folder.file("b/c/2.jpg");
    Client client;
    client.list(folder.path());
    navigate(client, MRB_NAVIGATION_FOLDER);
    enter(client, "b");
    enter(client, "c");
    EXPECT_EQ(enter(client, ".."), MRB_ERR_NONE);
    EXPECT_THAT(client.all("name"), ElementsAre("..", "c"));
    EXPECT_EQ(navigate(client, MRB_NAVIGATION_UP), MRB_ERR_NONE);
    EXPECT_THAT(client.all("name"), ElementsAre("a", "b"));
    // The cursor is on "b" again, so that entering returns there.
    EXPECT_EQ(navigate(client, MRB_NAVIGATION_ENTER), MRB_ERR_NONE);
    EXPECT_THAT(client.all("name"), ElementsAre("..", "c"));
}

TEST(Navigation, AFolderOfAFlatListCanBeEntered) {
    const Folder folder;
    folder.file("a/b/1.jpg");
    Client client;
    client.list(folder.path());
    EXPECT_EQ(enter(client, "b"), MRB_ERR_NONE);
    EXPECT_EQ(navigation(client), MRB_NAVIGATION_FOLDER);
    EXPECT_THAT(client.all("name"), ElementsAre("..", "1.jpg"));
}

TEST(Navigation, OnlyFoldersAreEnteredAndTheTopIsNotLeft) {
    const Folder folder;
    folder.file("1.jpg");
    Client client;
    client.list(folder.path());
    EXPECT_EQ(navigate(client, MRB_NAVIGATION_UP), MRB_ERR_NOT_FOUND);
    EXPECT_EQ(enter(client, "1.jpg"), MRB_ERR_NOT_A_FOLDER);
    EXPECT_EQ(navigate(client, MRB_NAVIGATION_FOLDER), MRB_ERR_NONE);
    EXPECT_EQ(navigate(client, MRB_NAVIGATION_UP), MRB_ERR_NOT_FOUND);
    for (const int unknown : {-1, 4, INT32_MAX}) {
        EXPECT_EQ(navigate(client, unknown), MRB_ERR_INVALID_PARAMETER);
    }
    EXPECT_EQ(navigation(client), MRB_NAVIGATION_FOLDER);
}

TEST(Navigation, NothingIsEnteredFromAnEmptyView) {
    const Folder folder;
    Client client;
    client.list(folder.path());
    EXPECT_EQ(navigate(client, MRB_NAVIGATION_ENTER), MRB_ERR_NOT_FOUND);
}

TEST(Navigation, OnlyFoldersThatLeadToSomethingAreShown) {
    const Folder folder;
    folder.file("music/1.mp3");
    folder.file("trips/2024/sea.jpg");
    folder.file("trips/2025/hills.jpg");
    folder.folder("none");
    Client client;
    client.list({.path = folder.path(), .contentType = "IMAGE", .keyWord = "sea"});
    EXPECT_THAT(client.all("name"), ElementsAre("sea.jpg"));
    navigate(client, MRB_NAVIGATION_FOLDER);
    EXPECT_THAT(client.all("name"), ElementsAre("trips"));
    enter(client, "trips");
    EXPECT_THAT(client.all("name"), ElementsAre("..", "2024"));
}

TEST(Navigation, EmptyFoldersAreShownWhereEverythingIs) {
    const Folder folder;
    folder.folder("none");
    Client client;
    client.list(folder.path());
    navigate(client, MRB_NAVIGATION_FOLDER);
    EXPECT_THAT(client.all("name"), ElementsAre("none"));
    enter(client, "none");
    EXPECT_THAT(client.all("name"), ElementsAre(".."));
}

TEST(Navigation, FoldersKeepTheListsOrder) {
    const Folder folder;
    folder.files({"a/x.jpg", "b/x.jpg", "1.jpg", "2.jpg"});
    Client client;
    client.list({.path = folder.path(), .sortCategory = "NAME DESC"});
    navigate(client, MRB_NAVIGATION_FOLDER);
    EXPECT_THAT(client.all("name"), ElementsAre("b", "a", "2.jpg", "1.jpg"));
}

TEST(Navigation, TheTopOfTheFileSystemHasAnAddress) {
    const Folder folder;
    Client client;
    // Its contents do not matter, and it is large.
    ASSERT_EQ(client.open("/"), MRB_ERR_NONE);
    client.waitFor([&](const auto & /*events*/) { return client.count(MRB_ITEM_TYPE_FOLDER) > 0; });
    navigate(client, MRB_NAVIGATION_FOLDER);
    ASSERT_EQ(navigate(client, MRB_NAVIGATION_ENTER), MRB_ERR_NONE);
    EXPECT_EQ(client.item(0)["path"], "/");
    EXPECT_EQ(client.item(0)["url"], "file:///");
}

TEST(Position, OfAnItemIsFoundByItsMediaId) {
    const Folder folder;
    folder.files({"a/x.jpg", "b/x.jpg", "b/caf\xe9/x.jpg", "x.jpg", "ab/x.jpg"});
    Client client;
    client.list(folder.path());
    for (int index = 0; index < client.count(); ++index) {
        int page = -1;
        EXPECT_EQ(mrb_get_page_index_v2(client.handle, client.item(index)["media_id"].asCString(), &page),
                  MRB_ERR_NONE);
        EXPECT_EQ(page, index);
    }
}

TEST(Position, OfWhatTheViewDoesNotShowIsNotFound) {
    const Folder folder;
    folder.file("a/x.jpg");
    folder.file("y.jpg");
    Client client;
    client.list(folder.path());
    navigate(client, MRB_NAVIGATION_FOLDER);
    const std::string ids[] = {mediaId(folder, "a/x.jpg"),
                               mediaId(folder, "z.jpg"),
                               mediaId(folder, ""),
                               "msc:" + folder.path(),
                               "dlna:1",
                               "",
                               "msc:/elsewhere/y.jpg",
                               "msc:%zz"};
    for (const std::string &id : ids) {
        int page = -1;
        EXPECT_EQ(mrb_get_page_index_v2(client.handle, id.c_str(), &page), MRB_ERR_NOT_FOUND) << id;
        EXPECT_EQ(page, -1);
    }
}
