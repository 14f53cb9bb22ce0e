// Times and file URIs as text.

#include <gtest/gtest.h>

#include <cstdint>

#include "text/text.h"

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
