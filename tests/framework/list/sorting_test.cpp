// The order of a list.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "list/sorting.h"
#include "mrb/agent.h"
#include "support/client.h"
#include "support/folder.h"

using support::Client;
using support::Folder;
using testing::ElementsAre;
using testing::ElementsAreArray;

namespace {

std::vector<std::string> sorted(const Folder &folder, const std::string &category,
                                const std::string &contentType = {}) {
    Client client;
    client.list({.path = folder.path(), .contentType = contentType, .sortCategory = category});
    return client.all("name");
}

bool never() { return false; }

mrb::SourceItem item(std::string_view name, std::uint8_t type = MRB_ITEM_TYPE_IMAGE) {
    return {.name = name, .id = {}, .type = type};
}

} // namespace

TEST(Sort, NamesAreInNaturalOrderInEveryScript) {
    const std::vector<std::string> expected = {
        "_1.jpg",    "1.jpg",    "2.jpg",     "10.jpg",    "a 2.jpg",  "a 10.jpg", "Äpfel.jpg",
        "apple.jpg", "Élan.jpg", "zebra.jpg", "Żółw.jpg",  "Άλφα.jpg", "βήτα.jpg", "Ёж.jpg",
        "жук.jpg",   "שלום.jpg", "مرحبا.jpg", "हिन्दी.jpg", "ไทย.jpg",  "가.jpg",   "나.jpg",
        "あ.jpg",    "カ.jpg",   "一.jpg",    "山.jpg",
    };
    const Folder folder;
    for (const std::string &name : expected) {
        folder.file(name);
    }
    EXPECT_THAT(sorted(folder, "NAME"), ElementsAreArray(expected));
    EXPECT_THAT(sorted(folder, "TITLE"), ElementsAreArray(expected));
    EXPECT_THAT(sorted(folder, "NAME DESC"), ElementsAreArray(expected.rbegin(), expected.rend()));
    EXPECT_THAT(sorted(folder, "NAME-"), ElementsAreArray(expected.rbegin(), expected.rend()));
}

TEST(Sort, NamesAreSortedAcrossFoldersAndFoldersComeFirst) {
    const Folder folder;
    folder.file("b/2.jpg");
    folder.file("b/1.jpg");
    folder.file("a/3.jpg");
    folder.file("0.jpg");
    EXPECT_THAT(sorted(folder, "NAME"), ElementsAre("a", "b", "0.jpg", "1.jpg", "2.jpg", "3.jpg"));
    EXPECT_THAT(sorted(folder, "NAME DESC"), ElementsAre("b", "a", "3.jpg", "2.jpg", "1.jpg", "0.jpg"));
}

TEST(Sort, TheSourcesOrderCanBeTurnedRound) {
    const Folder folder;
    folder.file("b/2.jpg");
    folder.file("1.jpg");
    for (const char *category : {"", "FOLDER", "FOLDER ASC"}) {
        EXPECT_THAT(sorted(folder, category), ElementsAre("1.jpg", "b", "2.jpg"));
    }
    EXPECT_THAT(sorted(folder, "FOLDER DESC"), ElementsAre("2.jpg", "b", "1.jpg"));
}

TEST(Sort, DatesAreOldestFirstOrNewestFirstAndEqualsByName) {
    const Folder folder;
    const std::pair<const char *, std::int64_t> files[] = {
        {"d.jpg", 100}, {"c.jpg", 300}, {"b.jpg", 200}, {"a.jpg", 200}, {"e.jpg", -5}};
    for (const auto &[name, seconds] : files) {
        folder.file(name);
        folder.setModified(name, seconds);
    }
    EXPECT_THAT(sorted(folder, "DATE"), ElementsAre("e.jpg", "d.jpg", "a.jpg", "b.jpg", "c.jpg"));
    EXPECT_THAT(sorted(folder, "DATE DESC"), ElementsAre("c.jpg", "a.jpg", "b.jpg", "d.jpg", "e.jpg"));
}

TEST(Sort, SizesAreSmallestFirstOrLargestFirst) {
    const Folder folder;
    folder.file("a.jpg", 30);
    folder.file("b.jpg", 200);
    folder.file("c.jpg", 4);
    EXPECT_THAT(sorted(folder, "SIZE"), ElementsAre("c.jpg", "a.jpg", "b.jpg"));
    EXPECT_THAT(sorted(folder, "SIZE-"), ElementsAre("b.jpg", "a.jpg", "c.jpg"));
}

TEST(Sort, TypesAreInTheOrderOfTheirNumbers) {
    const Folder folder;
    folder.files({"1.m3u", "2.mp3", "3.mp4", "4.jpg", "sub/5.jpg"});
    EXPECT_THAT(sorted(folder, "TYPE"), ElementsAre("sub", "4.jpg", "5.jpg", "3.mp4", "2.mp3", "1.m3u"));
    EXPECT_THAT(sorted(folder, "TYPE DESC"), ElementsAre("sub", "1.m3u", "2.mp3", "3.mp4", "4.jpg", "5.jpg"));
}

TEST(Sort, WhatIsUnknownComesLastEitherWay) {
    mrb::ItemStore store;
    mrb::SourceItem dated = item("b");
    dated.size = 5;
    ASSERT_TRUE(store.add(item("a"), true));
    ASSERT_TRUE(store.add(dated, true));
    EXPECT_THAT(*mrb::sortItems(store, {mrb::SortKey::SIZE, false}, never), ElementsAre(1, 0));
    EXPECT_THAT(*mrb::sortItems(store, {mrb::SortKey::SIZE, true}, never), ElementsAre(1, 0));
}

TEST(Sort, EqualNamesKeepTheSourcesOrderEitherWay) {
    mrb::ItemStore store;
    for (int index = 0; index < 3; ++index) {
        ASSERT_TRUE(store.add(item("a"), true));
    }
    EXPECT_THAT(*mrb::sortItems(store, {mrb::SortKey::NAME, false}, never), ElementsAre(0, 1, 2));
    EXPECT_THAT(*mrb::sortItems(store, {mrb::SortKey::NAME, true}, never), ElementsAre(0, 1, 2));
}

TEST(Sort, ACancelEndsTheShortestSort) {
    mrb::ItemStore store;
    ASSERT_TRUE(store.add(item("a"), true));
    EXPECT_FALSE(mrb::sortItems(store, {mrb::SortKey::NAME, false}, [] { return true; }));
}

TEST(Sort, AnEmptyListSortsToNothing) {
    const mrb::ItemStore store;
    EXPECT_THAT(*mrb::sortItems(store, {mrb::SortKey::NAME, true}, never), testing::IsEmpty());
}
