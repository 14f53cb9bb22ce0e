// The deleter of what C libraries make.

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>

#include "base/deleter.h"

namespace {

const void *ended = nullptr;

struct Thing {
    int *endings = nullptr;
};

void endThing(Thing *thing) { ++*thing->endings; }

void endAndClear(Thing **thing) {
    ++*(*thing)->endings;
    *thing = nullptr;
}

void endAny(void *thing) { ended = thing; }

TEST(Deleter, CallsAFunctionThatTakesTheObject) {
    int endings = 0;
    Thing thing{&endings};
    { const std::unique_ptr<Thing, mrb::Deleter<endThing>> owner(&thing); }
    EXPECT_EQ(endings, 1);
}

TEST(Deleter, CallsAFunctionThatTakesThePointersAddress) {
    int endings = 0;
    Thing thing{&endings};
    { const std::unique_ptr<Thing, mrb::Deleter<endAndClear>> owner(&thing); }
    EXPECT_EQ(endings, 1);
}

TEST(Deleter, PassesTheObjectToAFunctionThatTakesAnyPointer) {
    Thing thing;
    { const std::unique_ptr<Thing, mrb::Deleter<endAny>> owner(&thing); }
    EXPECT_EQ(ended, &thing);
}

TEST(Deleter, TakesNoRoomInTheOwner) {
    EXPECT_EQ(sizeof(std::unique_ptr<Thing, mrb::Deleter<endThing>>), sizeof(Thing *));
}

// With a sanitizer the leak would show.
TEST(Deleter, FreesMemoryOfMalloc) {
    const mrb::MallocPtr<char> memory(static_cast<char *>(std::malloc(1)));
    ASSERT_TRUE(memory);
}

} // namespace
