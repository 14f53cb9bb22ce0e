// Arrays and texts in chunks, which do not move while they grow.

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "base/chunks.h"

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
    const std::string longest(mrb::ChunkedText::MAX_LENGTH, 'x');
    texts.add("a");
    const std::uint32_t start = texts.add(longest);
    const std::uint32_t empty = texts.add("");
    EXPECT_EQ(texts.at(start, longest.size()), longest);
    EXPECT_EQ(texts.at(empty, 0), "");
}
