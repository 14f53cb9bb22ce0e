// The thumbnail service and its flash cache.

#include "mrb/thumbnail.h"

#include <algorithm>
#include <string>

#include "api/c_api.h"
#include "thumbnail/data_root.h"
#include "thumbnail/result_delivery.h"
#include "thumbnail/service.h"

// The object behind mrb_thumbnail_flash_cache_param_h; owned by the client that created it.
struct mrb_thumbnail_flash_cache_param_s {
    std::string fileName;
    std::string url;
    int width = 0;
    int height = 0;
};

namespace {

using FlashCache = mrb_thumbnail_flash_cache_param_s;
using mrb::thumbnail::ThumbnailService;

// The cache entry of an image, from the result to which it belongs: clients do not pass its
// height.
mrb::thumbnail::FlashEntry entryOf(const FlashCache &param, const unsigned char *image) {
    mrb::thumbnail::FlashEntry entry;
    entry.name = param.fileName;
    entry.key.path = param.url;
    entry.key.boxWidth = entry.width = param.width;
    entry.key.boxHeight = entry.height = param.height;
    const mrb::thumbnail::ThumbnailResult *delivered = mrb::thumbnail::currentResult();
    const auto *const end = delivered != nullptr ? std::end(delivered->images) : nullptr;
    const auto *const found = delivered != nullptr ? std::find(delivered->images, end, image) : nullptr;
    if (found != end) {
        const mrb::thumbnail::DecodeRequest &request = delivered->request->decode;
        entry.key = {request.path,        request.width,  request.height,
                     request.orientation, request.frames, static_cast<int>(found - delivered->images)};
        entry.width = delivered->result->image_width;
        entry.height = delivered->result->image_height;
        entry.whole = delivered->result->flag_origin_image != 0;
        entry.source = delivered->source;
    }
    return entry;
}

bool isSize(int length) { return length >= 1 && length <= MRB_THUMB_MAX_PIXELS; }

} // namespace

int thumbnail_init(void) {
    return mrb::guard([] { return ThumbnailService::instance().begin(); });
}

int thumbnail_finalize(void) {
    return mrb::guard([] { return ThumbnailService::instance().end(); });
}

int thumbnail_request_async(_thumb_request request) {
    if (request.origin_path == nullptr || request.callback == nullptr) {
        return MRB_ERR_INVALID_PARAMETER;
    }
    return mrb::guard([&] {
        return ThumbnailService::instance().request(mrb::thumbnail::readRequest(request),
                                                    {request.callback, request.user_data});
    });
}

int thumbnail_request_cancel(_thumb_request request) {
    if (request.origin_path == nullptr) {
        return MRB_ERR_INVALID_PARAMETER;
    }
    return mrb::guard([&] {
        return ThumbnailService::instance().cancel(mrb::thumbnail::readRequest(request), request.user_data);
    });
}

int thumbnail_request_cancel_all(void) {
    return mrb::guard([] { return ThumbnailService::instance().cancelAll(); });
}

int thumbnail_stop_ptp_decode_sync(void) {
    return mrb::guard([] { return ThumbnailService::instance().stopCameras(); });
}

int mrb_thumbnail_flash_cache_init(const char *list_path) {
    if (list_path == nullptr) {
        return MRB_ERR_INVALID_PARAMETER;
    }
    return mrb::guard([&] {
        const std::string list = mrb::thumbnail::pathOnThisMachine(list_path);
        if (list.empty()) {
            MRB_LOG_WARNING("No flash cache at \"%s\": the path is not absolute, or there is no home folder.",
                            list_path);
            return static_cast<int>(MRB_ERR_INVALID_PARAMETER);
        }
        const mrb::Status status = ThumbnailService::instance().flashCache().open(list);
        if (!status.ok()) {
            MRB_LOG_WARNING("No flash cache: %s", status.message.c_str());
        }
        return status.code;
    });
}

int mrb_create_thumbnail_flash_cache_param(mrb_thumbnail_flash_cache_param_h *param) {
    return mrb::createObject(param) == MRB_ERR_NONE ? 1 : 0;
}

int mrb_destroy_thumbnail_flash_cache_param(mrb_thumbnail_flash_cache_param_h param) {
    return mrb::destroyObject(param);
}

int mrb_set_thumbnail_flash_cache_filename(mrb_thumbnail_flash_cache_param_h param, const char *file_name) {
    return mrb::setText(param, &FlashCache::fileName, file_name);
}

int mrb_set_thumbnail_flash_cache_url(mrb_thumbnail_flash_cache_param_h param, const char *url) {
    return mrb::setText(param, &FlashCache::url, url);
}

int mrb_set_thumbnail_flash_cache_xsize(mrb_thumbnail_flash_cache_param_h param, int width) {
    return mrb::setValue(param, &FlashCache::width, width);
}

int mrb_set_thumbnail_flash_cache_ysize(mrb_thumbnail_flash_cache_param_h param, int height) {
    return mrb::setValue(param, &FlashCache::height, height);
}

int mrb_thumbnail_flash_cache_save_file(mrb_thumbnail_flash_cache_param_h param, const unsigned char *image,
                                        const char *preset_buffer) {
    if (param == nullptr || image == nullptr) {
        return 0;
    }
    int saved = 0;
    mrb::guard([&] {
        mrb::thumbnail::FlashEntry entry = entryOf(*param, image);
        if (!entry.key.path.empty() && isSize(entry.width) && isSize(entry.height)) {
            const auto cache = ThumbnailService::instance().flashCache().cache();
            saved = cache && cache->save(std::move(entry), image, preset_buffer) ? 1 : 0;
        }
        return static_cast<int>(MRB_ERR_NONE);
    });
    return saved;
}
