// The contents of one folder, and the order of their names.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "mrb/agent.h"
#include "sources/folder/folder_order.h"
#include "support/names.h"

namespace {

class Uncancelled final : public mrb::ItemSink {
  public:
    bool wants(std::uint8_t /*type*/) const override { return true; }
    const mrb::CancellationToken &cancellation() const override { return cancellation_; }
    void setExpectedTotal(std::int64_t /*total*/) override {}
    std::int32_t addFolder(std::int32_t /*parent*/, std::string_view /*name*/) override { return 0; }
    bool add(std::span<const mrb::SourceItem> /*items*/) override { return true; }

  private:
    const mrb::CancellationToken cancellation_;
};

} // namespace

TEST(FolderOrder, TheFirstAreThoseThatStandFirstInTheEnd) {
    mrb::NaturalOrder order;
    std::vector<std::string> names = support::variedNames(5'000);
    // As file systems return them: at random, sorted, in reverse.
    for (int turn = 0; turn < 3; ++turn) {
        if (turn > 0) {
            std::ranges::sort(names, {}, [&](const std::string &name) { return order.key(name); });
        }
        if (turn == 2) {
            std::ranges::reverse(names);
        }
        mrb::FolderContents contents;
        for (const std::string &name : names) {
            contents.add(name, MRB_ITEM_TYPE_IMAGE);
        }
        const Uncancelled sink;
        mrb::FolderOrder folder(sink);
        mrb::PagedVector<std::uint32_t> all;
        mrb::PagedVector<std::uint32_t> inTwo;
        ASSERT_TRUE(folder.rest(contents, all));
        ASSERT_TRUE(folder.first(contents, 100, inTwo));
        ASSERT_EQ(inTwo.size(), 100U);
        ASSERT_TRUE(folder.rest(contents, inTwo));
        ASSERT_EQ(all.size(), names.size());
        ASSERT_EQ(inTwo.size(), names.size());
        for (std::size_t index = 0; index < all.size(); ++index) {
            ASSERT_EQ(contents.name(all[index]), contents.name(inTwo[index])) << index;
        }
    }
}

TEST(FolderOrder, ASmallFoldersFirstAreAll) {
    mrb::FolderContents contents;
    contents.add("b", MRB_ITEM_TYPE_IMAGE);
    contents.add("a", MRB_ITEM_TYPE_IMAGE);
    const Uncancelled sink;
    mrb::PagedVector<std::uint32_t> order;
    ASSERT_TRUE(mrb::FolderOrder(sink).first(contents, 100, order));
    EXPECT_THAT(order, testing::ElementsAre(1, 0));
}

TEST(FolderContents, KeepsNamesAndWhatIsKnownOfThem) {
    mrb::FolderContents contents;
    contents.add("a.jpg", MRB_ITEM_TYPE_IMAGE);
    contents.add("b.mp3", MRB_ITEM_TYPE_MUSIC, mrb::FileStat{.size = 5});
    EXPECT_FALSE(contents.stat(0));
    EXPECT_EQ(contents.stat(1)->size, 5);
    EXPECT_EQ(contents.type(1), MRB_ITEM_TYPE_MUSIC);
    EXPECT_STREQ(contents.name(0).data(), "a.jpg");
    contents.clear();
    EXPECT_EQ(contents.size(), 0U);
}
