#pragma once

#include "thumbnail/decode/jpeg_segments.h"

namespace mrb::thumbnail {

struct ExifFacts {
    int orientation = 1; // 1 to 8
    Bytes picture;       // the small JPEG in it; empty: none
};

// Reads EXIF data, from "Exif\0\0" on. Damaged data have no facts.
ExifFacts readExif(ByteSpan exif);

} // namespace mrb::thumbnail
