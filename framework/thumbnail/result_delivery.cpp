#include "thumbnail/result_delivery.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

#include "thumbnail/preset.h"

namespace mrb::thumbnail {
namespace {

thread_local const ThumbnailResult *current = nullptr;

Image copyOf(const Image &image) {
    Image copy = makeImage(image.width, image.height);
    copy.timeStamp = image.timeStamp;
    std::memcpy(copy.pixels.get(), image.pixels.get(), image.bytes());
    return copy;
}

// Everything that can fail comes first, so that no image is lost.
void fill(thumb_result_s &result, const Request &request, Decoded &decoded, bool last) {
    // With the flash cache only: without it, clients write images into bitmap files, where these
    // bytes would make some viewers refuse the file.
    MallocPtr<char> preset = request.useCache ? makePreset(decoded) : nullptr;
    std::vector<Image> images;
    images.reserve(decoded.images.size());
    for (Image &image : decoded.images) {
        images.push_back(last ? std::move(image) : copyOf(image));
    }
    result.preset_buffer = preset.release();
    for (Image &image : images) {
        result.image_width = image.width;
        result.image_height = image.height;
        result.buffer_size = static_cast<std::int32_t>(image.bytes());
        result.time_stamp[result.image_count] = image.timeStamp;
        result.image_buffer[result.image_count++] = image.pixels.release();
    }
    result.image_depth = 32;
    const bool whole =
        result.image_width == decoded.originalWidth && result.image_height == decoded.originalHeight;
    result.flag_origin_image = whole ? 1 : 0;
}

} // namespace

const ThumbnailResult *currentResult() { return current; }

void deliverResult(const Request &request, Decoded &decoded, bool last,
                   const PendingRequest &pending) noexcept {
    thumb_result_s result{};
    const std::size_t length = std::min(request.origin.size(), sizeof result.origin_path - 1);
    std::memcpy(result.origin_path, request.origin.data(), length);
    int code = decoded.status.code;
    if (code == MRB_ERR_NONE) {
        try {
            fill(result, request, decoded, last);
        } catch (const std::bad_alloc &) {
            code = MRB_ERR_OUT_OF_MEMORY;
        }
    }
    // Without decoders the service has failed, not the file.
    code = code == MRB_ERR_NOT_INITIALIZED ? int{MRB_THUMB_SERVICE_FAILED} : code;
    ThumbnailResult delivered{&request, decoded.source, &result, {}};
    std::ranges::copy(result.image_buffer, delivered.images);
    const ThumbnailResult *const outer = std::exchange(current, &delivered);
    pending.callback(code, &result, pending.userData);
    current = outer;
}

} // namespace mrb::thumbnail
