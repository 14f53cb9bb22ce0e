#include "MRBThumbnailAdapter.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <utility>

#include <json/value.h>
#include <unistd.h>

#include "MRBBridgeJson.h"
#include "bitmap_header.h"
#include "command.h"
#include "request.h"

namespace MRBBridge {
namespace {

// "return_ecode" of a thumbnail command, besides RETURN_ECODE_REFUSED. Failures of the
// service are reported by a request's result only.
constexpr int RETURN_ECODE_CALLED = 0;
constexpr int RETURN_ECODE_NOT_INITIALISED = 1;

/// The list file of the flash cache.
constexpr const char *FLASH_CACHE_LIST = "/opt/usr/apps/media-resource-broker/data/thumbCache.txt";

/// "param_thumb_type" of a request whose images go into the flash cache.
constexpr int THUMB_TYPE_FLASH_CACHE = 1;

/// "thumb_error_code" of a result.
enum ThumbCode : int {
    THUMB_STORED = 100,
    THUMB_NOT_STORED = 101,     ///< no images, no paths for them, or a path that failed
    THUMB_SERVICE_FAILED = 102, ///< the service itself failed
};

/// Moves the contents out of a request's context and deletes it.
ThumbRequestContext TakeContext(void *user_data) {
    const std::unique_ptr<ThumbRequestContext> context(static_cast<ThumbRequestContext *>(user_data));
    return std::move(*context);
}

enum class CacheResult { Saved, NoParameters, SaveFailed };

/// Stores image `index` of a result in the framework's flash cache, as `save_path`.
CacheResult SaveInFlashCache(const thumb_result_s &result, int index, const std::string &save_path) {
    mrb_thumbnail_flash_cache_param_h param = nullptr;
    if (mrb_create_thumbnail_flash_cache_param(&param) == 0) {
        return CacheResult::NoParameters;
    }
    mrb_set_thumbnail_flash_cache_filename(param, save_path.c_str());
    mrb_set_thumbnail_flash_cache_url(param, static_cast<const char *>(result.origin_path));
    mrb_set_thumbnail_flash_cache_xsize(param, result.image_width);
    mrb_set_thumbnail_flash_cache_ysize(param, result.image_width); // the cache goes by the width alone
    const int saved =
        mrb_thumbnail_flash_cache_save_file(param, result.image_buffer[index], result.preset_buffer);
    mrb_destroy_thumbnail_flash_cache_param(param);
    return saved != 0 ? CacheResult::Saved : CacheResult::SaveFailed;
}

/// Releases a result's buffers.
// NOLINTBEGIN(*-no-malloc): the framework allocates them with malloc
void ReleaseBuffers(thumb_result_s &result) {
    if (result.preset_buffer != nullptr) {
        std::free(std::exchange(result.preset_buffer, nullptr));
    }
    for (int i = 0; i < result.image_count; ++i) {
        std::free(std::exchange(result.image_buffer[i], nullptr));
    }
}
// NOLINTEND(*-no-malloc)

/// Adds the members that report stored images.
void Describe(const thumb_result_s &result, const std::vector<std::string> &stored, Json::Value &document) {
    for (const std::string &path : stored) {
        document["save_path"].append(path);
    }
    document["buffer_size"] = result.buffer_size;
    document["image_width"] = result.image_width;
    document["image_height"] = result.image_height;
    document["image_depth"] = result.image_depth;
    document["image_count"] = result.image_count;
    for (int i = 0; i < result.image_count; ++i) {
        document["time_stamp"].append(ConvertNumberToString(static_cast<long long>(result.time_stamp[i])));
    }
    document["flag_origin_image"] = result.flag_origin_image;
    document["thumb_error_code"] = THUMB_STORED;
}

/// The buffer of a bitmap file: a system call for each row would cost more than copying it.
constexpr size_t WRITE_BUFFER_BYTES = size_t{256} * 1024;

struct Close {
    void operator()(std::FILE *file) const { static_cast<void>(std::fclose(file)); }
};

} // namespace

// ---- life -------------------------------------------------------------------

CMRBThumbnailAdapter::CMRBThumbnailAdapter() {
    MRB_LOG(LogTag::Thumbnail, "create CMRBThumbnailAdapter...");
    initialised_ = thumbnail_init() == MRB_ERR_NONE;
    MRB_LOG(LogTag::Thumbnail, "thumbnail_init [%d]...", static_cast<int>(initialised_));
}

CMRBThumbnailAdapter::~CMRBThumbnailAdapter() {
    MRB_LOG(LogTag::Thumbnail, "release CMRBThumbnailAdapter...");
    initialised_ = false;
    thumbnail_finalize();
}

// ---- commands ---------------------------------------------------------------

/// Defines a command with a request that calls one framework function and is logged under
/// its name.
#define REQUEST_COMMAND(operation, function)                                                                 \
    std::string CMRBThumbnailAdapter::operation(const std::string &strParam) {                               \
        int code = RETURN_ECODE_CALLED;                                                                      \
        _thumb_request request{};                                                                            \
        std::string path;                                                                                    \
        if (!initialised_) {                                                                                 \
            MRB_LOG(LogTag::Thumbnail, "not init...");                                                       \
            code = RETURN_ECODE_NOT_INITIALISED;                                                             \
        } else if (!m_GetThumbRequest(strParam, request, path)) {                                            \
            code = RETURN_ECODE_REFUSED;                                                                     \
        } else {                                                                                             \
            function(request);                                                                               \
        }                                                                                                    \
        RETURN_RESULT(LogTag::Thumbnail, #function, code);                                                   \
    }

REQUEST_COMMAND(ThumbnailRequestAsync, thumbnail_request_async)
REQUEST_COMMAND(ThumbnailRequestCancel, thumbnail_request_cancel)
#undef REQUEST_COMMAND

/// Defines a command without a request, likewise.
#define COMMAND(operation, function)                                                                         \
    std::string CMRBThumbnailAdapter::operation() {                                                          \
        int code = RETURN_ECODE_CALLED;                                                                      \
        if (!initialised_) {                                                                                 \
            MRB_LOG(LogTag::Thumbnail, "not init...");                                                       \
            code = RETURN_ECODE_NOT_INITIALISED;                                                             \
        } else {                                                                                             \
            function();                                                                                      \
        }                                                                                                    \
        RETURN_RESULT(LogTag::Thumbnail, #function, code);                                                   \
    }

COMMAND(ThumbnailRequestCancelAll, thumbnail_request_cancel_all)
COMMAND(ThumbnailStopPtpDecodeSync, thumbnail_stop_ptp_decode_sync)
#undef COMMAND

std::string CMRBThumbnailAdapter::ThumbnailFlashCacheInit() {
    const char *const command = "thumbnail_flash_cache_init";
    MRB_LOG(LogTag::Thumbnail, "strCmd is :%s \n", command);
    int code = RETURN_ECODE_CALLED;
    if (!initialised_) {
        MRB_LOG(LogTag::Thumbnail, "not init...");
        code = RETURN_ECODE_NOT_INITIALISED;
    } else {
        mrb_thumbnail_flash_cache_init(FLASH_CACHE_LIST);
    }
    RETURN_RESULT(LogTag::Thumbnail, command, code);
}

// ---- from a request's text to the framework's record ------------------------

bool CMRBThumbnailAdapter::m_GetThumbRequest(const std::string &strParam, _thumb_request &request,
                                             std::string &strPath) {
    if (strParam.empty()) {
        MRB_LOG(LogTag::Thumbnail, "strParam is empty......");
        return false;
    }
    std::memset(&request, 0, sizeof request); // its padding too: the framework may compare records
    const CMRBBridgeJson json(strParam);
    std::string origin_path = Text(json, "param_origin_path");
    if (origin_path.empty()) {
        MRB_LOG(LogTag::Thumbnail, "strPath empth!!!");
        return false;
    }
    strPath = std::move(origin_path);
    auto context = std::make_unique<ThumbRequestContext>();
    context->adapter = this;
    json.Get("param_save_path", context->save_paths);
    request.origin_path = strPath.c_str();
    request.media_type = Int(json, "param_media_type");
    request.orientation = Int(json, "param_orientation");
    request.source_type = Int(json, "param_source_type");
    request.thumb_width = Int(json, "param_thumb_width");
    request.thumb_height = Int(json, "param_thumb_height");
    request.used_cache = Int(json, "param_used_cache");
    const int thumb_type = Int(json, "param_thumb_type");
    request.video_frame_count = static_cast<uint8_t>(Int(json, "param_video_frame_count"));
    context->user_data = Int(json, "param_thumb_user_data");
    context->use_flash_cache = thumb_type == THUMB_TYPE_FLASH_CACHE;
    if (context->use_flash_cache) {
        MRB_LOG(LogTag::Thumbnail, "Use the flash cache.");
    } else {
        MRB_LOG(LogTag::Thumbnail, "Not Use the flash cache.");
    }
    request.callback = &CMRBThumbnailAdapter::m_MrbThumbnailRecv;
    request.user_data = context.release();
    return true;
}

// ---- results ----------------------------------------------------------------

int CMRBThumbnailAdapter::m_MrbThumbnailRecv(int request_result, thumb_result_s *thumb_result,
                                             void *user_data) {
    MRB_LOG(LogTag::Thumbnail, "mrb_thumbnail_cache_recv...\n");
    MRB_ASSERT(user_data != nullptr, "user_data != __null");
    MRB_ASSERT(thumb_result != nullptr, "thumb_result != __null");
    // The context is deleted before any image is stored, which may take long.
    const ThumbRequestContext context = TakeContext(user_data);
    const CMRBThumbnailAdapter *const self = context.adapter;
    MRB_ASSERT(self != nullptr, "self != __null");

    Json::Value document;
    document["origin_path"] = static_cast<const char *>(thumb_result->origin_path);
    document["user_data"] = context.user_data;
    document["thumb_error_code"] = THUMB_NOT_STORED;
    const CallbackEntry cb = self->callback_entry_;
    MRB_ASSERT(cb != nullptr, "cb != __null");
    const auto deliver = [cb, self](const Json::Value &value) {
        cb(FUNC_THUMBNAIL_REQUEST_ASYNC, value.toStyledString(), self->provider_);
    };

    // Without images, or without paths for them, the buffers are not freed.
    const std::vector<std::string> &save_paths = context.save_paths;
    if (request_result < 0 || save_paths.empty()) {
        MRB_LOG(LogTag::Thumbnail, "vSavePath empty err_no < 0...\n");
        deliver(document);
        return 0;
    }
    if (request_result > 0) {
        MRB_LOG(LogTag::Thumbnail, "line=%d", __LINE__);
        Json::Value failure;
        failure["thumb_error_code"] = THUMB_SERVICE_FAILED;
        deliver(failure);
        return 0;
    }

    // The framework guarantees a count of at most MRB_THUMB_IMAGES.
    bool all_stored = true;
    std::vector<std::string> stored;
    for (int i = 0; i < thumb_result->image_count && static_cast<size_t>(i) < save_paths.size(); ++i) {
        const std::string &save_path = save_paths[static_cast<size_t>(i)];
        if (context.use_flash_cache) {
            const CacheResult result = SaveInFlashCache(*thumb_result, i, save_path);
            if (result == CacheResult::NoParameters) {
                MRB_LOG(LogTag::Thumbnail, "mrb_create_thumbnail_flash_cache_param failed");
            } else if (result == CacheResult::SaveFailed) {
                MRB_LOG(LogTag::Thumbnail, "mrb_thumbnail_flash_cache_save_file failed");
            }
            all_stored = result == CacheResult::Saved;
        } else {
            all_stored =
                m_BmpWrite(thumb_result->image_buffer[i], thumb_result->preset_buffer,
                           thumb_result->image_width, thumb_result->image_height, save_path.c_str()) >= 0;
        }
        if (!all_stored) {
            break;
        }
        stored.push_back(save_path);
    }
    ReleaseBuffers(*thumb_result);

    if (!all_stored) {
        MRB_LOG(LogTag::Thumbnail, "bWriteRet false...\n");
        deliver(document);
        return 0;
    }
    Describe(*thumb_result, stored, document);
    MRB_LOG(LogTag::Thumbnail, "return.success..\n");
    deliver(document);
    return 1;
}

// ---- bitmap files -----------------------------------------------------------

int CMRBThumbnailAdapter::m_BmpWrite(const unsigned char *buffer, const char *bufferPreset, int width,
                                     int height, const char *path) {
    const char *const slash = std::strrchr(path, '/');
    if (slash == nullptr) {
        MRB_LOG(LogTag::Thumbnail, "can not find / in path:%s", path);
        return -1;
    }
    const std::string directory(path, slash);
    if (access(directory.c_str(), F_OK) != 0) {
        MRB_LOG(LogTag::Thumbnail, "fail to access dir path:%s", directory.c_str());
        return -1;
    }
    // Before the file is opened: an invalid image must not truncate an existing file.
    if (buffer == nullptr || width < 0 || height < 0) {
        MRB_LOG(LogTag::Thumbnail, "fwrite error");
        return -1;
    }
    const BitmapHeader header = MakeBitmapHeader(width, height);
    const std::unique_ptr<char[]> write_buffer(
        new char[WRITE_BUFFER_BYTES]); // outlives the file, needs no zeros
    const std::unique_ptr<std::FILE, Close> file(std::fopen(path, "wb"));
    if (!file) {
        MRB_LOG(LogTag::Thumbnail, "fopen fail");
        return -1;
    }
    static_cast<void>(std::setvbuf(file.get(), write_buffer.get(), _IOFBF, WRITE_BUFFER_BYTES));
    // The header is flushed at once: a medium that accepts no data is detected here.
    if (std::fwrite(header.data(), 1, header.size(), file.get()) < header.size() ||
        std::fflush(file.get()) != 0) {
        MRB_LOG(LogTag::Thumbnail, "fwrite error");
        return -1;
    }
    const size_t row_bytes = static_cast<size_t>(width) * BITMAP_PIXEL_BYTES;
    for (int row = height - 1; row >= 0; --row) {
        static_cast<void>(
            std::fwrite(buffer + static_cast<size_t>(row) * row_bytes, 1, row_bytes, file.get()));
    }
    if (bufferPreset != nullptr) {
        static_assert(MRB_THUMB_PRESET_BYTES == 4096);
        MRB_LOG(LogTag::Thumbnail, "bmp_write bufferPreset : [%.4096s]###\n",
                bufferPreset); // may lack its terminating zero
        static_cast<void>(std::fwrite(bufferPreset, 1, MRB_THUMB_PRESET_BYTES, file.get()));
    }
    static_cast<void>(std::fflush(file.get()));
    return 0;
}

} // namespace MRBBridge
