// The pieces that need no list: order of names, media types, texts, codes, the item store.

#include <gtest/gtest.h>

#include <cerrno>

#include "base/result.h"
#include "list/item_store.h"
#include "media/media_types.h"
#include "mrb/agent.h"
#include "text/collation.h"
#include "text/first_letter.h"
#include "text/search.h"
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

TEST(NameSearch, FindsNamesInEveryScriptWhateverTheCaseAndTheAccents) {
    const struct {
        const char *wanted;
        const char *name;
    } table[] = {
        {"resume", "My Résumé.jpg"},    {"RÉSUMÉ", "resume.jpg"},
        {"strasse", "Hauptstraße.jpg"}, {"smorre", "Smørrebrød.jpg"},
        {"zolw", "Żółw.jpg"},           {"istanbul", "İSTANBUL.jpg"},
        {"ΘΑΛΑΣΣΑ", "η θάλασσα.jpg"},   {"ежик", "Ёжик в тумане.mp4"},
        {"がく", "ガク.jpg"},           {"ｔｏｋｙｏ", "Tokyo.jpg"},
        {"한국", "나의 한국.jpg"},      {"東京", "旅行・東京.jpg"},
        {"محمد", "مُحَمَّد.jpg"},           {"שלום", "שָׁלוֹם.jpg"},
        {"e\u0301te", "Été.jpg"},       {"x.j", "x.jpg"},
    };
    for (const auto &[wanted, name] : table) {
        mrb::NameSearch search(wanted);
        EXPECT_TRUE(search.isIn(name)) << wanted << " in " << name;
    }
}

TEST(NameSearch, DoesNotFindOtherLetters) {
    mrb::NameSearch search("sea");
    for (const char *name : {"", "se a", "see", "морe", "es a"}) {
        EXPECT_FALSE(search.isIn(name)) << name;
    }
}

TEST(NameSearch, BytesThatAreNotUtf8AreSearchedAroundThem) {
    mrb::NameSearch search("na");
    EXPECT_TRUE(search.isIn("\xff\xfena\xc3"));
    EXPECT_FALSE(search.isIn("\xff\xfe"));
}

TEST(NameSearch, AnAccentAloneMeansNothing) {
    EXPECT_FALSE(mrb::NameSearch("\u0301").isMeaningful());
    EXPECT_TRUE(mrb::NameSearch("!").isMeaningful());
}

TEST(FirstLetter, IsTheLetterOfAnIndexInEveryScript) {
    const struct {
        const char *name;
        const char *letter;
    } table[] = {
        {"apple", "A"},  {"Zoo", "Z"},    {"Äpfel", "A"}, {"élan", "E"},     {"3 days", "#"},
        {"", "#"},       {"(live)", "#"}, {"\xff", "#"},  {"😀", "#"},        {"θάλασσα", "Θ"},
        {"Άνοιξη", "Α"}, {"ёжик", "Е"},   {"шар", "Ш"},   {"ｆｕｌｌ", "F"}, {"ガラス", "か"},
        {"ぱん", "は"},  {"ゃ", "や"},    {"ん", "わ"},   {"ア", "あ"},      {"ｱ", "あ"},
        {"漢字", "漢"},  {"𠮷野", "漢"},  {"東京", "漢"}, {"한국", "ㅎ"},    {"까치", "ㄲ"},
        {"שלום", "ש"},   {"مرحبا", "م"},  {"हिन्दी", "ह"}, {"ไทย", "ไ"},      {"٣", "#"},
        {"ßtein", "S"},  {"ẞTEIN", "S"},  {"ﬁsch", "F"},  {"ſonne", "S"},    {"ıssız", "I"},
    };
    for (const auto &[name, letter] : table) {
        EXPECT_EQ(mrb::letterText(mrb::firstLetter(name)), letter) << name;
    }
}

TEST(MediaTypes, TheLastExtensionDecides) {
    EXPECT_EQ(mrb::mediaTypeOf("a.jpg.mp3")->itemType, MRB_ITEM_TYPE_MUSIC);
    EXPECT_EQ(mrb::mediaTypeOf("a.mp3.txt"), nullptr);
}

TEST(MediaTypes, NamesWithoutAnExtensionAreNotMedia) {
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
    ASSERT_TRUE(store.add({.name = "a", .id = {}, .folder = inner, .type = MRB_ITEM_TYPE_IMAGE}, true));
    EXPECT_EQ(store.facts(0).folder, "outer/inner");
}

TEST(ItemStore, AFolderWithAnImpossibleParentStillHasAPath) {
    mrb::ItemStore store;
    const std::int32_t loop = store.addFolder(1, "loop");
    ASSERT_TRUE(store.add({.name = "a", .id = {}, .folder = loop, .type = MRB_ITEM_TYPE_IMAGE}, true));
    EXPECT_EQ(store.facts(0).folder, "loop");
}
