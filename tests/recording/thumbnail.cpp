// The recorded thumbnail service and flash thumbnail cache.

#include "mrb/thumbnail.h"

#include "callbacks.h"
#include "function.h"
#include "records.h"

namespace thumb_request = recording::thumb_request;
using recording::Bytes;
using recording::memberAt;
using recording::NewHandle;
using recording::Reply;
using recording::UserData;

RECORDED(int, thumbnail_init, (), ())
RECORDED(int, thumbnail_finalize, (), ())

// The record's fields in their order, without the padding.
#define FIELD(type, offset) memberAt<type>(request, thumb_request::offset)
#define FIELDS                                                                                               \
    (FIELD(const char *, ORIGIN_PATH), FIELD(int32_t, MEDIA_TYPE), FIELD(int32_t, SOURCE_TYPE),              \
     FIELD(int32_t, ORIENTATION), FIELD(int32_t, THUMB_WIDTH), FIELD(int32_t, THUMB_HEIGHT),                 \
     FIELD(int32_t, USED_CACHE), FIELD(uint8_t, VIDEO_FRAME_COUNT), FIELD(thumbnail_result_cb, CALLBACK),    \
     UserData{FIELD(void *, USER_DATA)})

static recording::Function request_async("thumbnail_request_async");

extern "C" int thumbnail_request_async(_thumb_request request) {
    recording::addThumbnail(FIELD(thumbnail_result_cb, CALLBACK), FIELD(void *, USER_DATA));
    return request_async.call<int> FIELDS;
}

RECORDED(int, thumbnail_request_cancel, (_thumb_request request), FIELDS)
RECORDED(int, thumbnail_request_cancel_all, (), ())
RECORDED(int, thumbnail_stop_ptp_decode_sync, (), ())

// Creating and saving answer non-zero for success.
RECORDED(int, mrb_thumbnail_flash_cache_init, (const char *list_path), (list_path))
RECORDED(int, mrb_create_thumbnail_flash_cache_param, (mrb_thumbnail_flash_cache_param_h * param), (param),
         Reply{1, NewHandle{}})
RECORDED(int, mrb_destroy_thumbnail_flash_cache_param, (mrb_thumbnail_flash_cache_param_h param), (param))
RECORDED(int, mrb_set_thumbnail_flash_cache_filename,
         (mrb_thumbnail_flash_cache_param_h param, const char *file_name), (param, file_name))
RECORDED(int, mrb_set_thumbnail_flash_cache_url, (mrb_thumbnail_flash_cache_param_h param, const char *url),
         (param, url))
RECORDED(int, mrb_set_thumbnail_flash_cache_xsize, (mrb_thumbnail_flash_cache_param_h param, int width),
         (param, width))
RECORDED(int, mrb_set_thumbnail_flash_cache_ysize, (mrb_thumbnail_flash_cache_param_h param, int height),
         (param, height))
RECORDED(int, mrb_thumbnail_flash_cache_save_file,
         (mrb_thumbnail_flash_cache_param_h param, const unsigned char *image, const char *preset_buffer),
         (param, Bytes{image}, Bytes{preset_buffer}), Reply{1, {}})
