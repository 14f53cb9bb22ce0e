// The store that holds the items of a list.

#include <gtest/gtest.h>

#include <string>

#include "list/item_store.h"
#include "mrb/agent.h"

TEST(ItemStore, PathsAreBuiltFromTheFoldersOnTheWay) {
    mrb::ItemStore store;
    const std::int32_t outer = store.addFolder(mrb::ROOT_FOLDER, "outer");
    const std::int32_t inner = store.addFolder(outer, "inner");
    ASSERT_TRUE(store.add({.name = "a", .id = {}, .folder = inner, .type = MRB_ITEM_TYPE_IMAGE}, true));
    EXPECT_EQ(store.info(0).folder, "outer/inner");
}

TEST(ItemStore, AFolderWithAnImpossibleParentStillHasAPath) {
    mrb::ItemStore store;
    const std::int32_t loop = store.addFolder(1, "loop");
    ASSERT_TRUE(store.add({.name = "a", .id = {}, .folder = loop, .type = MRB_ITEM_TYPE_IMAGE}, true));
    EXPECT_EQ(store.info(0).folder, "loop");
}

TEST(ItemStore, NamesOfFoldersCountAgainstTheBoundOnText) {
    mrb::ItemStore store;
    const std::string name(mrb::ItemStore::MAX_TEXT_LENGTH, 'n');
    while (store.addFolder(mrb::ROOT_FOLDER, name) >= 0) {
    }
    EXPECT_FALSE(store.add({.name = name, .id = {}, .type = MRB_ITEM_TYPE_IMAGE}, true));
}

TEST(ItemStore, AnItemIsFoundByItsIdOrElseByItsNameAndFolder) {
    const auto infoOf = [](const char *id, const char *name, const char *folder) {
        mrb::ItemInfo info;
        info.id = id;
        info.name = name;
        info.folder = folder;
        return info;
    };
    mrb::ItemStore store;
    const std::int32_t folder = store.addFolder(mrb::ROOT_FOLDER, "folder");
    ASSERT_TRUE(store.add({.name = "a", .id = "1", .folder = folder}, true));
    EXPECT_TRUE(store.isItem(0, infoOf("1", "b", "")));
    EXPECT_FALSE(store.isItem(0, infoOf("2", "a", "folder")));
    EXPECT_TRUE(store.isItem(0, infoOf("", "a", "folder")));
    EXPECT_FALSE(store.isItem(0, infoOf("", "a", "")));
    EXPECT_TRUE(store.isItem(0, folder, "a"));
    EXPECT_FALSE(store.isItem(0, mrb::ROOT_FOLDER, "a"));
}
