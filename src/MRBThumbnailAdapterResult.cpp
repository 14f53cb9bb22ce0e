// A thumbnail request's result: images into files or the flash cache, and a document
// for the script.

#include "MRBThumbnailAdapter.h"

#include <cstdlib>
#include <cstring>
#include <memory>
#include <utility>

#include <json/value.h>

#include "MRBBridgeJson.h"
#include "log.h"

namespace MRBBridge {
namespace {

/// "thumb_error_code" of a result.
enum ThumbCode : int {
    THUMB_STORED = 100,
    THUMB_NOT_STORED = 101,     ///< no images, or nowhere to store them
    THUMB_SERVICE_FAILED = 102, ///< the service itself failed
};

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

/// Adds what a script hears of images that were stored.
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

} // namespace

int CMRBThumbnailAdapter::m_MrbThumbnailRecv(int request_result, thumb_result_s *thumb_result,
                                             void *user_data) {
    MRB_LOG(LogTag::Thumbnail, "mrb_thumbnail_cache_recv...\n");
    MRB_ASSERT(user_data != nullptr, "user_data != __null");
    MRB_ASSERT(thumb_result != nullptr, "thumb_result != __null");
    const std::unique_ptr<const ThumbRequestContext> context(
        static_cast<const ThumbRequestContext *>(user_data));
    const CMRBThumbnailAdapter *const self = context->adapter;
    MRB_ASSERT(self != nullptr, "self != __null");

    Json::Value document;
    document["origin_path"] = static_cast<const char *>(thumb_result->origin_path);
    document["user_data"] = context->user_data;
    document["thumb_error_code"] = THUMB_NOT_STORED;
    const CallbackEntry cb = self->callback_entry_;
    MRB_ASSERT(cb != nullptr, "cb != __null");
    const auto deliver = [cb, self](const Json::Value &value) {
        cb(FUNC_THUMBNAIL_REQUEST_ASYNC, value.toStyledString(), self->provider_);
    };

    // A result without images, or without a place for them, leaves its buffers alone.
    const std::vector<std::string> &save_paths = context->save_paths;
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

    // The count is the framework's promise: MRB_THUMB_IMAGES at most.
    bool all_stored = true;
    std::vector<std::string> stored;
    for (int i = 0; i < thumb_result->image_count && static_cast<size_t>(i) < save_paths.size(); ++i) {
        const std::string &save_path = save_paths[static_cast<size_t>(i)];
        if (context->use_flash_cache) {
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

} // namespace MRBBridge
