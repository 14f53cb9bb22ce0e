// Values of metadata.

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "metadata/metadata.h"

TEST(CleanText, IsUtf8OnOneLineOfBoundedLength) {
    EXPECT_EQ(mrb::cleanText("  a\tb\n "), "a b");
    EXPECT_EQ(mrb::cleanText(std::string_view("a\0b", 3)), "a");
    EXPECT_EQ(mrb::cleanText("\xff"), "\uFFFD");
    EXPECT_EQ(mrb::cleanText(" \n"), "");
    std::string wide;
    while (wide.size() < 3 * mrb::Metadata::MAX_TEXT_LENGTH) {
        wide += "山";
    }
    const std::string cut = mrb::cleanText(wide);
    EXPECT_LE(cut.size(), mrb::Metadata::MAX_TEXT_LENGTH);
    EXPECT_GT(cut.size(), mrb::Metadata::MAX_TEXT_LENGTH - 12);
    EXPECT_EQ(cut, wide.substr(0, cut.size()));
    EXPECT_EQ(cut.size() % 3, 0U);
}
