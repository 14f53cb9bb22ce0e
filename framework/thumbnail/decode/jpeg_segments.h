#pragma once

#include <optional>
#include <span>

#include "thumbnail/media_file.h"

namespace mrb::thumbnail {

using ByteSpan = std::span<const unsigned char>;

// What stands in front of a JPEG's pixels (ITU-T T.81 annex B).
struct JpegSegments {
    ByteSpan exif; // an APP1 segment's contents from "Exif\0\0" on; empty: none. Points into the data
    Bytes profile; // the ICC profile, put together from its APP2 segments; empty: none, or not all of it
    bool progressive = false;
    bool complete = false; // the frame header was found; else the data ends too early
};

bool isJpeg(ByteSpan data);

// Reads the segments up to the pixels or the data's end. `data` may be a file's beginning.
JpegSegments readJpegSegments(ByteSpan data);

} // namespace mrb::thumbnail
