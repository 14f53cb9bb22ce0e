// Pages and groups.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>

#include "list/list.h"
#include "support/client.h"
#include "support/folder.h"

using support::Client;
using support::Folder;
using testing::ElementsAre;

namespace {

int setStyle(const Client &client, const mrb::PageRequest &request) {
    mrb_page_param_h param = nullptr;
    EXPECT_EQ(mrb_create_page_param(&param), MRB_ERR_NONE);
    EXPECT_EQ(mrb_param_set_page_style_mask(param, request.style), MRB_ERR_NONE);
    EXPECT_EQ(mrb_param_set_page_style_order(param, request.order), MRB_ERR_NONE);
    EXPECT_EQ(mrb_param_set_page_style_group_index(param, request.groupIndex), MRB_ERR_NONE);
    EXPECT_EQ(mrb_param_set_page_style_row(param, request.rows), MRB_ERR_NONE);
    EXPECT_EQ(mrb_param_set_page_style_column(param, request.columns), MRB_ERR_NONE);
    EXPECT_EQ(mrb_param_set_page_style_padding(param, request.needPadding), MRB_ERR_NONE);
    const int code = mrb_set_page_style_v2(client.handle, param);
    EXPECT_EQ(mrb_destroy_page_param(param), MRB_ERR_NONE);
    return code;
}

int groups(const Client &client) {
    int count = -1;
    EXPECT_EQ(mrb_get_group_count_v2(client.handle, &count), MRB_ERR_NONE);
    return count;
}

// A ready list of the pictures "1.jpg", "2.jpg"...
class Pictures {
  public:
    explicit Pictures(int count) {
        folder.pictures(1, count);
        client.list(folder.path("1"));
    }
    int page(int picture) const {
        int page = -1;
        const std::string id = "msc:" + folder.path("1/" + std::to_string(picture) + ".jpg");
        EXPECT_EQ(mrb_get_page_index_v2(client.handle, id.c_str(), &page), MRB_ERR_NONE);
        return page;
    }
    const Folder folder;
    Client client;
};

constexpr int PAGED = MRB_PAGE_STYLE_PAGED;

} // namespace

TEST(Pages, AnItemsPageIsCountedFromZero) {
    const Pictures pictures(7);
    EXPECT_EQ(pictures.page(7), 6);
    EXPECT_EQ(setStyle(pictures.client, {.style = PAGED, .rows = 1, .columns = 3}), MRB_ERR_NONE);
    EXPECT_EQ(pictures.page(1), 0);
    EXPECT_EQ(pictures.page(3), 0);
    EXPECT_EQ(pictures.page(4), 1);
    EXPECT_EQ(pictures.page(7), 2);
    EXPECT_EQ(setStyle(pictures.client, {.style = MRB_PAGE_STYLE_LIST}), MRB_ERR_NONE);
    EXPECT_EQ(pictures.page(7), 6);
}

TEST(Pages, PaddingFillsTheLastPageWithBlanks) {
    const Pictures pictures(7);
    const Client &client = pictures.client;
    EXPECT_EQ(setStyle(client, {.style = PAGED, .rows = 2, .columns = 2, .needPadding = true}), MRB_ERR_NONE);
    EXPECT_EQ(client.count(), 8);
    EXPECT_EQ(client.count(MRB_ITEM_TYPE_IMAGE), 7);
    EXPECT_EQ(client.count(MRB_ITEM_TYPE_EMPTY), 1);
    const Json::Value blank = client.item(7);
    EXPECT_EQ(blank["type"], MRB_ITEM_TYPE_EMPTY);
    EXPECT_EQ(blank["type_name"], "empty");
    for (const char *key : {"name", "path", "url", "media_id", "mime_type"}) {
        EXPECT_EQ(blank[key], "") << key;
    }
    for (const char *key : {"size", "modified", "created"}) {
        EXPECT_TRUE(blank.isMember(key) && blank[key].isNull()) << key;
    }
    char *text = nullptr;
    EXPECT_EQ(mrb_get_item_v2(client.handle, 8, &text), MRB_ERR_OUT_OF_RANGE);
    EXPECT_EQ(setStyle(client, {.style = PAGED, .rows = 2, .columns = 2}), MRB_ERR_NONE);
    EXPECT_EQ(client.count(), 7);
}

