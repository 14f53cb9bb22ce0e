// The bridge releases what it allocates, measured over ten thousand runs: the process
// must not grow. AddressSanitizer cannot detect it, since the engine keeps references.

#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <thread>

#include "MRBAdapterProvider.h"
#include "MRBThumbnailAdapter.h"
#include "callbacks.h"
#include "engine_fixture.h"
#include "intercepted_calls.h"
#include "script_class.h"

namespace {

using Bridge::ScriptArray;
using MRBBridge::CMRBAdapterProvider;
using MRBBridge::CMRBThumbnailAdapter;

/// Longer than what a string holds without an allocation.
const std::string &longText() {
    static const std::string text(200, 'x');
    return text;
}

class Leaks : public EngineTest {
  protected:
    // The trace and the log would grow.
    Leaks() {
        recording::setRecording(false);
        recording::setLogRecording(false);
    }
    ~Leaks() override {
        recording::setLogRecording(true);
        recording::setRecording(true);
    }
    Leaks(const Leaks &) = delete;
    Leaks &operator=(const Leaks &) = delete;

    static CMRBAdapterProvider &providerWith(const std::string &code, int func) {
        auto &provider = *new CMRBAdapterProvider;
        const Values arguments = {evaluate(code)};
        provider.ExecuteWithCallback(func, ScriptArray(arguments));
        return provider;
    }
};

TEST_F(Leaks, MeasureSeesASmallBlockInEachRun) {
    std::vector<void *> held;
    held.reserve(20'000);
    EXPECT_GT(growthPerRun([&] { held.push_back(std::malloc(16)); }), LEAKS_NOTHING);
    for (void *block : held) {
        std::free(block);
    }
}

// ---- deliveries -------------------------------------------------------------------

TEST_F(Leaks, DeliveryToAFunctionLeavesNothing) {
    CMRBAdapterProvider &provider = providerWith("(text) => text", 31);
    EXPECT_LT(growthPerRun([&] {
                  const v8::HandleScope scope(testIsolate());
                  CMRBAdapterProvider::FireOnCallbacks(31, longText(), &provider);
                  drainMainLoop();
              }),
              LEAKS_NOTHING);
}

TEST_F(Leaks, DeliveryToAFunctionThatThrowsLeavesNothing) {
    CMRBAdapterProvider &provider = providerWith("() => { throw 1; }", 31);
    EXPECT_LT(growthPerRun([&] {
                  const v8::HandleScope scope(testIsolate());
                  CMRBAdapterProvider::FireOnCallbacks(31, longText(), &provider);
                  drainMainLoop();
              }),
              LEAKS_NOTHING);
}

TEST_F(Leaks, DeliveryWithoutAFunctionLeavesNothing) {
    auto &provider = *new CMRBAdapterProvider;
    EXPECT_LT(growthPerRun([&] {
                  CMRBAdapterProvider::FireOnCallbacks(0, longText(), &provider);
                  CMRBAdapterProvider::FireOnCallbacks(0, "", &provider);
                  drainMainLoop();
              }),
              LEAKS_NOTHING);
}

TEST_F(Leaks, ResultWithoutASlotLeavesNothing) {
    auto &provider = *new CMRBAdapterProvider;
    EXPECT_LT(growthPerRun([&] { CMRBAdapterProvider::FireOnCallbacks(1, longText(), &provider); }),
              LEAKS_NOTHING);
}

TEST_F(Leaks, DeliveryToADestroyedProviderLeavesNothing) {
    EXPECT_LT(growthPerRun(
                  [] {
                      auto *const provider = new CMRBAdapterProvider;
                      CMRBAdapterProvider::FireOnCallbacks(0, longText(), provider);
                      delete provider;
                      drainMainLoop();
                  },
                  3'000),
              LEAKS_NOTHING);
}

// ---- providers --------------------------------------------------------------------

TEST_F(Leaks, ProviderLeavesNothing) {
    MRBBridge::MRBBridge bridge;
    EXPECT_LT(growthPerRun(
                  [&] {
                      bridge.destroyFromScript(bridge.constructFromScript(ScriptArray()));
                      drainMainLoop();
                  },
                  3'000),
              LEAKS_NOTHING);
}

TEST_F(Leaks, ProviderWithFunctionsLeavesNothing) {
    MRBBridge::MRBBridge bridge;
    const v8::Local<v8::Value> function = evaluate("() => {}");
    EXPECT_LT(growthPerRun(
                  [&] {
                      const v8::HandleScope scope(testIsolate());
                      auto *const provider =
                          static_cast<CMRBAdapterProvider *>(bridge.constructFromScript(ScriptArray()));
                      const Values arguments = {function, evaluate("'text'")};
                      for (const int func : {0, 3, 26}) { // no request that can be read: nothing is opened
                          const Values no_text = {function};
                          provider->ExecuteWithCallback(func, ScriptArray(no_text));
                      }
                      bridge.destroyFromScript(provider);
                      drainMainLoop();
                  },
                  3'000),
              LEAKS_NOTHING);
}

TEST_F(Leaks, ProviderThatCouldNotBeCreatedLeavesNothing) {
    MRBBridge::MRBBridge bridge;
    const FailingAllocation failing(sizeof(CMRBThumbnailAdapter));
    EXPECT_LT(growthPerRun([&] {
                  EXPECT_THROW(bridge.constructFromScript(ScriptArray()), std::bad_alloc);
                  drainMainLoop();
              }),
              LEAKS_NOTHING);
}

// ---- commands ---------------------------------------------------------------------

class CommandLeaks : public Leaks, public testing::WithParamInterface<int> {};

TEST_P(CommandLeaks, CommandLeavesNothing) {
    auto &provider = *new CMRBAdapterProvider;
    // Without the path of a thumbnail, whose request the framework would keep.
    const v8::Local<v8::Value> request = evaluate(
        R"('{"param_source_name":"SOURCE_MSC","param_share_type":2,"param_agent":7,"param_field":"TITLE","param_value":"v","param_item_list":[1,2,3],"param_count":2,)"
        R"("param_selected_item_type_arr":[2,3],"param_mount_path":"/media/stick"}')");
    const Values requests = {request};
    const Values with_function = {evaluate("() => {}"), request};
    EXPECT_LT(growthPerRun(
                  [&] {
                      const v8::HandleScope scope(testIsolate());
                      provider.ExecuteWithCallback(GetParam(), ScriptArray(with_function));
                      provider.Execute(GetParam(), ScriptArray(requests));
                      provider.Execute(GetParam());
                  },
                  2'000),
              LEAKS_NOTHING);
}

INSTANTIATE_TEST_SUITE_P(EveryFunctionId, CommandLeaks, testing::Range(0, 40));

// ---- callbacks --------------------------------------------------------------------

TEST_F(Leaks, EventOfEachKindLeavesNothing) {
    auto &provider = *new CMRBAdapterProvider;
    const Values request = {evaluate("() => {}"), evaluate(R"('{"param_source_name":"SOURCE_MSC"}')")};
    recording::setRecording(true); // registrations are kept
    for (const int func : {0, 3, 31, 35, 37}) {
        provider.ExecuteWithCallback(func, ScriptArray(request));
    }
    recording::setRecording(false);
    const int64_t device = recording::addDevice({});
    EXPECT_LT(growthPerRun(
                  [&] {
                      const v8::HandleScope scope(testIsolate());
                      EXPECT_TRUE(recording::fireList({}, {1, 2, 0, longText()}));
                      EXPECT_TRUE(recording::fireShare({}, {}));
                      EXPECT_TRUE(recording::fireUsb({}, {1, device}));
                      EXPECT_TRUE(recording::fireDlna({}, {1, device}));
                      EXPECT_TRUE(recording::fireDlnaState({}, 1));
                      drainMainLoop();
                  },
                  5'000),
              LEAKS_NOTHING);
}

// ---- thumbnails -------------------------------------------------------------------

struct Outcome {
    const char *name;
    const char *request;
    int result;
    int images;
};

class ThumbnailLeaks : public Leaks, public testing::WithParamInterface<Outcome> {};

TEST_P(ThumbnailLeaks, ResultLeavesNothing) {
    CMRBThumbnailAdapter adapter;
    adapter.SetDelivery(nullptr, [](int, std::string, void *) {});
    EXPECT_LT(growthPerRun(
                  [&] {
                      _thumb_request record{};
                      std::string path;
                      ASSERT_TRUE(adapter.m_GetThumbRequest(GetParam().request, record, path));
                      thumb_result_s result{};
                      result.image_width = 1;
                      result.image_height = 1;
                      result.image_count = GetParam().images;
                      for (int image = 0; image < GetParam().images; ++image) {
                          result.image_buffer[image] = static_cast<unsigned char *>(std::calloc(1, 64));
                      }
                      if (GetParam().images > 0) {
                          result.preset_buffer = static_cast<char *>(std::calloc(1, MRB_THUMB_PRESET_BYTES));
                      }
                      record.callback(GetParam().result, &result, record.user_data);
                  },
                  3'000),
              LEAKS_NOTHING);
}

#define PATHS(paths)                                                                                         \
    R"({"param_origin_path":"/media/a folder/of some length/a.jpg","param_save_path":)" paths "}"
INSTANTIATE_TEST_SUITE_P(
    Outcomes, ThumbnailLeaks,
    testing::Values(Outcome{"NoPlace", PATHS("[]"), 0, 0},
                    Outcome{"Negative", PATHS(R"(["/tmp/none such folder/a.bmp"])"), -1, 0},
                    Outcome{"Positive", PATHS(R"(["/tmp/none such folder/a.bmp"])"), 1, 0},
                    Outcome{"NoImages", PATHS(R"(["/tmp/none such folder/a.bmp"])"), 0, 0},
                    Outcome{"NotStored", PATHS(R"(["/tmp/none such folder/a.bmp"])"), 0, 2},
                    Outcome{"Stored", PATHS(R"(["/dev/null"])"), 0, 2},
                    Outcome{"Cached", PATHS(R"(["/a name of some length/a","b"],"param_thumb_type":1)"), 0,
                            2}),
    [](const auto &status) { return std::string(status.param.name); });

TEST_F(Leaks, ThumbnailRequestThatIsRefusedLeavesNothing) {
    CMRBThumbnailAdapter adapter;
    EXPECT_LT(growthPerRun([&] {
                  EXPECT_EQ(adapter.ThumbnailRequestAsync(
                                R"({"param_save_path":["/a path of some length/a.bmp"]})"),
                            "{\"return_ecode\":2}\n");
                  EXPECT_EQ(adapter.ThumbnailRequestAsync(""), "{\"return_ecode\":2}\n");
              }),
              LEAKS_NOTHING);
}

} // namespace
