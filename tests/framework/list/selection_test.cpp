// The selection of a list: which calls select which items.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "list/list.h"
#include "support/client.h"
#include "support/fields.h"
#include "support/folder.h"

using support::Client;
using support::Folder;
using testing::IsEmpty;

namespace {

int setStyle(const Client &client, int style, int groupIndex = MRB_GROUP_ALL, int rows = 1, int columns = 1,
             bool padding = false) {
    mrb_page_param_h param = nullptr;
    EXPECT_EQ(mrb_create_page_param(&param), MRB_ERR_NONE);
    mrb_param_set_page_style_mask(param, style);
    mrb_param_set_page_style_group_index(param, groupIndex);
    mrb_param_set_page_style_row(param, rows);
    mrb_param_set_page_style_column(param, columns);
    mrb_param_set_page_style_padding(param, padding);
    const int code = mrb_set_page_style_v2(client.handle, param);
    EXPECT_EQ(mrb_destroy_page_param(param), MRB_ERR_NONE);
    return code;
}

int toggle(const Client &client, const std::string &name) {
    return mrb_toggle_select_v2(client.handle, support::indexOf(client, name));
}

bool isSelected(const Client &client, int index) {
    bool selected = false;
    EXPECT_EQ(mrb_get_selected_state_v2(client.handle, index, &selected), MRB_ERR_NONE);
    return selected;
}

int selectionCount(const Client &client) {
    int count = -1;
    EXPECT_EQ(mrb_get_selection_count_v2(client.handle, &count), MRB_ERR_NONE);
    return count;
}

// The names of the entries of the view that are selected.
std::vector<std::string> selected(const Client &client) {
    std::vector<std::string> names;
    const std::vector<std::string> all = client.all("name");
    for (std::size_t index = 0; index < all.size(); ++index) {
        if (isSelected(client, static_cast<int>(index))) {
            names.push_back(all[index]);
        }
    }
    return names;
}

void showFolders(const Client &client) {
    EXPECT_EQ(mrb_set_navigation_v2(client.handle, MRB_NAVIGATION_FOLDER), MRB_ERR_NONE);
}

void enter(const Client &client, const std::string &name) {
    EXPECT_EQ(support::enter(client, support::indexOf(client, name)), MRB_ERR_NONE);
}

void makeMedia(const Folder &folder) {
    folder.files({"a.jpg", "b.mp3", "c.mp4", "d.jpg", "sub/e.jpg", "sub/f.mp3"}, 10);
}

void group(const Client &client, int style, int groupIndex = MRB_GROUP_ALL) {
    EXPECT_EQ(setStyle(client, style, groupIndex), MRB_ERR_NONE);
}

struct Case {
    const char *name;
    void (*act)(const Client &client);
    std::vector<std::string> selected; // of "a.jpg", "b.mp3", "c.mp4", "d.jpg", "sub", "e.jpg", "f.mp3"
};

const std::vector<Case> &cases() {
    static const auto &table = *new std::vector<Case>{
        {"NothingAtFirst", [](const Client & /*client*/) {}, {}},
        {"AToggleSelects", [](const Client &client) { toggle(client, "d.jpg"); }, {"d.jpg"}},
        {"ASecondToggleDeselects",
         [](const Client &client) {
             toggle(client, "d.jpg");
             toggle(client, "a.jpg");
             toggle(client, "d.jpg");
         },
         {"a.jpg"}},
        {"AFolderIsAnItemLikeOthers", [](const Client &client) { toggle(client, "sub"); }, {"sub"}},
        {"AllSelectsEverything",
         [](const Client &client) { mrb_select_all_v2(client.handle); },
         {"a.jpg", "b.mp3", "c.mp4", "d.jpg", "sub", "e.jpg", "f.mp3"}},
        {"AllInAFolderSelectsWhatIsInIt",
         [](const Client &client) {
             showFolders(client);
             enter(client, "sub");
             mrb_select_all_v2(client.handle);
         },
         {"e.jpg", "f.mp3"}},
        {"AllAddsToWhatIsSelectedElsewhere",
         [](const Client &client) {
             showFolders(client);
             toggle(client, "c.mp4");
             enter(client, "sub");
             mrb_select_all_v2(client.handle);
         },
         {"c.mp4", "e.jpg", "f.mp3"}},
        {"AllInOneGroupSelectsThatGroup",
         [](const Client &client) {
             group(client, MRB_PAGE_STYLE_GROUP_TYPE, 1);
             mrb_select_all_v2(client.handle);
         },
         {"a.jpg", "d.jpg", "e.jpg"}},
        {"DeselectAllReachesWhatIsNotShown",
         [](const Client &client) {
             mrb_select_all_v2(client.handle);
             showFolders(client);
             enter(client, "sub");
             mrb_deselect_all_v2(client.handle);
         },
         {}},
        {"AGroupSelectsItsItems",
         [](const Client &client) {
             group(client, MRB_PAGE_STYLE_GROUP_TYPE);
             mrb_select_group_v2(client.handle, 3);
         },
         {"b.mp3", "f.mp3"}},
        {"AGroupIsSelectedThoughOnlyHeadingsAreShown",
         [](const Client &client) {
             group(client, MRB_PAGE_STYLE_GROUP_TYPE, MRB_GROUP_HEADINGS);
             mrb_select_group_v2(client.handle, 2);
         },
         {"c.mp4"}},
        {"AGroupIsDeselectedWhileAnotherIsShown",
         [](const Client &client) {
             mrb_select_all_v2(client.handle);
             group(client, MRB_PAGE_STYLE_GROUP_TYPE, 0);
             mrb_deselect_group_v2(client.handle, 1);
         },
         {"b.mp3", "c.mp4", "sub", "f.mp3"}},
        {"AGroupSelectedTwiceStaysSelected",
         [](const Client &client) {
             group(client, MRB_PAGE_STYLE_GROUP_FOLDER);
             mrb_select_group_v2(client.handle, 1);
             mrb_select_group_v2(client.handle, 1);
         },
         {"e.jpg", "f.mp3"}},
        {"WalkingThroughFoldersKeepsIt",
         [](const Client &client) {
             toggle(client, "b.mp3");
             showFolders(client);
             enter(client, "sub");
             toggle(client, "e.jpg");
         },
         {"b.mp3", "e.jpg"}},
        {"PagesKeepIt",
         [](const Client &client) {
             toggle(client, "b.mp3");
             EXPECT_EQ(setStyle(client, MRB_PAGE_STYLE_PAGED, MRB_GROUP_ALL, 2, 2, true), MRB_ERR_NONE);
             mrb_toggle_select_v2(client.handle, 6);
         },
         {"b.mp3", "f.mp3"}},
        {"TheWalkByTypeSelectsThoseTypes",
         [](const Client &client) {
             // As the script command does: clear, then toggle what has the type.
             mrb_select_all_v2(client.handle);
             mrb_deselect_all_v2(client.handle);
             for (int index = 0; index < client.count(); ++index) {
                 const int type = client.item(index)["type"].asInt();
                 if (type == MRB_ITEM_TYPE_IMAGE || type == MRB_ITEM_TYPE_VIDEO) {
                     mrb_toggle_select_v2(client.handle, index);
                 }
             }
         },
         {"a.jpg", "c.mp4", "d.jpg", "e.jpg"}},
    };
    return table;
}

class SelectionOf : public testing::TestWithParam<Case> {};

} // namespace