TEST(Pages, FullPagesAndEmptyListsNeedNoPadding) {
    const mrb::PageRequest style{.style = PAGED, .rows = 2, .columns = 2, .needPadding = true};
    for (const int count : {0, 4, 8}) {
        const Pictures pictures(count);
        EXPECT_EQ(setStyle(pictures.client, style), MRB_ERR_NONE);
        EXPECT_EQ(pictures.client.count(), count);
    }
}

TEST(Pages, ColumnsAreFilledOneAfterTheOther) {
    const Pictures pictures(10);
    const mrb::PageRequest style{
        .style = PAGED, .order = MRB_PAGE_ORDER_COLUMNS, .rows = 2, .columns = 3, .needPadding = true};
    EXPECT_EQ(setStyle(pictures.client, style), MRB_ERR_NONE);
    EXPECT_THAT(pictures.client.all("name"), ElementsAre("1.jpg", "3.jpg", "5.jpg",  //
                                                         "2.jpg", "4.jpg", "6.jpg",  //
                                                         "7.jpg", "9.jpg", "10.jpg", //
                                                         "8.jpg", "", ""));
    EXPECT_EQ(pictures.page(6), 0);
    EXPECT_EQ(pictures.page(8), 1);
}

TEST(Pages, ImpossibleStylesAreInvalidAndChangeNothing) {
    const Pictures pictures(3);
    const Client &client = pictures.client;
    ASSERT_EQ(setStyle(client, {.style = PAGED, .rows = 2, .columns = 2, .needPadding = true}), MRB_ERR_NONE);
    const mrb::PageRequest wrong[] = {
        {.style = PAGED, .rows = 0, .columns = 2},
        {.style = PAGED, .rows = 2, .columns = 0},
        {.style = PAGED, .rows = -1, .columns = -4},
        {.style = PAGED, .rows = 1, .columns = MRB_PAGE_MAX_ROWS + 1},
        {.style = PAGED, .rows = INT32_MAX, .columns = INT32_MAX},
        {.style = PAGED, .order = 2, .rows = 2, .columns = 2},
        {.order = -1},
        {.style = 2},
        {.style = 0x80},
        {.style = -1},
        {.groupIndex = -3},
    };
    for (const mrb::PageRequest &request : wrong) {
        EXPECT_EQ(setStyle(client, request), MRB_ERR_INVALID_PARAMETER);
        EXPECT_EQ(client.count(), 4);
    }
}

TEST(Groups, AListWithoutGroupsHasNone) {
    const Pictures pictures(3);
    EXPECT_EQ(groups(pictures.client), 0);
    EXPECT_EQ(setStyle(pictures.client, {.groupIndex = 1}), MRB_ERR_OUT_OF_RANGE);
    EXPECT_EQ(setStyle(pictures.client, {.groupIndex = MRB_GROUP_ALL}), MRB_ERR_NONE);
    EXPECT_EQ(pictures.client.count(), 3);
}

TEST(Groups, StandAfterTheirHeadings) {
    const Folder folder;
    folder.files({"1.mp3", "2.jpg", "3.mp3", "4.mp4"});
    Client client;
    client.list(folder.path());
    EXPECT_EQ(setStyle(client, {.style = MRB_PAGE_STYLE_GROUP_TYPE, .groupIndex = MRB_GROUP_ALL}),
              MRB_ERR_NONE);
    EXPECT_EQ(groups(client), 3);
    EXPECT_THAT(client.all("name"),
                ElementsAre("image", "2.jpg", "video", "4.mp4", "music", "1.mp3", "3.mp3"));
    EXPECT_EQ(client.count(MRB_ITEM_TYPE_GROUP), 3);
    const Json::Value heading = client.item(4);
    EXPECT_EQ(heading["type"], MRB_ITEM_TYPE_GROUP);
    EXPECT_EQ(heading["group_index"], 2);
    EXPECT_EQ(heading["item_count"], 2);
    EXPECT_EQ(heading["media_id"], "");
}

