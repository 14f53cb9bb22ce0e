#pragma once
/*
 * The media framework's thumbnail service and its flash thumbnail cache.
 *
 * Threads. Functions may be called from any thread. Result callbacks run on
 * threads of the framework, or inside thumbnail_finalize on its caller's thread, and
 * may overlap one another. Once thumbnail_finalize has returned, no callback of an
 * earlier request is running or will run; MRB_ERR_TIMEOUT says that one did not return
 * within two seconds, so that its user data must stay.
 *
 * Ownership. A request record is passed by value; its path must exist until
 * the call returns, its user data belongs to the framework until it is passed to
 * the callback. Each thumbnail_request_async that returned MRB_ERR_NONE leads to
 * exactly one callback, unless it was cancelled. The result record belongs to
 * the framework and is valid until the callback returns; its image buffers and its
 * preset buffer are allocated with malloc, and the callback frees them.
 */

#include "mrb/layout.h"
#include "mrb/result.h"

#ifdef __cplusplus
extern "C" {
#endif

enum {
    MRB_THUMB_PATH_BYTES = 4352,   /* size of the origin path of a result, its zero included */
    MRB_THUMB_IMAGES = 5,          /* maximum of images in one result */
    MRB_THUMB_PRESET_BYTES = 4096, /* size of a preset buffer */
    MRB_THUMB_MAX_PIXELS = 4096,   /* largest width and height of a request */
    MRB_THUMB_SERVICE_FAILED = 1   /* the result when the service itself failed */
};

/* The source types of a request. Only that of a camera makes a difference. */
enum {
    MRB_THUMB_SOURCE_ANY = 0,
    MRB_THUMB_SOURCE_MSC = 1,
    MRB_THUMB_SOURCE_PTP = 2,
    MRB_THUMB_SOURCE_DLNA = 3,
    MRB_THUMB_SOURCE_PLAYLIST = 4
};

/*
 * A decoded request. Images are width x height 32-bit pixels, rows top to
 * bottom, in the byte order of a 32-bit bitmap (blue, green, red, alpha).
 */
typedef struct thumb_result_s {
    char origin_path[MRB_THUMB_PATH_BYTES]; /* ends with a zero */
    unsigned char *image_buffer[MRB_THUMB_IMAGES];
    int32_t buffer_size; /* bytes of one image */
    int32_t reserved_sizes[5];
    int32_t image_width;                  /* pixels */
    int32_t image_height;                 /* pixels */
    int32_t image_depth;                  /* bits per pixel */
    int32_t image_count;                  /* images in image_buffer */
    int32_t reserved;                     /* keeps the time stamps on an 8-byte boundary */
    int64_t time_stamp[MRB_THUMB_IMAGES]; /* milliseconds from the start, one per image */
    int32_t flag_origin_image;            /* 1 when the images have the size of the original */
    char *preset_buffer;                  /* null without used_cache, else MRB_THUMB_PRESET_BYTES bytes */
} thumb_result_s;

MRB_CHECK_OFFSET_32(thumb_result_s, origin_path, 0);
MRB_CHECK_OFFSET_32(thumb_result_s, image_buffer, 4352);
MRB_CHECK_OFFSET_32(thumb_result_s, buffer_size, 4372);
MRB_CHECK_OFFSET_32(thumb_result_s, image_width, 4396);
MRB_CHECK_OFFSET_32(thumb_result_s, image_height, 4400);
MRB_CHECK_OFFSET_32(thumb_result_s, image_depth, 4404);
MRB_CHECK_OFFSET_32(thumb_result_s, image_count, 4408);
MRB_CHECK_OFFSET_32(thumb_result_s, time_stamp, 4416);
MRB_CHECK_OFFSET_32(thumb_result_s, flag_origin_image, 4456);
MRB_CHECK_OFFSET_32(thumb_result_s, preset_buffer, 4460);

/*
 * Delivers a result. `request_result` is 0 when `thumb_result` holds images, a
 * negative code of result.h when there is no image of the file, positive when the
 * service itself failed. Returns 1 when the callback stored the images, else 0.
 */
typedef int (*thumbnail_result_cb)(int request_result, thumb_result_s *thumb_result, void *user_data);

/* A request; a cancel repeats the record of the request that it cancels. */
typedef struct _thumb_request {
    const char *origin_path;
    int32_t media_type;        /* an MRB_ITEM_TYPE_ of agent.h; 0: as the file's name says */
    int32_t source_type;       /* an MRB_THUMB_SOURCE_ */
    int32_t orientation;       /* EXIF orientation 1 to 8; 0: as the file says */
    int32_t thumb_width;       /* pixels of the box that the images fit into; 0: 256 */
    int32_t thumb_height;      /* likewise */
    int32_t used_cache;        /* not 0: an image in the flash cache serves as well */
    uint8_t video_frame_count; /* 1 to 5; 0 counts as 1 */
    uint8_t padding[3];
    thumbnail_result_cb callback;
    void *user_data;
} _thumb_request; /* NOLINT(bugprone-reserved-identifier): the framework's own name */

MRB_CHECK_SIZE_32(_thumb_request, 40);
MRB_CHECK_OFFSET_32(_thumb_request, origin_path, 0);
MRB_CHECK_OFFSET_32(_thumb_request, media_type, 4);
MRB_CHECK_OFFSET_32(_thumb_request, source_type, 8);
MRB_CHECK_OFFSET_32(_thumb_request, orientation, 12);
MRB_CHECK_OFFSET_32(_thumb_request, thumb_width, 16);
MRB_CHECK_OFFSET_32(_thumb_request, thumb_height, 20);
MRB_CHECK_OFFSET_32(_thumb_request, used_cache, 24);
MRB_CHECK_OFFSET_32(_thumb_request, video_frame_count, 28);
MRB_CHECK_OFFSET_32(_thumb_request, callback, 32);
MRB_CHECK_OFFSET_32(_thumb_request, user_data, 36);

/* Each client of the process begins with thumbnail_init and ends with thumbnail_finalize. */
int thumbnail_init(void);

/*
 * Ends all requests of the process with MRB_ERR_CANCELLED, those of other clients too:
 * neither this call nor a request names its client, and the callbacks of the client that
 * ends must not run later. The other clients may request again.
 */
int thumbnail_finalize(void);

/*
 * MRB_ERR_INVALID_PARAMETER when the path or the callback is null, and
 * MRB_ERR_NOT_INITIALIZED when there is no client, without a callback. Every other error
 * of a request is reported through its callback.
 */
int thumbnail_request_async(_thumb_request request);

/*
 * Cancels one request: among those with the same record the one with the same user
 * data, or else the oldest. MRB_ERR_NOT_FOUND when there is none, or its callback has
 * begun. The user data of a cancelled request are never passed on.
 */
int thumbnail_request_cancel(_thumb_request request);
int thumbnail_request_cancel_all(void);

/*
 * Ends the requests of MRB_THUMB_SOURCE_PTP with MRB_ERR_CANCELLED, and returns when no
 * camera decode is running; MRB_ERR_TIMEOUT when one still is after two seconds.
 */
int thumbnail_stop_ptp_decode_sync(void);

/* ---- flash thumbnail cache ---------------------------------------------- */

typedef struct mrb_thumbnail_flash_cache_param_s *mrb_thumbnail_flash_cache_param_h;

/* Opens the cache whose list file is at `list_path`, which lies below the framework's root. */
int mrb_thumbnail_flash_cache_init(const char *list_path);

/* Returns non-zero and fills *param on success, 0 on failure. */
int mrb_create_thumbnail_flash_cache_param(mrb_thumbnail_flash_cache_param_h *param);
int mrb_destroy_thumbnail_flash_cache_param(mrb_thumbnail_flash_cache_param_h param);
int mrb_set_thumbnail_flash_cache_filename(mrb_thumbnail_flash_cache_param_h param, const char *file_name);
int mrb_set_thumbnail_flash_cache_url(mrb_thumbnail_flash_cache_param_h param, const char *url);
int mrb_set_thumbnail_flash_cache_xsize(mrb_thumbnail_flash_cache_param_h param, int width);
int mrb_set_thumbnail_flash_cache_ysize(mrb_thumbnail_flash_cache_param_h param, int height);

/*
 * Stores one image: of the result whose callback is running on this thread, in its own
 * size; any other has the width and height set in `param`. Returns non-zero on success,
 * 0 on failure; the caller keeps the buffers. The preset buffer may be null.
 */
int mrb_thumbnail_flash_cache_save_file(mrb_thumbnail_flash_cache_param_h param, const unsigned char *image,
                                        const char *preset_buffer);

#ifdef __cplusplus
} /* extern "C" */
#endif
