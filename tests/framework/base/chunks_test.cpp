// Containers that keep many things in little memory: chunks, name keys, the order of a folder.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "base/chunks.h"
#include "mrb/agent.h"
#include "sources/folder/folder_order.h"
#include "text/name_keys.h"

namespace {

// Names as they come: of every script, alike at their beginnings, and broken ones.
std::vector<std::string> someNames(std::size_t count) {
    const char *pieces[] = {"DSC_", "img", "IMG ", "É",    "e\u0301",  "ß",   "漢", "か",
                            "ガ",   "한",  "0",    "00",   "9",        "10",  "a",  "A",
                            "-",    ".",   "\xff", "\xc3", "\xe2\x82", "\x01"};
    std::minstd_rand random(11);
    std::vector<std::string> names;
    for (std::size_t index = 0; index < count; ++index) {
        std::string name;
        for (auto length = random() % 6; length > 0; --length) {
            name += pieces[random() % std::size(pieces)];
        }
        names.push_back(name);
    }
    return names;
}

int sign(int value) { return (value > 0) - (value < 0); }

class Unstopped final : public mrb::ItemSink {
  public:
    bool wants(std::uint8_t /*type*/) const override { return true; }
    bool stopped() const override { return false; }
    void announce(std::int64_t /*total*/) override {}
    std::int32_t addFolder(std::int32_t /*parent*/, std::string_view /*name*/) override { return 0; }
    bool add(std::span<const mrb::SourceItem> /*items*/) override { return true; }
};

} // namespace

TEST(ChunkedArray, KeepsEverythingInItsPlaceWhileItGrows) {
    mrb::ChunkedArray<std::int64_t> array;
    EXPECT_TRUE(array.empty());
    array.push_back(0);
    const std::int64_t *first = &array[0];
    for (std::int64_t value = 1; value < 200'000; ++value) {
        array.push_back(value);
    }
    EXPECT_EQ(&array[0], first);
    EXPECT_EQ(array.size(), 200'000U);
    for (std::size_t index = 0; index < array.size(); ++index) {
        ASSERT_EQ(array[index], static_cast<std::int64_t>(index));
    }
    array.clear();
    EXPECT_EQ(array.size(), 0U);
    array.push_back(7);
    EXPECT_EQ(array[0], 7);
}

TEST(ChunkedText, KeepsATextAndItsTailTogether) {
    mrb::ChunkedText texts;
    std::vector<std::pair<std::uint32_t, std::string>> expected;
    std::minstd_rand random(2);
    for (int index = 0; index < 200; ++index) {
        const std::string text(random() % 9'000, static_cast<char>('a' + index % 26));
        const std::string tail(random() % 9'000, '!');
        const std::size_t end = texts.endWith(text.size() + tail.size());
        const std::uint32_t start = texts.add(text, tail);
        EXPECT_EQ(start + text.size() + tail.size(), end);
        expected.emplace_back(start, text + tail);
    }
    for (const auto &[start, text] : expected) {
        EXPECT_EQ(texts.at(start, text.size()), text);
    }
}

TEST(ChunkedText, HoldsTheLongestText) {
    mrb::ChunkedText texts;
    const std::string longest(mrb::ChunkedText::LONGEST, 'x');
    texts.add("a");
    const std::uint32_t start = texts.add(longest);
    const std::uint32_t empty = texts.add("");
    EXPECT_EQ(texts.at(start, longest.size()), longest);
    EXPECT_EQ(texts.at(empty, 0), "");
}

TEST(NaturalOrder, ComparesNamesAsTheirKeysDo) {
    mrb::NaturalOrder order;
    const std::vector<std::string> names = someNames(300);
    for (const std::string &left : names) {
        for (const std::string &right : names) {
            ASSERT_EQ(sign(order.compare(left, right)), sign(order.key(left).compare(order.key(right))))
                << testing::PrintToString(left) << " and " << testing::PrintToString(right);
        }
    }
}

TEST(NameKeys, PrefixesNeverContradictTheKeys) {
    for (const char *beginning : {"", "DSC_0"}) {
        mrb::NameKeys keys;
        std::vector<std::string> names = someNames(300);
        for (std::string &name : names) {
            name.insert(0, beginning);
            keys.add(name);
        }
        mrb::NaturalOrder order;
        for (std::size_t left = 0; left < names.size(); ++left) {
            for (std::size_t right = 0; right < names.size(); ++right) {
                const int expected = sign(order.key(names[left]).compare(order.key(names[right])));
                ASSERT_EQ(sign(keys.compare(left, right)), expected);
                if (keys.prefix(left) != keys.prefix(right)) {
                    ASSERT_EQ(keys.prefix(left) < keys.prefix(right), expected < 0);
                }
            }
        }
    }
}

TEST(NameKeys, ALongNamesKeyIsCutOff) {
    mrb::NameKeys keys;
    const std::string start(60'000, 'x');
    keys.add(start + "a");
    keys.add(start + "b");
    keys.add("a");
    EXPECT_LT(keys.compare(2, 0), 0);
    EXPECT_EQ(keys.compare(0, 0), 0);
}

TEST(FolderOrder, TheFirstAreThoseThatStandFirstInTheEnd) {
    mrb::NaturalOrder order;
    std::vector<std::string> names = someNames(5'000);
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
        const Unstopped sink;
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
    const Unstopped sink;
    mrb::PagedVector<std::uint32_t> order;
    ASSERT_TRUE(mrb::FolderOrder(sink).first(contents, 100, order));
    EXPECT_THAT(order, testing::ElementsAre(1, 0));
}

TEST(FolderContents, KeepsNamesAndWhatIsKnownOfThem) {
    mrb::FolderContents contents;
    contents.add("a.jpg", MRB_ITEM_TYPE_IMAGE);
    contents.add("b.mp3", MRB_ITEM_TYPE_MUSIC, mrb::FileFacts{.size = 5});
    EXPECT_FALSE(contents.facts(0));
    EXPECT_EQ(contents.facts(1)->size, 5);
    EXPECT_EQ(contents.type(1), MRB_ITEM_TYPE_MUSIC);
    EXPECT_STREQ(contents.name(0).data(), "a.jpg");
    contents.clear();
    EXPECT_EQ(contents.size(), 0U);
}
