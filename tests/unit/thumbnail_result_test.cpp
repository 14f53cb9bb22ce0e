// White-box tests of thumbnail results: when the request's context is released.

#include <array>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>

#include "MRBThumbnailAdapter.h"
#include "engine_fixture.h"

namespace {

/// A block whose release is recorded.
struct WatchObserver {
    const void *block = nullptr;
    std::function<void()> released;
};
WatchObserver &watched() {
    static auto *only = new WatchObserver;
    return *only;
}

} // namespace

// The linker puts this before the deallocation of single objects: see CMakeLists.txt.
extern "C" void releaseBlock(void *block, std::size_t size) __asm__("__real_" OPERATOR_DELETE);
extern "C" void observeRelease(void *block, std::size_t size) __asm__("__wrap_" OPERATOR_DELETE);
extern "C" void observeRelease(void *block, std::size_t size) {
    if (block != nullptr && block == watched().block) {
        watched().block = nullptr;
        watched().released();
    }
    releaseBlock(block, size);
}

namespace {

using MRBBridge::CMRBThumbnailAdapter;
using MRBBridge::ThumbRequestContext;

class ThumbnailResult : public EngineTest {
  protected:
    ThumbnailResult() {
        adapter_.SetDelivery(nullptr, [](int, std::string, void *) {});
        forget();
    }

    /// A context whose release runs `released`.
    ThumbRequestContext *watchedContext(bool use_flash_cache, const std::string &save_path,
                                        std::function<void()> released) {
        auto *const context = new ThumbRequestContext{&adapter_, 0, use_flash_cache, {save_path}};
        watched() = {context, std::move(released)};
        return context;
    }

    /// A result of one image of one pixel.
    static thumb_result_s onePixel() {
        thumb_result_s result{};
        result.image_count = 1;
        result.image_width = 1;
        result.image_height = 1;
        result.image_buffer[0] = static_cast<unsigned char *>(std::calloc(1, 4));
        return result;
    }

    CMRBThumbnailAdapter adapter_;
};

TEST_F(ThumbnailResult, ContextIsReleasedBeforeTheFlashCacheIsCalled) {
    int calls_before = -1;
    thumb_result_s result = onePixel();
    ThumbRequestContext *const context =
        watchedContext(true, "/a", [&] { calls_before = static_cast<int>(recording::trace().size()); });
    EXPECT_EQ(CMRBThumbnailAdapter::m_MrbThumbnailRecv(0, &result, context), 1);
    EXPECT_EQ(calls_before, 0);
    EXPECT_GT(calls().size(), 0U);
}

TEST_F(ThumbnailResult, ContextIsReleasedBeforeAFileIsWritten) {
    const std::string file = testing::TempDir() + "context.bmp";
    static_cast<void>(std::remove(file.c_str()));
    bool released = false;
    bool there_before = true;
    thumb_result_s result = onePixel();
    ThumbRequestContext *const context = watchedContext(false, file, [&] {
        released = true;
        there_before = std::ifstream(file).is_open();
    });
    EXPECT_EQ(CMRBThumbnailAdapter::m_MrbThumbnailRecv(0, &result, context), 1);
    EXPECT_TRUE(released);
    EXPECT_FALSE(there_before);
    EXPECT_EQ(std::remove(file.c_str()), 0);
}

TEST_F(ThumbnailResult, ContextOfAResultWithoutImagesIsReleasedToo) {
    for (const int code : {-1, 1}) {
        bool released = false;
        thumb_result_s result{};
        ThumbRequestContext *const context = watchedContext(false, "/a", [&] { released = true; });
        EXPECT_EQ(CMRBThumbnailAdapter::m_MrbThumbnailRecv(code, &result, context), 0);
        EXPECT_TRUE(released);
    }
}

TEST_F(ThumbnailResult, PathOfTheCallerIsNotTouchedByARequestWithoutOne) {
    for (const char *text : {"", "{}", "[]", R"({"param_origin_path":""})", R"({"param_origin_path":1})"}) {
        _thumb_request record{};
        std::string path = "the caller's";
        EXPECT_FALSE(adapter_.m_GetThumbRequest(text, record, path)) << text;
        EXPECT_EQ(path, "the caller's") << text;
    }
}

TEST_F(ThumbnailResult, BitmapOfNoBufferOrOfANegativeSizeIsNotWritten) {
    const std::string file = testing::TempDir() + "refused.bmp";
    static_cast<void>(std::remove(file.c_str()));
    const std::array<unsigned char, 4> pixel{};
    struct {
        const unsigned char *buffer;
        int width, height;
    } const refused[] = {{nullptr, 1, 1},       {nullptr, 0, 0},        {pixel.data(), -1, 1},
                         {pixel.data(), 1, -1}, {pixel.data(), -1, -1}, {pixel.data(), INT_MIN, INT_MIN}};
    for (const auto &image : refused) {
        forget();
        EXPECT_EQ(
            CMRBThumbnailAdapter::m_BmpWrite(image.buffer, nullptr, image.width, image.height, file.c_str()),
            -1);
        EXPECT_FALSE(std::ifstream(file).is_open());
    }
}

} // namespace