TEST_P(SelectionOf, TheFlatListHolds) {
    const Folder folder;
    makeMedia(folder);
    Client client;
    client.list(folder.path());
    GetParam().act(client);
    EXPECT_EQ(setStyle(client, MRB_PAGE_STYLE_LIST), MRB_ERR_NONE);
    EXPECT_EQ(mrb_set_navigation_v2(client.handle, MRB_NAVIGATION_FLAT), MRB_ERR_NONE);
    EXPECT_EQ(selected(client), GetParam().selected);
    EXPECT_EQ(selectionCount(client), static_cast<int>(GetParam().selected.size()));
}

INSTANTIATE_TEST_SUITE_P(Selection, SelectionOf, testing::ValuesIn(cases()),
                         [](const auto &entry) { return std::string(entry.param.name); });

TEST(Selection, IsKeptWhenTheListGrowsAndWhenItIsSortedAtItsEnd) {
    mrb::List list({.sort = {.key = mrb::SortKey::NAME, .descending = true}});
    const mrb::SourceItem first[] = {{.name = "a.jpg", .type = MRB_ITEM_TYPE_IMAGE},
                                     {.name = "b.jpg", .type = MRB_ITEM_TYPE_IMAGE}};
    const mrb::SourceItem second[] = {{.name = "c.jpg", .type = MRB_ITEM_TYPE_IMAGE}};
    ASSERT_TRUE(list.add(first));
    EXPECT_EQ(list.selection().toggle(0), MRB_ERR_NONE);
    ASSERT_TRUE(list.add(second));
    EXPECT_EQ(list.selection().isSelected(0), true);
    ASSERT_TRUE(list.sort([] { return false; }, nullptr));
    EXPECT_EQ(list.entry(2)->info.name, "a.jpg");
    EXPECT_EQ(list.selection().isSelected(2), true);
    EXPECT_EQ(list.selection().isSelected(0), false);
    EXPECT_EQ(list.selection().count(), 1);
}

TEST(Selection, AHeadingIsSelectedWhenItsWholeGroupIs) {
    const Folder folder;
    makeMedia(folder);
    Client client;
    client.list({.path = folder.path(), .contentType = "IMAGE"});
    group(client, MRB_PAGE_STYLE_GROUP_TYPE);
    EXPECT_FALSE(isSelected(client, 0));
    toggle(client, "a.jpg");
    toggle(client, "d.jpg");
    EXPECT_FALSE(isSelected(client, 0));
    toggle(client, "e.jpg");
    EXPECT_TRUE(isSelected(client, 0));
}

