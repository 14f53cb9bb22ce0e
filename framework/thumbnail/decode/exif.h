#pragma once

#include "thumbnail/decode/jpeg_segments.h"

namespace mrb::thumbnail {

struct ExifFields {
    int orientation = 1; // 1 to 8
    Bytes picture;       // the embedded JPEG thumbnail; empty: none
};

// Reads EXIF data, from "Exif\0\0" on. Damaged data yield the defaults.
ExifFields readExif(ByteSpan exif);

} // namespace mrb::thumbnail