TEST(Groups, OneCanBeShownAndTheHeadingsAlone) {
    const Folder folder;
    folder.files({"apple.jpg", "Äpfel.jpg", "1.jpg", "brot.jpg", "Привет.jpg"});
    Client client;
    client.list({.path = folder.path(), .sortCategory = "NAME"});
    const int style = MRB_PAGE_STYLE_GROUP_FIRST_LETTER;
    EXPECT_EQ(setStyle(client, {.style = style, .groupIndex = MRB_GROUP_HEADINGS}), MRB_ERR_NONE);
    EXPECT_THAT(client.all("name"), ElementsAre("#", "A", "B", "П"));
    EXPECT_EQ(setStyle(client, {.style = style, .groupIndex = 1}), MRB_ERR_NONE);
    EXPECT_THAT(client.all("name"), ElementsAre("Äpfel.jpg", "apple.jpg"));
    EXPECT_EQ(groups(client), 4);
    EXPECT_EQ(setStyle(client, {.style = style, .groupIndex = 4}), MRB_ERR_OUT_OF_RANGE);
    EXPECT_THAT(client.all("name"), ElementsAre("Äpfel.jpg", "apple.jpg"));
}

TEST(Groups, ASharpSIsOfTheGroupOfS) {
    const Folder folder;
    folder.files({"ßa.jpg", "ẞb.jpg", "sc.jpg", "ta.jpg"});
    Client client;
    client.list(folder.path());
    EXPECT_EQ(
        setStyle(client, {.style = MRB_PAGE_STYLE_GROUP_FIRST_LETTER, .groupIndex = MRB_GROUP_HEADINGS}),
        MRB_ERR_NONE);
    EXPECT_THAT(client.all("name"), ElementsAre("S", "T"));
}

TEST(Groups, AnEmptyViewHasNone) {
    const Folder folder;
    Client client;
    client.list(folder.path());
    for (const int group : {0, 1}) {
        EXPECT_EQ(setStyle(client, {.style = MRB_PAGE_STYLE_GROUP_TYPE, .groupIndex = group}),
                  MRB_ERR_OUT_OF_RANGE);
    }
    EXPECT_EQ(groups(client), 0);
    for (const int group : {int{MRB_GROUP_ALL}, int{MRB_GROUP_HEADINGS}}) {
        EXPECT_EQ(setStyle(client, {.style = MRB_PAGE_STYLE_GROUP_TYPE, .groupIndex = group}), MRB_ERR_NONE);
    }
    EXPECT_EQ(setStyle(client, {.groupIndex = 0}), MRB_ERR_NONE);
}

