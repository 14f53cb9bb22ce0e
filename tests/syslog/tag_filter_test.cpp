#include "tag_filter.h"

#include <gtest/gtest.h>

namespace {

using systemlog::TagFilter;

TEST(TagFilter, admitsEverythingWithoutAList) {
    for (const char *list : {static_cast<const char *>(nullptr), "", ",", " , ,"}) {
        EXPECT_TRUE(TagFilter(list).admits("MRB-BRIDGE-AGENT"));
        EXPECT_TRUE(TagFilter(list).admits(""));
    }
}

TEST(TagFilter, admitsTheTagsOfItsList) {
    const TagFilter filter("MRB-BRIDGE-AGENT,MRB");
    EXPECT_TRUE(filter.admits("MRB-BRIDGE-AGENT"));
    EXPECT_TRUE(filter.admits("MRB"));
    EXPECT_FALSE(filter.admits("MRB-BRIDGE-COMMON"));
    EXPECT_FALSE(filter.admits("MRB-BRIDGE"));
    EXPECT_FALSE(filter.admits(""));
}

TEST(TagFilter, matchesTheLastWordOfATag) {
    const TagFilter filter("agent");
    EXPECT_TRUE(filter.admits("MRB-BRIDGE-AGENT"));
    EXPECT_TRUE(filter.admits("agent"));
    EXPECT_FALSE(filter.admits("MRB-BRIDGE-AGENTS"));
    EXPECT_FALSE(filter.admits("USERAGENT"));
    EXPECT_FALSE(TagFilter("bridge").admits("MRB-BRIDGE-AGENT"));
    EXPECT_FALSE(TagFilter("mrb").admits("MRB-BRIDGE-AGENT"));
}

TEST(TagFilter, ignoresCaseAndSpaces) {
    const TagFilter filter(" Common , mrb-bridge-THUMBNAIL,");
    EXPECT_TRUE(filter.admits("MRB-BRIDGE-COMMON"));
    EXPECT_TRUE(filter.admits("MRB-BRIDGE-THUMBNAIL"));
    EXPECT_FALSE(filter.admits("MRB-BRIDGE-AGENT"));
}

} // namespace