TEST(Selection, HeadingsUpFolderEntriesAndBlanksCannotBeSelected) {
    const Folder folder;
    makeMedia(folder);
    Client client;
    client.list(folder.path());
    group(client, MRB_PAGE_STYLE_GROUP_TYPE);
    EXPECT_EQ(mrb_toggle_select_v2(client.handle, 0), MRB_ERR_NOT_SUPPORTED);
    EXPECT_EQ(setStyle(client, MRB_PAGE_STYLE_PAGED, MRB_GROUP_ALL, 2, 4, true), MRB_ERR_NONE);
    EXPECT_EQ(client.item(7)["type"], MRB_ITEM_TYPE_EMPTY);
    EXPECT_EQ(mrb_toggle_select_v2(client.handle, 7), MRB_ERR_NOT_SUPPORTED);
    EXPECT_FALSE(isSelected(client, 7));
    EXPECT_EQ(setStyle(client, MRB_PAGE_STYLE_LIST), MRB_ERR_NONE);
    enter(client, "sub");
    EXPECT_EQ(mrb_toggle_select_v2(client.handle, 0), MRB_ERR_NOT_SUPPORTED);
    EXPECT_FALSE(isSelected(client, 0));
    EXPECT_EQ(selectionCount(client), 0);
}

TEST(Selection, IndexesThatDoNotExistAreOutOfRange) {
    const Folder folder;
    makeMedia(folder);
    Client client;
    client.list(folder.path());
    bool state = true;
    for (const int index : {-1, 7, INT32_MAX, INT32_MIN}) {
        EXPECT_EQ(mrb_toggle_select_v2(client.handle, index), MRB_ERR_OUT_OF_RANGE) << index;
        EXPECT_EQ(mrb_get_selected_state_v2(client.handle, index, &state), MRB_ERR_OUT_OF_RANGE) << index;
        EXPECT_EQ(mrb_select_group_v2(client.handle, index), MRB_ERR_OUT_OF_RANGE) << index;
    }
    EXPECT_TRUE(state);
    // Without groups there is not even a first one.
    EXPECT_EQ(mrb_select_group_v2(client.handle, 0), MRB_ERR_OUT_OF_RANGE);
    group(client, MRB_PAGE_STYLE_GROUP_TYPE);
    EXPECT_EQ(mrb_deselect_group_v2(client.handle, 4), MRB_ERR_OUT_OF_RANGE);
    EXPECT_EQ(mrb_deselect_group_v2(client.handle, 3), MRB_ERR_NONE);
}

TEST(Selection, AnEmptyListHasNothingToSelect) {
    const Folder folder;
    Client client;
    client.list(folder.path());
    EXPECT_EQ(mrb_select_all_v2(client.handle), MRB_ERR_NONE);
    EXPECT_EQ(selectionCount(client), 0);
}

TEST(Selection, AReopenedListBeginsWithNothingSelected) {
    const Folder folder;
    makeMedia(folder);
    Client client;
    client.list(folder.path());
    mrb_select_all_v2(client.handle);
    EXPECT_EQ(client.open({.path = folder.path(), .sortCategory = "SIZE"}), MRB_ERR_NONE);
    client.waitForEnd(2);
    EXPECT_EQ(selectionCount(client), 0);
    EXPECT_THAT(selected(client), IsEmpty());
}

TEST(Selection, TwoListsOfOneFolderHaveSelectionsOfTheirOwn) {
    const Folder folder;
    makeMedia(folder);
    Client one;
    Client other;
    one.list(folder.path());
    other.list(folder.path());
    mrb_select_all_v2(one.handle);
    EXPECT_EQ(selectionCount(other), 0);
}

TEST(Selection, AnUnknownHandleIsRefused) {
    int count = -1;
    bool state = false;
    EXPECT_EQ(mrb_select_all_v2(0), MRB_ERR_INVALID_HANDLE);
    EXPECT_EQ(mrb_deselect_all_v2(0), MRB_ERR_INVALID_HANDLE);
    EXPECT_EQ(mrb_select_group_v2(0, 0), MRB_ERR_INVALID_HANDLE);
    EXPECT_EQ(mrb_deselect_group_v2(0, 0), MRB_ERR_INVALID_HANDLE);
    EXPECT_EQ(mrb_get_selected_state_v2(0, 0, &state), MRB_ERR_INVALID_HANDLE);
    EXPECT_EQ(mrb_get_selection_count_v2(0, &count), MRB_ERR_INVALID_HANDLE);
    EXPECT_EQ(mrb_toggle_select_v2(0, 0), MRB_ERR_INVALID_HANDLE);
    EXPECT_EQ(mrb_get_selected_state_v2(0, 0, nullptr), MRB_ERR_INVALID_PARAMETER);
    EXPECT_EQ(mrb_get_selection_count_v2(0, nullptr), MRB_ERR_INVALID_PARAMETER);
    EXPECT_EQ(count, -1);
}