TEST(Groups, AloneShowNoUpFolderEntry) {
    const Folder folder;
    folder.file("sub/a.jpg");
    folder.file("sub/b.mp3");
    Client client;
    client.list(folder.path());
    ASSERT_EQ(mrb_set_navigation_v2(client.handle, MRB_NAVIGATION_FOLDER), MRB_ERR_NONE);
    ASSERT_EQ(mrb_set_navigation_v2(client.handle, MRB_NAVIGATION_ENTER), MRB_ERR_NONE);
    const int style = MRB_PAGE_STYLE_GROUP_TYPE;
    ASSERT_EQ(setStyle(client, {.style = style, .groupIndex = MRB_GROUP_HEADINGS}), MRB_ERR_NONE);
    EXPECT_THAT(client.all("name"), ElementsAre("image", "music"));
    ASSERT_EQ(setStyle(client, {.style = style, .groupIndex = 1}), MRB_ERR_NONE);
    EXPECT_THAT(client.all("name"), ElementsAre("b.mp3"));
    EXPECT_EQ(client.count(MRB_ITEM_TYPE_UPFOLDER), 0);
    ASSERT_EQ(setStyle(client, {.style = style, .groupIndex = MRB_GROUP_ALL}), MRB_ERR_NONE);
    EXPECT_THAT(client.all("name"), ElementsAre("..", "image", "a.jpg", "music", "b.mp3"));
    ASSERT_EQ(setStyle(client, {.groupIndex = MRB_GROUP_HEADINGS}), MRB_ERR_NONE);
    EXPECT_THAT(client.all("name"), ElementsAre("..", "a.jpg", "b.mp3"));
    // The up-folder entry is there nevertheless.
    ASSERT_EQ(setStyle(client, {.style = style, .groupIndex = 0}), MRB_ERR_NONE);
    EXPECT_EQ(mrb_set_navigation_v2(client.handle, MRB_NAVIGATION_UP), MRB_ERR_NONE);
    EXPECT_THAT(client.all("name"), ElementsAre("sub"));
}

