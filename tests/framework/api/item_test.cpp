// The description of one item.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>

#include "support/client.h"
#include "support/folder.h"

using support::Client;
using support::Folder;

TEST(Item, AFileHasNamePathTypeSizeTimesAndMimeType) {
    const Folder folder;
    folder.file("trip/beach.jpg", 1234);
    folder.setModified("trip/beach.jpg", 1'700'000'000);
    Client client;
    client.list({.path = folder.path(), .contentType = "IMAGE"});
    const Json::Value item = client.item(0);
    EXPECT_EQ(item["name"], "beach.jpg");
    EXPECT_EQ(item["path"], folder.path("trip/beach.jpg"));
    EXPECT_EQ(item["url"], "file://" + folder.path("trip/beach.jpg"));
    EXPECT_EQ(item["type"], MRB_ITEM_TYPE_IMAGE);
    EXPECT_EQ(item["type_name"], "image");
    EXPECT_EQ(item["size"], 1234);
    EXPECT_EQ(item["modified"], "2023-11-14T22:13:20Z");
    EXPECT_EQ(item["mime_type"], "image/jpeg");
    EXPECT_EQ(item["media_id"], "msc:" + folder.path("trip/beach.jpg"));
    EXPECT_EQ(item.size(), 10U);
}

TEST(Item, AFileOver4GiBHasItsSize) {
    const Folder folder;
    folder.file("film.mp4");
    std::filesystem::resize_file(folder.path("film.mp4"), 5'000'000'001); // it has no blocks
    Client client;
    client.list({.path = folder.path(), .contentType = "VIDEO"});
    EXPECT_EQ(client.item(0)["size"].asInt64(), 5'000'000'001);
}

TEST(Item, TheTimeOfCreationIsATimeOrNull) {
    const Folder folder;
    folder.file("a.jpg");
    Client client;
    client.list(folder.path());
    const Json::Value created = client.item(0)["created"];
    struct statx status {};
    ASSERT_EQ(statx(AT_FDCWD, folder.path("a.jpg").c_str(), 0, STATX_BTIME, &status), 0);
    if ((status.stx_mask & STATX_BTIME) != 0) {
        EXPECT_EQ(created.asString().size(), std::string("2026-11-21T02:08:00Z").size());
    } else {
        EXPECT_TRUE(created.isNull());
    }
}

TEST(Item, AFolderHasNoSize) {
    const Folder folder;
    folder.folder("sub");
    Client client;
    client.list(folder.path());
    const Json::Value item = client.item(0);
    EXPECT_TRUE(item.isMember("size"));
    EXPECT_TRUE(item["size"].isNull());
    EXPECT_EQ(item["mime_type"], "inode/directory");
    EXPECT_EQ(item["media_id"], "msc:" + folder.path("sub"));
}

TEST(Item, ATimeBefore1970IsShown) {
    const Folder folder;
    folder.file("old.jpg");
    folder.setModified("old.jpg", -86'400);
    Client client;
    client.list(folder.path());
    EXPECT_EQ(client.item(0)["modified"], "1969-12-31T00:00:00Z");
}

TEST(Item, NamesInManyScriptsComeThroughUnchanged) {
    const Folder folder;
    const std::string names[] = {"Привет.jpg", "日本語.jpg", "한국어.jpg",
                                 "مرحبا.jpg",  "🎈.jpg",      "\"quoted\\.jpg"};
    for (const std::string &name : names) {
        folder.file(name);
    }
    Client client;
    client.list(folder.path());
    std::vector<std::string> listed = client.all("name");
    for (const std::string &name : names) {
        EXPECT_EQ(std::ranges::count(listed, name), 1) << name;
    }
}

TEST(Item, ANameThatIsNotUtf8ShowsReplacementsAndCarriesItsBytesInTheUrl) {
    const Folder folder;
    folder.file("caf\xe9/na\xefve \xff.jpg", 7);
    Client client;
    client.list({.path = folder.path(), .contentType = "IMAGE"});
    const Json::Value item = client.item(0);
    EXPECT_EQ(item["name"], "na\uFFFDve \uFFFD.jpg");
    EXPECT_EQ(item["path"], folder.path("caf\uFFFD/na\uFFFDve \uFFFD.jpg"));
    EXPECT_EQ(item["url"], "file://" + folder.path("caf%E9/na%EFve%20%FF.jpg"));
    EXPECT_EQ(item["media_id"], "msc:" + folder.path("caf%E9/na%EFve%20%FF.jpg"));
    EXPECT_EQ(item["size"], 7);
}

TEST(Item, AFolderThatIsNotUtf8CanBeOpenedByItsUrl) {
    const Folder folder;
    folder.file("caf\xe9/a.jpg");
    Client outer;
    outer.list({.path = folder.path(), .contentType = "FOLDER"});
    Client inner;
    inner.list(outer.item(0)["url"].asString());
    EXPECT_EQ(inner.item(0)["url"], "file://" + folder.path("caf%E9/a.jpg"));
}

TEST(Item, AnIndexOutsideTheListIsOutOfRange) {
    const Folder folder;
    folder.file("a.jpg");
    Client client;
    client.list(folder.path());
    for (const int index : {-1, 1, INT32_MAX, INT32_MIN}) {
        char *text = nullptr;
        EXPECT_EQ(mrb_get_item_v2(client.handle, index, &text), MRB_ERR_OUT_OF_RANGE);
        EXPECT_EQ(text, nullptr);
    }
}

TEST(Item, TheCursorMovesToItemsThatExistOnly) {
    const Folder folder;
    folder.file("a.jpg");
    folder.file("b.jpg");
    Client client;
    client.list(folder.path());
    EXPECT_EQ(mrb_move_to_index_v2(client.handle, 1), MRB_ERR_NONE);
    EXPECT_EQ(mrb_move_to_index_v2(client.handle, 2), MRB_ERR_OUT_OF_RANGE);
    EXPECT_EQ(mrb_move_to_index_v2(client.handle, -1), MRB_ERR_OUT_OF_RANGE);
}

TEST(Item, AnUnknownTypeNumberIsAnInvalidParameter) {
    const Folder folder;
    Client client;
    client.list(folder.path());
    for (const int type : {0, 4, 8, 12, 15, 32, -1, INT32_MAX}) {
        int count = -1;
        EXPECT_EQ(mrb_get_item_count_by_type_v2(client.handle, type, &count), MRB_ERR_INVALID_PARAMETER);
    }
}

TEST(Item, AListWithoutGroupsCountsNone) {
    const Folder folder;
    folder.file("a.jpg");
    Client client;
    client.list(folder.path());
    int count = -1;
    EXPECT_EQ(mrb_get_group_count_v2(client.handle, &count), MRB_ERR_NONE);
    EXPECT_EQ(count, 0);
}
