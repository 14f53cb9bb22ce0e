// Groups by the files' metadata.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "list/list.h"
#include "mrb/agent.h"
#include "session/grouping_task.h"
#include "support/client.h"
#include "support/folder.h"
#include "support/groups.h"
#include "support/songs.h"

using mrb::FileGroups;
using mrb::Grouping;
using support::Client;
using support::completions;
using support::Event;
using support::Folder;
using support::groupBy;
using support::headings;
using support::waitForGroups;
using testing::ElementsAre;

namespace {

// Songs of several artists, one without tags, a folder and a picture.
class FileGroupsOf : public testing::Test {
  protected:
    FileGroupsOf() {
        support::writeSong(folder_.path("1.flac"), {"Zoë", "Été", "Jazz"});
        support::writeSong(folder_.path("2.flac"), {"Disc 10", "Album 2", "Pop"});
        support::writeSong(folder_.path("3.flac"), {"Disc 2", "Album 10", "Pop"});
        support::writeSong(folder_.path("4.flac"), {});
        support::writeSong(folder_.path("5.flac"), {"東京トリオ", "Été", "Jazz"});
        folder_.file("sub/6.jpg");
        support::writeSong(folder_.path("sub/7.flac"), {"Disc 2", "Album 2", ""});
    }
    const Folder folder_;
    Client client_;
};

} // namespace

TEST_F(FileGroupsOf, ArtistsAlbumsAndGenresStandInNaturalOrderWithTheNamelessLast) {
    client_.list(folder_.path());
    ASSERT_EQ(groupBy(client_, MRB_PAGE_STYLE_GROUP_ARTIST), MRB_ERR_NONE);
    waitForGroups(client_, 1);
    EXPECT_THAT(headings(client_), ElementsAre("Disc 2: 2", "Disc 10: 1", "Zoë: 1", "東京トリオ: 1", ": 3"));
    ASSERT_EQ(groupBy(client_, MRB_PAGE_STYLE_GROUP_ALBUM), MRB_ERR_NONE);
    waitForGroups(client_, 2);
    EXPECT_THAT(headings(client_), ElementsAre("Album 2: 2", "Album 10: 1", "Été: 2", ": 3"));
    ASSERT_EQ(groupBy(client_, MRB_PAGE_STYLE_GROUP_GENRE), MRB_ERR_NONE);
    waitForGroups(client_, 3);
    EXPECT_THAT(headings(client_), ElementsAre("Jazz: 2", "Pop: 2", ": 4"));
    int groups = -1;
    EXPECT_EQ(mrb_get_group_count_v2(client_.handle, &groups), MRB_ERR_NONE);
    EXPECT_EQ(groups, 3);
}

TEST_F(FileGroupsOf, OneOfThemIsShownAlone) {
    client_.list(folder_.path());
    ASSERT_EQ(groupBy(client_, MRB_PAGE_STYLE_GROUP_ARTIST), MRB_ERR_NONE);
    waitForGroups(client_);
    EXPECT_EQ(groupBy(client_, MRB_PAGE_STYLE_GROUP_ARTIST, 0), MRB_ERR_NONE);
    EXPECT_THAT(client_.all("name"), ElementsAre("3.flac", "7.flac"));
    EXPECT_EQ(groupBy(client_, MRB_PAGE_STYLE_GROUP_ARTIST, 5), MRB_ERR_OUT_OF_RANGE);
    EXPECT_EQ(groupBy(client_, MRB_PAGE_STYLE_GROUP_ARTIST, MRB_GROUP_ALL), MRB_ERR_NONE);
    EXPECT_EQ(client_.count(), 8 + 5);
}

TEST_F(FileGroupsOf, AStyleSetBeforeTheListIsReadyIsServedAfterwards) {
    ASSERT_EQ(client_.open(folder_.path()), MRB_ERR_NONE);
    ASSERT_EQ(groupBy(client_, MRB_PAGE_STYLE_GROUP_ARTIST), MRB_ERR_NONE);
    waitForGroups(client_);
    EXPECT_TRUE(std::ranges::any_of(client_.events(),
                                    [](const Event &event) { return support::isLast(event.event); }));
    EXPECT_EQ(headings(client_).size(), 5U);
}

