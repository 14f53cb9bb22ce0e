#pragma once

#include "base/cancellation.h"
#include "thumbnail/decode/jpeg_segments.h"

namespace mrb::thumbnail {

// Decodes a whole JPEG file.
Status decodeJpeg(ByteSpan data, const DecodeRequest &request, const CancellationToken &cancellation,
                  Decoded &decoded);

// Decodes the EXIF thumbnail of a JPEG whose beginning is `head`. False when there is none, or it
// is too small, or has other proportions than the picture; `decoded` is then unchanged.
bool decodeEmbedded(ByteSpan head, const DecodeRequest &request, const CancellationToken &cancellation,
                    Decoded &decoded);

} // namespace mrb::thumbnail