TEST(Groups, MonthsAreNewestFirst) {
    const Folder folder;
    const std::pair<const char *, std::int64_t> files[] = {
        {"a.jpg", 1'700'000'000}, {"b.jpg", 1'700'100'000}, {"c.jpg", 1'600'000'000}, {"d.jpg", -1}};
    for (const auto &[name, seconds] : files) {
        folder.file(name);
        folder.setModified(name, seconds);
    }
    Client client;
    client.list(folder.path());
    EXPECT_EQ(setStyle(client, {.style = MRB_PAGE_STYLE_GROUP_DATE, .groupIndex = MRB_GROUP_ALL}),
              MRB_ERR_NONE);
    EXPECT_THAT(client.all("name"),
                ElementsAre("2023-11", "a.jpg", "b.jpg", "2020-09", "c.jpg", "1969-12", "d.jpg"));
}

TEST(Groups, FoldersAreNamedByTheirPaths) {
    const Folder folder;
    folder.files({"1.jpg", "b/2.jpg", "a/c/3.jpg"});
    Client client;
    client.list({.path = folder.path(), .contentType = "IMAGE"});
    EXPECT_EQ(setStyle(client, {.style = MRB_PAGE_STYLE_GROUP_FOLDER, .groupIndex = MRB_GROUP_ALL}),
              MRB_ERR_NONE);
    EXPECT_THAT(client.all("name"), ElementsAre("", "1.jpg", "a/c", "3.jpg", "b", "2.jpg"));
}

TEST(Groups, AndPagesGoTogether) {
    const Pictures pictures(5);
    EXPECT_EQ(setStyle(pictures.client, {.style = PAGED | MRB_PAGE_STYLE_GROUP_TYPE,
                                         .groupIndex = MRB_GROUP_ALL,
                                         .rows = 2,
                                         .columns = 2,
                                         .needPadding = true}),
              MRB_ERR_NONE);
    EXPECT_EQ(pictures.client.count(), 8);
    EXPECT_EQ(pictures.page(3), 0);
    EXPECT_EQ(pictures.page(4), 1);
}

// A list that grows under a view shows the same as one that was complete before.
TEST(View, FollowsAGrowingListInEveryStyle) {
    std::minstd_rand random(7);
    for (int round = 0; round < 300; ++round) {
        mrb::List growing{mrb::ListOptions{}};
        mrb::List complete{mrb::ListOptions{}};
        mrb::PageStyle style;
        style.grouping = static_cast<mrb::Grouping>(random() % 5);
        style.groupIndex = -static_cast<std::int32_t>(random() % 3);
        style.rows = static_cast<std::int32_t>(1 + random() % 3);
        style.columns = static_cast<std::int32_t>(1 + random() % 3);
        style.byColumns = random() % 2 == 0;
        style.padded = random() % 2 == 0;
        const int navigation = static_cast<int>(random() % 2);
        // A list without a group cannot show its first one, so that style comes with the first item.
        const bool isOfOneGroup = style.grouping != mrb::Grouping::NONE && style.groupIndex == 0;
        const int firstStep = isOfOneGroup ? 1 : 0;
        ASSERT_EQ(growing.cursor().setStyle(style), isOfOneGroup ? MRB_ERR_OUT_OF_RANGE : MRB_ERR_NONE);
        ASSERT_EQ(growing.cursor().navigate(navigation), MRB_ERR_NONE);
        std::int32_t folders = 1;
        for (int step = 0; step < 40; ++step) {
            if (step == firstStep) {
                ASSERT_EQ(growing.cursor().setStyle(style), MRB_ERR_NONE);
            }
            const auto parent = static_cast<std::int32_t>(random() % static_cast<unsigned>(folders));
            const std::string name(1, static_cast<char>('a' + random() % 26));
            mrb::SourceItem item{.name = name, .id = {}, .folder = parent, .type = MRB_ITEM_TYPE_IMAGE};
            item.modified = static_cast<std::int64_t>(random() % 100'000'000);
            if (random() % 4 == 0) {
                item.type = MRB_ITEM_TYPE_FOLDER;
                item.opens = growing.addFolder(parent, name);
                ASSERT_EQ(complete.addFolder(parent, name), item.opens);
                ++folders;
            }
            ASSERT_TRUE(growing.add({&item, 1}) && complete.add({&item, 1}));
            static_cast<void>(growing.size()); // brings the view up to date
        }
        ASSERT_EQ(complete.cursor().setStyle(style), MRB_ERR_NONE);
        ASSERT_EQ(complete.cursor().navigate(navigation), MRB_ERR_NONE);
        ASSERT_EQ(growing.size(), complete.size());
        for (std::int32_t index = 0; index < complete.size(); ++index) {
            const mrb::ListEntry left = *growing.entry(index);
            const mrb::ListEntry right = *complete.entry(index);
            ASSERT_EQ(left.info.name, right.info.name);
            ASSERT_EQ(left.info.type, right.info.type);
            ASSERT_EQ(left.group, right.group);
        }
    }
}

// Each item of the plain view is there once, whatever the layout.
TEST(View, PagesLoseNothing) {
    for (std::int32_t count = 0; count < 40; ++count) {
        mrb::List list{mrb::ListOptions{}};
        for (std::int32_t index = 0; index < count; ++index) {
            const std::string name = std::to_string(index);
            const mrb::SourceItem item{.name = name, .id = {}, .type = MRB_ITEM_TYPE_IMAGE};
            ASSERT_TRUE(list.add({&item, 1}));
        }
        for (const auto &[rows, columns] : {std::pair(1, 1), {2, 3}, {3, 2}, {5, 1}, {1, 5}, {4, 4}}) {
            mrb::PageStyle style;
            style.rows = rows;
            style.columns = columns;
            style.byColumns = true;
            style.padded = true;
            ASSERT_EQ(list.cursor().setStyle(style), MRB_ERR_NONE);
            ASSERT_EQ(list.size() % (rows * columns), 0);
            ASSERT_LT(list.size(), count + rows * columns);
            ASSERT_EQ(list.count(MRB_ITEM_TYPE_IMAGE), count);
            std::vector<bool> seen(static_cast<std::size_t>(count));
            for (std::int32_t index = 0; index < list.size(); ++index) {
                const mrb::ListEntry entry = *list.entry(index);
                if (entry.info.type == MRB_ITEM_TYPE_IMAGE) {
                    const auto item = static_cast<std::size_t>(std::stoi(entry.info.name));
                    EXPECT_FALSE(seen[item]);
                    seen[item] = true;
                    // Each item stays on the page that it had.
                    EXPECT_EQ(static_cast<std::int32_t>(item) / (rows * columns), index / (rows * columns));
                } else {
                    EXPECT_GE(index, count) << "blanks are at the end";
                }
            }
        }
    }
}
