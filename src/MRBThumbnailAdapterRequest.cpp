// From a thumbnail request's text to the framework's record.

#include "MRBThumbnailAdapter.h"

#include <cstring>
#include <memory>

#include "MRBBridgeJson.h"
#include "log.h"
#include "request.h"

namespace MRBBridge {
namespace {

/// "param_thumb_type" of a request whose images go into the flash cache.
constexpr int THUMB_TYPE_FLASH_CACHE = 1;

} // namespace

bool CMRBThumbnailAdapter::m_GetThumbRequest(const std::string &strParam, _thumb_request &request,
                                             std::string &strPath) {
    if (strParam.empty()) {
        MRB_LOG(LogTag::Thumbnail, "strParam is empty......");
        return false;
    }
    std::memset(&request, 0, sizeof request); // its padding too: the framework may compare records
    const CMRBBridgeJson json(strParam);
    strPath = Text(json, "param_origin_path");
    if (strPath.empty()) {
        MRB_LOG(LogTag::Thumbnail, "strPath empth!!!");
        return false;
    }
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

} // namespace MRBBridge
