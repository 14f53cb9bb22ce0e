// The thumbnail adapter's life and its commands.

#include "MRBThumbnailAdapter.h"

#include "envelope.h"
#include "log.h"

/// The last log line of every command.
#define LOG_ANSWER(command, result, answer)                                                                  \
    MRB_LOG(LogTag::Thumbnail, "strCmd[%s] eResult[%d] strReturnJson[%s].", command, result, (answer).c_str())

namespace MRBBridge {
namespace {

// "return_ecode" of a thumbnail command, besides RETURN_ECODE_REFUSED. What the service
// makes of a call is told by a request's result alone.
constexpr int RETURN_ECODE_CALLED = 0;
constexpr int RETURN_ECODE_NOT_INITIALISED = 1;

/// Where the flash cache has its list.
constexpr const char *FLASH_CACHE_LIST = "/opt/usr/apps/media-resource-broker/data/thumbCache.txt";

} // namespace

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

/// Defines a command with a request that is one call of the framework's, whose name it has.
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
        std::string answer = Answer(code);                                                                   \
        LOG_ANSWER(#function, code, answer);                                                                 \
        return answer;                                                                                       \
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
        std::string answer = Answer(code);                                                                   \
        LOG_ANSWER(#function, code, answer);                                                                 \
        return answer;                                                                                       \
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
    std::string answer = Answer(code);
    LOG_ANSWER(command, code, answer);
    return answer;
}

} // namespace MRBBridge
