#include "MRBThumbnailAdapter.h"

#include "envelope.h"
#include "log.h"
#include "mrb/thumbnail.h"

namespace MRBBridge {
namespace {

/// "return_ecode" of a thumbnail command, besides RETURN_ECODE_REFUSED.
constexpr int RETURN_ECODE_NOT_INITIALISED = 1;

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

/// What every command does for now: it says that the service did not start, or
/// that the bridge does not serve the command. The service is not asked, and no
/// script takes the answer for a success.
#define REFUSE(command)                                                                                      \
    int code = RETURN_ECODE_REFUSED;                                                                         \
    if (!initialised_) {                                                                                     \
        MRB_LOG(LogTag::Thumbnail, "not init...");                                                           \
        code = RETURN_ECODE_NOT_INITIALISED;                                                                 \
    }                                                                                                        \
    std::string answer = Answer(code);                                                                       \
    MRB_LOG(LogTag::Thumbnail, "strCmd[%s] eResult[%d] strReturnJson[%s].", command, code, answer.c_str());  \
    return answer

std::string CMRBThumbnailAdapter::ThumbnailRequestAsync(const std::string & /*strParam*/) {
    REFUSE("thumbnail_request_async");
}

std::string CMRBThumbnailAdapter::ThumbnailRequestCancel(const std::string & /*strParam*/) {
    REFUSE("thumbnail_request_cancel");
}

std::string CMRBThumbnailAdapter::ThumbnailRequestCancelAll() { REFUSE("thumbnail_request_cancel_all"); }

std::string CMRBThumbnailAdapter::ThumbnailStopPtpDecodeSync() { REFUSE("thumbnail_stop_ptp_decode_sync"); }

std::string CMRBThumbnailAdapter::ThumbnailFlashCacheInit() { REFUSE("thumbnail_flash_cache_init"); }

#undef REFUSE

} // namespace MRBBridge
