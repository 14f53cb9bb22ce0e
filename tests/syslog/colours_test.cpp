#include "colours.h"

#include <gtest/gtest.h>
#include <string>

namespace {

std::string without(std::string text) {
    text.resize(systemlog::removeColours(text.data(), text.size()));
    return text;
}

TEST(Colours, areRemoved) {
    EXPECT_EQ(without("a.cpp: f(1) > \033[31m[f:1] text\033[0m"), "a.cpp: f(1) > [f:1] text");
    EXPECT_EQ(without("\033[m\033[1;31mx\033[38:5:9my"), "xy");
}

TEST(Colours, areRemovedAtEveryPosition) {
    EXPECT_EQ(without("\033[31m"), "");
    EXPECT_EQ(without("\033[31m\033[0m\033[1m"), "");
    EXPECT_EQ(without("a\033[31m"), "a");
    EXPECT_EQ(without("\033[31ma"), "a");
}

TEST(Colours, otherSequencesStay) {
    for (const char *text : {"", "plain", "\033", "\033[", "\033[3", "\033[31", "\033[2J", "\033]0;title\a",
                             "[31m", "\033[3 1m", "\033\033", "\033[\033["}) {
        EXPECT_EQ(without(text), text);
    }
    EXPECT_EQ(without("\033\033[0m"), "\033");
    EXPECT_EQ(without("\033[\033[0mx"), "\033[x");
}

TEST(Colours, anyOtherByteStays) {
    std::string text;
    for (int byte = 0; byte < 256; ++byte) {
        text += static_cast<char>(byte);
    }
    EXPECT_EQ(without(text), text);
}

} // namespace
