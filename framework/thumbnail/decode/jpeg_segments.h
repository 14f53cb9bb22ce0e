#pragma once

#include <optional>
#include <span>

#include "thumbnail/media_file.h"

namespace mrb::thumbnail {

using ByteSpan = std::span<const unsigned char>;

// The segments before a JPEG's image data (ITU-T T.81 annex B).
struct JpegSegments {
    ByteSpan exif; // an APP1 segment's contents from "Exif\0\0" on; empty: none. Points into the data
    Bytes profile; // the ICC profile, joined from its APP2 segments; empty: none, or incomplete
    bool progressive = false;
    bool complete = false; // the frame header was found; false: the data end before it
};

bool isJpeg(ByteSpan data);

// Reads the segments up to the image data or the end of `data`, which may be a file's beginning.
JpegSegments readJpegSegments(ByteSpan data);

} // namespace mrb::thumbnail
