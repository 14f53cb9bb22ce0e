// The tree of folders of a list.

#include <gtest/gtest.h>

#include <string>

#include "list/folder_table.h"

namespace {

using mrb::FolderTable;
using mrb::NO_FOLDER;
using mrb::ROOT_FOLDER;

TEST(FolderTable, HoldsTheRootFolderFromTheBeginning) {
    const FolderTable folders;
    EXPECT_EQ(folders.size(), 1);
    EXPECT_EQ(folders.parent(ROOT_FOLDER), NO_FOLDER);
    EXPECT_EQ(folders.name(ROOT_FOLDER), "");
    EXPECT_EQ(folders.path(ROOT_FOLDER), "");
    EXPECT_LT(folders.item(ROOT_FOLDER), 0);
}

TEST(FolderTable, APathHasTheNamesFromTheRootOn) {
    FolderTable folders;
    const std::int32_t inner = folders.add(folders.add(ROOT_FOLDER, "outer"), "inner");
    EXPECT_EQ(folders.path(inner), "outer/inner");
}

TEST(FolderTable, AFolderWithAnUnknownParentLiesInTheRoot) {
    FolderTable folders;
    EXPECT_EQ(folders.parent(folders.add(1, "itself")), ROOT_FOLDER);
    EXPECT_EQ(folders.parent(folders.add(-5, "negative")), ROOT_FOLDER);
    EXPECT_EQ(folders.parent(folders.add(100, "missing")), ROOT_FOLDER);
}

TEST(FolderTable, AFolderIsFoundByItsPathAlone) {
    FolderTable folders;
    const std::int32_t inner = folders.add(folders.add(ROOT_FOLDER, "outer"), "inner");
    EXPECT_TRUE(folders.hasPath(inner, "outer/inner"));
    EXPECT_TRUE(folders.hasPath(ROOT_FOLDER, ""));
    for (const char *path : {"", "inner", "/inner", "outer", "router/inner", "outer/inner/", "outerinner"}) {
        EXPECT_FALSE(folders.hasPath(inner, path)) << path;
    }
}

TEST(FolderTable, AMatchMarksTheFolderAndThoseThatItLiesIn) {
    FolderTable folders;
    const std::int32_t outer = folders.add(ROOT_FOLDER, "outer");
    const std::int32_t inner = folders.add(outer, "inner");
    const std::int32_t below = folders.add(inner, "below");
    const std::int32_t other = folders.add(outer, "other");
    folders.setHasMatches(inner);
    EXPECT_TRUE(folders.hasMatches(outer));
    EXPECT_TRUE(folders.hasMatches(inner));
    EXPECT_FALSE(folders.hasMatches(below));
    EXPECT_FALSE(folders.hasMatches(other));
}

TEST(FolderTable, AFolderAndItsItemLeadToEachOther) {
    FolderTable folders;
    const std::int32_t first = folders.add(ROOT_FOLDER, "first");
    const std::int32_t second = folders.add(ROOT_FOLDER, "second");
    folders.setItem(second, 7);
    EXPECT_LT(folders.item(first), 0);
    EXPECT_EQ(folders.item(second), 7);
    EXPECT_EQ(folders.folderOfItem(7), second);
    EXPECT_EQ(folders.folderOfItem(8), NO_FOLDER);
}

TEST(FolderTable, ALongNameIsTruncated) {
    FolderTable folders;
    const std::int32_t folder = folders.add(ROOT_FOLDER, std::string(FolderTable::MAX_NAME_LENGTH + 1, 'n'));
    EXPECT_EQ(folders.name(folder).size(), FolderTable::MAX_NAME_LENGTH);
}

TEST(FolderTable, NamesAreBounded) {
    FolderTable folders;
    const std::string name(FolderTable::MAX_NAME_LENGTH, 'n');
    std::int32_t last = 0;
    while (folders.add(ROOT_FOLDER, name) > last) {
        ++last;
    }
    EXPECT_LT(folders.add(ROOT_FOLDER, name), 0);
    EXPECT_LE(folders.textBytesWith(0), FolderTable::MAX_TEXT_BYTES);
    EXPECT_EQ(folders.name(last), name);
}

} // namespace
