// The store that holds the items of a list.

#include <gtest/gtest.h>

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
