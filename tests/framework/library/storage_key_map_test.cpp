// The key of a file in the metadata cache: its storage and the path on it.

#include <gtest/gtest.h>

#include "library/storage_key_map.h"
#include "support/folder.h"

using support::Folder;

TEST(StorageKeyMap, NameAFileByItsStorageAndThePathOnIt) {
    const Folder folder;
    folder.folder("real");
    folder.link(folder.path("real"), "link");
    const auto key = mrb::StorageKeyMap(folder.path("real")).keyOf(folder.path("real/a.jpg"), 1, 2);
    EXPECT_EQ(mrb::StorageKeyMap(folder.path("link")).keyOf(folder.path("link/a.jpg"), 1, 2), key);
    EXPECT_EQ(mrb::StorageKeyMap("/").keyOf(folder.path("real/a.jpg"), 1, 2), key);
    EXPECT_FALSE(key.volume.empty());
    EXPECT_TRUE(folder.path("real/a.jpg").ends_with(key.path));
    const auto other = mrb::StorageKeyMap("/proc").keyOf("/proc/a.jpg", 1, 2);
    EXPECT_EQ(other.path, "/a.jpg");
    EXPECT_NE(other.volume, key.volume);
}
