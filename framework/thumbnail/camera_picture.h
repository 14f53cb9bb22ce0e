#pragma once

#include <functional>

#include "base/cancellation.h"
#include "thumbnail/decoding.h"
#include "thumbnail/flash_cache.h"

namespace mrb::thumbnail {

// Whether it is the URL of a file on a camera.
bool isOnCamera(const std::string &path);

// Makes the thumbnail of a file on a camera, whose URL is the request's path: of the small
// picture in its EXIF data, or the one that the camera gives of it, when that is large
// enough; else of the whole file, which is fetched when it is no longer than MOST_FETCHED;
// and of the small picture all the same when that cannot be. `cache`, if any, is looked into first. Throws
// nothing but what `decode` does, and std::bad_alloc.
void decodeCameraPicture(const DecodeRequest &request, const CancellationToken &stop,
                         const std::function<Decode> &decode, FlashCache *cache, Decoded &decoded);

inline constexpr std::size_t MOST_FETCHED = std::size_t{64} << 20;

} // namespace mrb::thumbnail