TEST(FileGroupsOfAList, ItemsWhoseFilesWereNotReadYetHaveNoName) {
    mrb::List list{{}};
    const mrb::SourceItem item{.name = "1.flac", .id = {}, .type = MRB_ITEM_TYPE_MUSIC};
    ASSERT_TRUE(list.add(std::vector{item, item}));
    ASSERT_EQ(list.cursor().setStyle({.grouping = Grouping::ARTIST, .groupIndex = MRB_GROUP_HEADINGS}),
              MRB_ERR_NONE);
    ASSERT_EQ(list.groupCount(), 1);
    EXPECT_EQ(list.entry(0)->info.name, "");
    EXPECT_EQ(list.entry(0)->groupItems, 2);
    const FileGroups known{Grouping::ARTIST, {"Zoë"}, {0, FileGroups::NO_GROUP}};
    list.setFileGroups(std::make_shared<const FileGroups>(known));
    ASSERT_EQ(list.groupCount(), 2);
    EXPECT_EQ(list.entry(0)->info.name, "Zoë");
    EXPECT_EQ(list.entry(1)->groupItems, 1);
    // The value of another field does not matter.
    ASSERT_EQ(list.cursor().setStyle({.grouping = Grouping::ALBUM, .groupIndex = MRB_GROUP_HEADINGS}),
              MRB_ERR_NONE);
    EXPECT_EQ(list.groupCount(), 1);
}

TEST_F(FileGroupsOf, WrittenFieldsCount) {
    client_.list({.path = folder_.path(), .sortCategory = "NAME"});
    ASSERT_EQ(mrb_move_to_index_v2(client_.handle, 1), MRB_ERR_NONE);
    ASSERT_EQ(mrb_set_item_value_char_v2(client_.handle, "GENRE", "Opera"), MRB_ERR_NONE);
    ASSERT_EQ(groupBy(client_, MRB_PAGE_STYLE_GROUP_GENRE), MRB_ERR_NONE);
    waitForGroups(client_);
    EXPECT_THAT(headings(client_), testing::Contains("Opera: 1"));
}

TEST_F(FileGroupsOf, TheSelectionOfAGroupIsThatOfItsItems) {
    client_.list(folder_.path());
    ASSERT_EQ(groupBy(client_, MRB_PAGE_STYLE_GROUP_ARTIST), MRB_ERR_NONE);
    waitForGroups(client_);
    ASSERT_EQ(mrb_select_group_v2(client_.handle, 0), MRB_ERR_NONE);
    int selected = -1;
    EXPECT_EQ(mrb_get_selection_count_v2(client_.handle, &selected), MRB_ERR_NONE);
    EXPECT_EQ(selected, 2);
}

TEST_F(FileGroupsOf, ACancelledListIsGroupedToo) {
    ASSERT_EQ(client_.open(folder_.path()), MRB_ERR_NONE);
    ASSERT_EQ(mrb_cancel_request_list_v2(client_.handle), MRB_ERR_NONE);
    client_.waitForEnd();
    ASSERT_EQ(groupBy(client_, MRB_PAGE_STYLE_GROUP_ARTIST), MRB_ERR_NONE);
    waitForGroups(client_);
    EXPECT_EQ(completions(client_.events()), 1);
}

TEST(FileGroupsOfMany, AreLeftAtAnyMoment) {
    const Folder folder;
    for (int number = 0; number < 600; ++number) {
        support::writeSong(
            folder.path(std::to_string(number) + ".flac"),
            {"Artist " + std::to_string(number % 7), "Album " + std::to_string(number % 11), ""});
    }
    for (int round = 0; round < 20; ++round) {
        Client client;
        client.list(folder.path());
        for (int change = 0; change < round; ++change) {
            const int style = change % 2 == 0 ? MRB_PAGE_STYLE_GROUP_ARTIST : MRB_PAGE_STYLE_GROUP_ALBUM;
            EXPECT_EQ(groupBy(client, style), MRB_ERR_NONE);
        }
        if (round % 3 == 0) {
            EXPECT_EQ(mrb_cancel_request_list_v2(client.handle), MRB_ERR_NONE);
        }
        if (round % 4 == 0) {
            client.list(folder.path());
        }
    }
    Client client;
    client.list(folder.path());
    EXPECT_EQ(groupBy(client, MRB_PAGE_STYLE_GROUP_ALBUM), MRB_ERR_NONE);
    waitForGroups(client);
    EXPECT_EQ(client.count(), 11);
}
