#pragma once

#include <cstddef>
#include <string>

#include "metadata/media_file.h"

namespace mrb {

// Opens the file that a URL names for its metadata. Of a camera that gives pieces, pieces are
// read. Of others the EXIF data of a JPEG whose size in pixels the camera says, or its beginning
// where the driver gives none, or else the whole file, unless it is larger than
// MOST_FETCHED_FOR_FACTS: then what EXIF data it has.
Status openCameraMedia(const std::string &url, MediaFile &file);
inline constexpr std::size_t MOST_FETCHED_FOR_FACTS = 32UL << 20;

} // namespace mrb
