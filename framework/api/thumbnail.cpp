// The thumbnail service and its flash cache. The cache's parameter objects are
// real; no thumbnail is made and none is stored.

#include "mrb/thumbnail.h"

#include <string>

#include "api/entry.h"

// The object behind mrb_thumbnail_flash_cache_param_h; owned by the client that created it.
struct mrb_thumbnail_flash_cache_param_s {
    std::string fileName;
    std::string url;
    int width = 0;
    int height = 0;
};

using FlashCache = mrb_thumbnail_flash_cache_param_s;

int thumbnail_init(void) { return MRB_ERR_NOT_SUPPORTED; }

int thumbnail_finalize(void) { return MRB_ERR_NOT_SUPPORTED; }

int thumbnail_request_async(_thumb_request /*request*/) { return MRB_ERR_NOT_SUPPORTED; }

int thumbnail_request_cancel(_thumb_request /*request*/) { return MRB_ERR_NOT_SUPPORTED; }

int thumbnail_request_cancel_all(void) { return MRB_ERR_NOT_SUPPORTED; }

int thumbnail_stop_ptp_decode_sync(void) { return MRB_ERR_NOT_SUPPORTED; }

int mrb_thumbnail_flash_cache_init(const char * /*list_path*/) { return MRB_ERR_NOT_SUPPORTED; }

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

int mrb_thumbnail_flash_cache_save_file(mrb_thumbnail_flash_cache_param_h /*param*/,
                                        const unsigned char * /*image*/, const char * /*preset_buffer*/) {
    return 0;
}
