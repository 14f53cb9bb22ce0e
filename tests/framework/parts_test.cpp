// The pieces that need no list: order of names, media types, texts, codes, the item store.

#include <gtest/gtest.h>

#include <cerrno>

#include "base/result.h"
#include "list/item_store.h"
#include "media/media_types.h"
#include "mrb/agent.h"
#include "text/collation.h"
#include "text/text.h"

TEST(NaturalOrder, DifferentNamesHaveDifferentKeys) {
    mrb::NaturalOrder order;
    EXPECT_NE(order.key("a"), order.key("a\x01"));
    EXPECT_NE(order.key("1"), order.key("01"));
    EXPECT_NE(order.key("\xff"), order.key("\xfe"));
}

TEST(NaturalOrder, AnEmptyNameComesFirst) {
    mrb::NaturalOrder order;
    EXPECT_LT(order.key(""), order.key("0"));
}

TEST(NaturalOrder, LongNumbersCountByTheirValue) {
    mrb::NaturalOrder order;
    EXPECT_LT(order.key("99999999999999999999"), order.key("100000000000000000000"));
}

TEST(MediaTypes, TheLastExtensionDecides) {
    EXPECT_EQ(mrb::mediaTypeOf("a.jpg.mp3")->itemType, MRB_ITEM_TYPE_MUSIC);
    EXPECT_EQ(mrb::mediaTypeOf("a.mp3.txt"), nullptr);
}

TEST(MediaTypes, NamesWithoutAnExtensionAreNoMedia) {
    for (const char *name : {"", ".", "jpg", ".jpg", "a.", "a.jpgg", "a.verylong"}) {
        EXPECT_EQ(mrb::mediaTypeOf(name), nullptr) << name;
    }
}

TEST(Texts, ATimeThatNoCalendarShowsIsNull) {
    EXPECT_TRUE(mrb::isoTime(INT64_MAX).isNull());
    EXPECT_EQ(mrb::isoTime(0), "1970-01-01T00:00:00Z");
}

TEST(Texts, UrisOfOtherMachinesNameNoPath) {
    EXPECT_EQ(mrb::pathOfFileUri("file:///a%20b").value_or(""), "/a b");
    EXPECT_FALSE(mrb::pathOfFileUri("file://host/a"));
    EXPECT_FALSE(mrb::pathOfFileUri("http://host/a"));
    EXPECT_FALSE(mrb::pathOfFileUri("file:///a%00b"));
}

TEST(Results, EveryCodeHasItsName) {
    for (int code = MRB_ERR_CORRUPT; code <= MRB_ERR_NONE; ++code) {
        EXPECT_STRNE(mrb::resultName(code), "MRB_ERR_UNKNOWN") << code;
    }
    EXPECT_STREQ(mrb::resultName(1), "MRB_ERR_UNKNOWN");
}

TEST(Results, ErrorsOfTheSystemKeepTheirMeaning) {
    EXPECT_EQ(mrb::resultOfErrno(ENODEV), MRB_ERR_DEVICE_REMOVED);
    EXPECT_EQ(mrb::resultOfErrno(EIO), MRB_ERR_IO);
    EXPECT_EQ(mrb::resultOfErrno(EPROTO), MRB_ERR_IO);
    EXPECT_EQ(mrb::outcomeOfErrno(ENOENT, "/x").message, "/x: No such file or directory");
}

TEST(ItemStore, PathsAreBuiltFromTheFoldersOnTheWay) {
    mrb::ItemStore store;
    const std::int32_t outer = store.addFolder(mrb::ROOT_FOLDER, "outer");
    const std::int32_t inner = store.addFolder(outer, "inner");
    ASSERT_TRUE(store.add({.name = "a", .id = {}, .folder = inner, .type = MRB_ITEM_TYPE_IMAGE}));
    EXPECT_EQ(store.facts(0).folder, "outer/inner");
}

TEST(ItemStore, AFolderWithAnImpossibleParentStillHasAPath) {
    mrb::ItemStore store;
    const std::int32_t loop = store.addFolder(1, "loop");
    ASSERT_TRUE(store.add({.name = "a", .id = {}, .folder = loop, .type = MRB_ITEM_TYPE_IMAGE}));
    EXPECT_EQ(store.facts(0).folder, "loop");
}
