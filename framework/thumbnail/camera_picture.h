#pragma once

#include <functional>

#include "base/cancellation.h"
#include "thumbnail/decoder.h"
#include "thumbnail/flash_cache.h"

namespace mrb::thumbnail {

// Whether it is the URL of a file on a camera.
bool isOnCamera(const std::string &path);

// Makes the thumbnail of a file on a camera, whose URL is the request's path: from the EXIF
// thumbnail, or the camera's preview, if that is large enough; else from the whole file, which is
// fetched when it is no longer than MAX_FETCHED_BYTES; and from the preview after all when the file
// cannot be used. `cache`, if any, is searched first. Throws only what `decode` throws, and
// std::bad_alloc.
void decodeCameraPicture(const DecodeRequest &request, const CancellationToken &cancellation,
                         const std::function<Decode> &decode, FlashCache *cache, Decoded &decoded);

inline constexpr std::size_t MAX_FETCHED_BYTES = std::size_t{64} << 20;

} // namespace mrb::thumbnail
