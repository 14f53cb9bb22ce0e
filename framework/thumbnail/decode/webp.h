#pragma once

#include "base/cancellation.h"
#include "thumbnail/decode/jpeg_segments.h"
#include "thumbnail/decode/vips_library.h"
#include "thumbnail/fit.h"

namespace mrb::thumbnail {

// The size in a WebP file's first chunk (RFC 9649); no pixels when the data end before it.
// libvips allocates memory for the whole picture as soon as it opens one, so pictures that are
// too large must not reach it.
Size sizeOfWebp(ByteSpan data);

// Whether the data are a WebP file of one still picture without EXIF and ICC profile.
bool isPlainWebp(ByteSpan data);

// Decodes such a file.
Status decodePlainWebp(ByteSpan data, const DecodeRequest &request, const CancellationToken &cancellation,
                       Decoded &decoded);

// Opens any other WebP file of this size, scaled down during decoding, to no less than its size
// in the box.
Status openWebp(ByteSpan data, Size size, Size box, VipsPicture &picture);

} // namespace mrb::thumbnail
