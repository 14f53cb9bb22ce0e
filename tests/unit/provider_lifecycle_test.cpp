// The provider's construction and destruction when they fail, and the order of its
// destruction.

#include <stdexcept>

#include "MRBAdapterProvider.h"
#include "MRBAgentAdapter.h"
#include "MRBStorageMgrAdapter.h"
#include "MRBThumbnailAdapter.h"
#include "engine_fixture.h"
#include "function.h"
#include "intercepted_calls.h"
#include "script_class.h"

namespace {

using Bridge::ScriptArray;
using MRBBridge::CMRBAdapterProvider;
using Lines = std::vector<std::string>;

class ProviderLifecycle : public EngineTest {
  protected:
    static void throwNext(const char *function) {
        recording::Reply reply;
        reply.throws = true;
        recording::functions().at(function)->queue(reply);
    }

    static void *construct() { return MRBBridge::MRBBridge().constructFromScript(ScriptArray()); }

    /// Storage that was queued to be freed when all results before it have run.
    static void *queuedStorage(const QueuedFunctions &queued) {
        return queued.all.size() == 1 ? queued.all[0].data : nullptr;
    }
};

TEST_F(ProviderLifecycle, ExceptionOfAnAdaptersConstructorReachesTheCaller) {
    throwNext("thumbnail_init");
    EXPECT_THROW(construct(), std::runtime_error);
    EXPECT_EQ(calls(), Lines{"thumbnail_init()"});
    EXPECT_EQ(takeLog(), (Lines{PROVIDER + "CMRBAdapterProvider: create CMRBAdapterProvider.",
                                THUMBNAIL + "CMRBThumbnailAdapter: create CMRBThumbnailAdapter..."}));
    drainMainLoop();
}

TEST_F(ProviderLifecycle, StorageOfAProviderThatCouldNotBeCreatedIsFreed) {
    const QueuedFunctions queued;
    throwNext("thumbnail_init");
    EXPECT_THROW(construct(), std::runtime_error);
    EXPECT_NE(queuedStorage(queued), nullptr);
    drainMainLoop();
}

TEST_F(ProviderLifecycle, AdaptersCreatedBeforeTheOneThatThrowsAreNotReleased) {
    for (const size_t size :
         {sizeof(MRBBridge::CMRBAgentAdapter), sizeof(MRBBridge::CMRBStorageMgrAdapter)}) {
        forget();
        {
            const FailingAllocation failing(size);
            EXPECT_THROW(construct(), std::bad_alloc);
        }
        EXPECT_EQ(calls(), Lines{"thumbnail_init()"}) << size;
        EXPECT_EQ(takeLog(), (Lines{PROVIDER + "CMRBAdapterProvider: create CMRBAdapterProvider.",
                                    THUMBNAIL + "CMRBThumbnailAdapter: create CMRBThumbnailAdapter...",
                                    THUMBNAIL + "CMRBThumbnailAdapter: thumbnail_init [1]..."}));
    }
    drainMainLoop();
}

TEST_F(ProviderLifecycle, ThumbnailAdapterThatCannotBeAllocatedCallsNothing) {
    {
        const FailingAllocation failing(sizeof(MRBBridge::CMRBThumbnailAdapter));
        EXPECT_THROW(construct(), std::bad_alloc);
    }
    EXPECT_EQ(calls(), Lines{});
    drainMainLoop();
}

TEST_F(ProviderLifecycle, ProvidersAreCreatedAfterOneThatFailed) {
    throwNext("thumbnail_init");
    EXPECT_THROW(construct(), std::runtime_error);
    drainMainLoop();
    void *const native = construct();
    ASSERT_NE(native, nullptr);
    MRBBridge::MRBBridge().destroyFromScript(native);
    drainMainLoop();
}

TEST_F(ProviderLifecycle, FunctionsAreReleasedFromTheLastToTheFirstAfterTheAdapters) {
    auto *const provider = new CMRBAdapterProvider;
    for (const int func : {0, 3, 26, 31, 35, 37}) {
        const Values arguments = {evaluate("(function f" + std::to_string(func) + "() {})")};
        provider->ExecuteWithCallback(func, ScriptArray(arguments));
    }
    forget();
    const DestroyedFunctions destroyed;
    delete provider;
    EXPECT_EQ(destroyed.names, (Lines{"f37", "f35", "f31", "f26", "f3", "f0"}));
    EXPECT_EQ(destroyed.events_before, recording::events().size());
    EXPECT_TRUE(takeLog().back().starts_with(STORAGE + "~CMRBStorageMgrAdapter: strFinalizeDlna"));
    drainMainLoop();
}

// Each of these ends a copy of this process.

TEST_F(ProviderLifecycle, ExceptionThatLeavesAnAdaptersDestructorEndsTheProcess) {
    for (const char *function : {"thumbnail_finalize", "mrb_unset_usb_callback", "mrb_unset_dlna_callback",
                                 "mrb_finalize_dlna_service"}) {
        auto *const provider = new CMRBAdapterProvider;
        throwNext(function);
        EXPECT_DEATH(delete provider, "terminate called after throwing") << function;
        forget();
    }
}

} // namespace
