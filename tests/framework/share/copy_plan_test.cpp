// The plan of a copy.

#include <gtest/gtest.h>

#include "share/copy_plan.h"

TEST(CommonFolder, IsMadeOfWholeNames) {
    EXPECT_EQ(mrb::commonFolder("a/b", "a/b"), "a/b");
    EXPECT_EQ(mrb::commonFolder("a/b", "a/bc"), "a");
    EXPECT_EQ(mrb::commonFolder("a/b/c", "a/b"), "a/b");
    EXPECT_EQ(mrb::commonFolder("a", "b"), "");
    EXPECT_EQ(mrb::commonFolder("", "b"), "");
}
