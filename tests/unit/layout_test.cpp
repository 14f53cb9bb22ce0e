// The layout that code compiled elsewhere relies on: the order of virtual operations,
// and of members.

#include <array>
#include <cstddef>
#include <cstring>

#include "MRBAdapter.h"
#include "MRBAdapterProvider.h"
#include "MRBAgentAdapter.h"
#include "MRBStorageMgrAdapter.h"
#include "MRBThumbnailAdapter.h"
#include "engine_fixture.h"
#include "function.h"
#include "intercepted_calls.h"
#include "script_class.h"

namespace {

using MRBBridge::CMRBAdapter;
using MRBBridge::CMRBAdapterProvider;
using MRBBridge::CMRBAgentAdapter;
using MRBBridge::CMRBStorageMgrAdapter;
using MRBBridge::CMRBThumbnailAdapter;

constexpr size_t WORD = sizeof(void *);

/// The place of a virtual operation among those of its class, counted from 0. A class with
/// a virtual destructor has two entries for that, the complete and the deleting one.
template <typename Operation>
size_t entryOf(Operation operation) {
    // A pointer to a virtual operation holds its offset in the table, in some variants of
    // the Itanium C++ ABI plus one.
    std::array<size_t, 2> parts{};
    static_assert(sizeof operation == sizeof parts);
    std::memcpy(parts.data(), &operation, sizeof parts);
    return (parts[0] & ~size_t{1}) / WORD;
}

/// Word `index` of an object.
void *wordOf(const void *object, size_t index) {
    void *word = nullptr;
    std::memcpy(&word, static_cast<const char *>(object) + index * WORD, WORD);
    return word;
}

size_t offsetIn(const void *object, const void *member) {
    return static_cast<size_t>(static_cast<const char *>(member) - static_cast<const char *>(object));
}

TEST(Layout, OperationsOfTheScriptClassAreInOrder) {
    using Class = MRBBridge::MRBBridge;
    using Template = void (Class::*)(v8::Local<v8::ObjectTemplate>);
    using Object = void (Class::*)(v8::Local<v8::Object>);
    EXPECT_EQ(entryOf(static_cast<Template>(&Class::bridgeTo)), 2U);
    EXPECT_EQ(entryOf(static_cast<Object>(&Class::bridgeTo)), 3U);
    EXPECT_EQ(entryOf(&Class::contextReady), 4U);
    EXPECT_EQ(entryOf(&Class::getScriptClassName), 5U);
    EXPECT_EQ(entryOf(&Class::mapScriptInterface), 6U);
    EXPECT_EQ(entryOf(&Class::constructFromScript), 7U);
    EXPECT_EQ(entryOf(&Class::destroyFromScript), 8U);
}

TEST(Layout, ScriptClassAddsNoOperationAndNoMember) {
    struct Derived : MRBBridge::MRBBridge {
        virtual void next() {}
    };
    EXPECT_EQ(entryOf(&Derived::next), 9U);
    EXPECT_EQ(sizeof(MRBBridge::MRBBridge), sizeof(Bridge::ScriptBridge));
    EXPECT_EQ(sizeof(MRBBridge::MRBBridge), WORD);
}

TEST(Layout, AdaptersBaseHasItsDestructorThenProviderAndCallbackEntry) {
    struct Derived : CMRBAdapter {
        virtual void next() {}
        static size_t providerOffset(const Derived &object) { return offsetIn(&object, &object.provider_); }
        static size_t entryOffset(const Derived &object) {
            return offsetIn(&object, &object.callback_entry_);
        }
    };
    const Derived object;
    EXPECT_EQ(entryOf(&Derived::next), 2U);
    EXPECT_EQ(Derived::providerOffset(object), WORD);
    EXPECT_EQ(Derived::entryOffset(object), 2 * WORD);
    EXPECT_EQ(sizeof(CMRBAdapter), 3 * WORD);
}

TEST(Layout, ProviderHasItsDestructorAndNoOtherVirtualOperation) {
    struct Derived : CMRBAdapterProvider {
        virtual void next() {}
    };
    EXPECT_EQ(entryOf(&Derived::next), 2U);
}

TEST_F(EngineTest, ProviderHasAgentThumbnailStorageThenSixFunctions) {
    auto *const provider = new CMRBAdapterProvider; // its results are never run
    EXPECT_EQ(sizeof *provider, 10 * WORD);
    const auto adapter = [provider](size_t index) {
        return static_cast<CMRBAdapter *>(wordOf(provider, index));
    };
    EXPECT_NE(dynamic_cast<CMRBAgentAdapter *>(adapter(1)), nullptr);
    EXPECT_NE(dynamic_cast<CMRBThumbnailAdapter *>(adapter(2)), nullptr);
    EXPECT_NE(dynamic_cast<CMRBStorageMgrAdapter *>(adapter(3)), nullptr);

    // A queued result begins with the address of its command's function.
    const QueuedFunctions queued;
    std::vector<size_t> offsets;
    for (const int func : {0, 3, 26, 31, 35, 37}) {
        CMRBAdapterProvider::FireOnCallbacks(func, "", provider);
    }
    for (const QueuedFunction &result : queued.all) {
        offsets.push_back(offsetIn(provider, wordOf(result.data, 0)) / WORD);
    }
    EXPECT_EQ(offsets, (std::vector<size_t>{4, 5, 6, 7, 8, 9}));
    drainMainLoop();
}

TEST_F(EngineTest, EveryAdapterNamesItsProviderAndTheProvidersEntry) {
    auto *const provider = new CMRBAdapterProvider;
    for (const size_t index : {1, 2, 3}) {
        EXPECT_EQ(wordOf(wordOf(provider, index), 1), provider);
        EXPECT_EQ(wordOf(wordOf(provider, index), 2),
                  reinterpret_cast<void *>(&CMRBAdapterProvider::FireOnCallbacks));
    }
}

TEST_F(EngineTest, ThumbnailAdapterHasItsFlagAlone) {
    const auto flag = [](const CMRBThumbnailAdapter &adapter) {
        return reinterpret_cast<const unsigned char *>(&adapter)[sizeof(CMRBAdapter)];
    };
    EXPECT_EQ(sizeof(CMRBThumbnailAdapter), 4 * WORD);
    EXPECT_EQ(flag(CMRBThumbnailAdapter()), 1);
    recording::functions().at("thumbnail_init")->queue({int64_t{-1}, {}});
    EXPECT_EQ(flag(CMRBThumbnailAdapter()), 0);
}

TEST(Layout, StorageAdapterHasNoMemberOfItsOwn) {
    EXPECT_EQ(sizeof(CMRBStorageMgrAdapter), sizeof(CMRBAdapter));
}

TEST(Layout, ThumbnailsContextHasAdapterNumberFlagAndPaths) {
    using Context = MRBBridge::ThumbRequestContext;
    EXPECT_EQ(offsetof(Context, adapter), 0U);
    EXPECT_EQ(offsetof(Context, user_data), WORD);
    EXPECT_EQ(offsetof(Context, use_flash_cache), WORD + 4);
    EXPECT_EQ(offsetof(Context, save_paths), 2 * WORD > WORD + 8 ? 2 * WORD : WORD + 8);
}

TEST_F(EngineTest, QueuedResultHasTheFunctionsAddressThenTheText) {
    auto *const provider = new CMRBAdapterProvider;
    const QueuedFunctions queued;
    CMRBAdapterProvider::FireOnCallbacks(0, "short", provider);
    ASSERT_EQ(queued.all.size(), 1U);
    const void *const place = static_cast<const char *>(queued.all[0].data) + WORD;
    const auto *text = static_cast<const std::string *>(place);
    EXPECT_EQ(*text, "short");
    drainMainLoop();
}

} // namespace
