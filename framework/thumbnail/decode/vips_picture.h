#pragma once

#include "base/cancellation.h"
#include "thumbnail/decode/jpeg_segments.h"

namespace mrb::thumbnail {

// Decodes a PNG, WebP, GIF, TIFF, HEIC, AVIF or JPEG XL file; of several pictures the first.
// MRB_ERR_NOT_SUPPORTED: the data have another format.
Status decodeWithVips(ByteSpan data, const DecodeRequest &request, const CancellationToken &cancellation,
                      Decoded &decoded);

} // namespace mrb::thumbnail
