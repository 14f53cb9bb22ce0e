#include "thumbnail/request.h"

#include "base/log.h"
#include "camera_files/attached_cameras.h"
#include "text/text.h"
#include "thumbnail/camera_picture.h"

namespace mrb::thumbnail {
namespace {

constexpr int DEFAULT_SIZE = 256;

bool isSize(int length) { return length >= 0 && length <= MRB_THUMB_MAX_PIXELS; }

bool isOfWeb(const std::string &origin) {
    return origin.starts_with("http://") || origin.starts_with("https://");
}

Status readPath(const std::string &origin, std::string &path) {
    if (origin.starts_with('/')) {
        path = origin;
    } else if (origin.starts_with("file://")) {
        path = pathOfFileUri(origin).value_or("");
    } else if (isOnCamera(origin)) {
        path = readCameraUrl(origin) ? origin : "";
    } else if (origin.find("://") != std::string::npos) {
        return Status::notSupported("only files of this machine and on cameras are decoded");
    }
    return path.empty()
               ? Status::invalidParameter(
                     "the path is neither absolute, nor a file:// URI, nor the URL of a camera's file")
               : Status{};
}

Status readNumbers(const _thumb_request &record, Request &request) {
    if (!isSize(record.thumb_width) || !isSize(record.thumb_height)) {
        return Status::invalidParameter("the width and height are not from 0 to " +
                                        std::to_string(MRB_THUMB_MAX_PIXELS));
    }
    if (record.orientation < 0 || record.orientation > 8) {
        return Status::invalidParameter("the orientation is not from 0 to 8");
    }
    if (record.video_frame_count > MRB_THUMB_IMAGES) {
        return Status::invalidParameter("the number of frames is not from 0 to 5");
    }
    request.decode.mediaType = record.media_type;
    request.decode.orientation = record.orientation;
    request.decode.width = record.thumb_width > 0 ? record.thumb_width : DEFAULT_SIZE;
    request.decode.height = record.thumb_height > 0 ? record.thumb_height : DEFAULT_SIZE;
    request.decode.frames = record.video_frame_count > 0 ? record.video_frame_count : 1;
    return {};
}

} // namespace

Request readRequest(const _thumb_request &record) {
    Request request;
    request.origin = record.origin_path;
    request.sourceType = record.source_type;
    request.useCache = record.used_cache != 0;
    request.isRemote = request.sourceType == MRB_THUMB_SOURCE_DLNA && isOfWeb(request.origin);
    request.decode.path = request.isRemote ? request.origin : std::string();
    Status status = request.isRemote ? Status() : readPath(request.origin, request.decode.path);
    if (status.ok()) {
        status = readNumbers(record, request);
    }
    if (!status.ok()) {
        MRB_LOG_WARNING("No thumbnail of \"%s\": %s.", record.origin_path, status.message.c_str());
        request.refusal = status.code;
    }
    return request;
}

} // namespace mrb::thumbnail
