// Media types by extension.

#include <gtest/gtest.h>

#include "media/media_types.h"
#include "mrb/agent.h"

TEST(MediaTypes, TheLastExtensionDecides) {
    EXPECT_EQ(mrb::mediaTypeOf("a.jpg.mp3")->itemType, MRB_ITEM_TYPE_MUSIC);
    EXPECT_EQ(mrb::mediaTypeOf("a.mp3.txt"), nullptr);
}

TEST(MediaTypes, NamesWithoutAnExtensionAreNotMedia) {
    for (const char *name : {"", ".", "jpg", ".jpg", "a.", "a.jpgg", "a.verylong"}) {
        EXPECT_EQ(mrb::mediaTypeOf(name), nullptr) << name;
    }
}
