// White-box tests of the thumbnail adapter: the request's record and context, the bitmap
// writer's result, and an adapter without a provider.

#include "MRBThumbnailAdapter.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>

#include "engine_fixture.h"

namespace {

using MRBBridge::CMRBThumbnailAdapter;
using MRBBridge::ThumbRequestContext;
using Lines = std::vector<std::string>;

/// The arguments of the last delivery.
struct Delivered {
    int func = -1;
    std::string text;
    void *provider = nullptr;
};
Delivered &delivered() {
    static auto *last = new Delivered;
    return *last;
}

class Thumbnail : public EngineTest {
  protected:
    Thumbnail() {
        forget();
        delivered() = {};
        std::memset(&record_, 0xff, sizeof record_);
    }

    /// The context of the record, which the test owns from now on.
    std::unique_ptr<ThumbRequestContext> context() const {
        return std::unique_ptr<ThumbRequestContext>(static_cast<ThumbRequestContext *>(record_.user_data));
    }

    void deliverHere() {
        adapter_.SetDelivery(&provider_, [](int func, std::string data, void *provider) {
            delivered() = {func, std::move(data), provider};
        });
    }

    CMRBThumbnailAdapter adapter_;
    _thumb_request record_;
    std::string path_;
    int provider_ = 0;
};

TEST_F(Thumbnail, RequestPointsIntoTheCallersPath) {
    ASSERT_TRUE(adapter_.m_GetThumbRequest(R"({"param_origin_path":"/a"})", record_, path_));
    const auto held = context();
    EXPECT_EQ(path_, "/a");
    EXPECT_EQ(record_.origin_path, path_.c_str());
}

TEST_F(Thumbnail, RequestWithoutKeysHasAContextOfPresets) {
    ASSERT_TRUE(adapter_.m_GetThumbRequest(R"({"param_origin_path":"/a"})", record_, path_));
    const auto held = context();
    EXPECT_EQ(held->adapter, &adapter_);
    EXPECT_EQ(held->user_data, 0);
    EXPECT_FALSE(held->use_flash_cache);
    EXPECT_EQ(held->save_paths, Lines{});
}

TEST_F(Thumbnail, RequestsContextHasWhatTheResultNeeds) {
    ASSERT_TRUE(adapter_.m_GetThumbRequest(
        R"({"param_origin_path":"/a","param_save_path":["/b","c"],"param_thumb_type":1,"param_thumb_user_data":-5})",
        record_, path_));
    const auto held = context();
    EXPECT_EQ(held->user_data, -5);
    EXPECT_TRUE(held->use_flash_cache);
    EXPECT_EQ(held->save_paths, (Lines{"/b", "c"}));
    EXPECT_EQ(record_.callback, &CMRBThumbnailAdapter::m_MrbThumbnailRecv);
}

TEST_F(Thumbnail, RecordIsZeroedToItsLastByte) {
    ASSERT_TRUE(adapter_.m_GetThumbRequest(R"({"param_origin_path":"/a"})", record_, path_));
    const auto held = context();
    record_.origin_path = nullptr;
    record_.callback = nullptr;
    record_.user_data = nullptr;
    std::array<unsigned char, sizeof record_> bytes{};
    std::memcpy(bytes.data(), &record_, sizeof record_);
    EXPECT_TRUE(std::all_of(bytes.begin(), bytes.end(), [](unsigned char byte) { return byte == 0; }));
}

TEST_F(Thumbnail, EmptyTextLeavesTheRecordAlone) {
    record_.thumb_width = 7;
    EXPECT_FALSE(adapter_.m_GetThumbRequest("", record_, path_));
    EXPECT_EQ(record_.thumb_width, 7);
    EXPECT_EQ(takeLog(), Lines{THUMBNAIL + "m_GetThumbRequest: strParam is empty......"});
}

TEST_F(Thumbnail, RequestWithoutAPathHasNoContext) {
    EXPECT_FALSE(adapter_.m_GetThumbRequest("{}", record_, path_));
    EXPECT_EQ(record_.user_data, nullptr);
    EXPECT_EQ(record_.callback, nullptr);
}

TEST_F(Thumbnail, BitmapWriterReturnsZeroOrMinusOne) {
    const std::string file = testing::TempDir() + "thumbnail_test.bmp";
    const std::array<unsigned char, 4> pixel{1, 2, 3, 4};
    EXPECT_EQ(CMRBThumbnailAdapter::m_BmpWrite(pixel.data(), nullptr, 1, 1, file.c_str()), 0);
    std::ifstream stream(file, std::ios::binary);
    const std::string written{std::istreambuf_iterator<char>(stream), {}};
    EXPECT_EQ(written.substr(54), "\1\2\3\4");
    EXPECT_EQ(std::remove(file.c_str()), 0);
    EXPECT_EQ(CMRBThumbnailAdapter::m_BmpWrite(pixel.data(), nullptr, 1, 1, "thumbnail_test.bmp"), -1);
}

TEST_F(Thumbnail, ResultIsDeliveredUnderTheRequestsNumberToTheAdaptersProvider) {
    deliverHere();
    thumb_result_s result{};
    const int answer = CMRBThumbnailAdapter::m_MrbThumbnailRecv(
        1, &result, new ThumbRequestContext{&adapter_, 0, false, {"/a"}});
    EXPECT_EQ(answer, 0);
    EXPECT_EQ(delivered().func, 26);
    EXPECT_EQ(delivered().provider, &provider_);
    EXPECT_EQ(delivered().text, "{\n\t\"thumb_error_code\" : 102\n}\n");
}

TEST_F(Thumbnail, PointersOfReleasedBuffersAreCleared) {
    deliverHere();
    thumb_result_s result{};
    result.image_count = 1;
    result.image_buffer[0] = static_cast<unsigned char *>(std::calloc(1, 4));
    result.preset_buffer = static_cast<char *>(std::calloc(1, MRB_THUMB_PRESET_BYTES));
    CMRBThumbnailAdapter::m_MrbThumbnailRecv(0, &result,
                                             new ThumbRequestContext{&adapter_, 0, false, {"none"}});
    EXPECT_EQ(result.image_buffer[0], nullptr);
    EXPECT_EQ(result.preset_buffer, nullptr);
}

TEST_F(Thumbnail, PathOfAResultThatFillsItsBufferIsReadToItsEnd) {
    deliverHere();
    thumb_result_s result{};
    std::fill(std::begin(result.origin_path), std::end(result.origin_path) - 1, 'x');
    CMRBThumbnailAdapter::m_MrbThumbnailRecv(-1, &result, new ThumbRequestContext{&adapter_, 0, false, {}});
    EXPECT_NE(delivered().text.find("\"" + std::string(MRB_THUMB_PATH_BYTES - 1, 'x') + "\""),
              std::string::npos);
}

// Each of these ends a copy of this process.

TEST_F(Thumbnail, ResultWithoutAnAdapterEndsTheProcess) {
    thumb_result_s result{};
    EXPECT_DEATH(
        CMRBThumbnailAdapter::m_MrbThumbnailRecv(-1, &result, new ThumbRequestContext{nullptr, 0, false, {}}),
        "Assertion `self != __null' failed");
}

TEST_F(Thumbnail, ResultWithoutACallbackEntryEndsTheProcess) {
    thumb_result_s result{};
    EXPECT_DEATH(CMRBThumbnailAdapter::m_MrbThumbnailRecv(-1, &result,
                                                          new ThumbRequestContext{&adapter_, 0, false, {}}),
                 "Assertion `cb != __null' failed");
}

} // namespace
