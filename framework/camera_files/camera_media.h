#pragma once

#include <cstddef>
#include <string>

#include "metadata/media_file.h"

namespace mrb {

// Opens the file of a URL for its metadata. From a camera that supports partial reads, pieces are
// read. From others the EXIF data of a JPEG whose size in pixels the camera reports, or the
// beginning of the file where the driver supplies none; else the whole file, unless it is larger
// than MAX_FETCHED_FOR_METADATA: then its EXIF data, if any.
Status openCameraMedia(const std::string &url, MediaFile &file);
inline constexpr std::size_t MAX_FETCHED_FOR_METADATA = 32UL << 20;

} // namespace mrb
