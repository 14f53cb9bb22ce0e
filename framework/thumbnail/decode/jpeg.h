#pragma once

#include "base/cancellation.h"
#include "thumbnail/decode/jpeg_segments.h"

namespace mrb::thumbnail {

// Decodes a whole JPEG file.
Status decodeJpeg(ByteSpan data, const DecodeRequest &request, const CancellationToken &stop,
                  Decoded &decoded);

// Takes the small picture in the EXIF data of a JPEG whose beginning is `head`.
// False when there is none, or it is too small, or does not show the whole
// picture; `decoded` is then as it was.
bool decodeEmbedded(ByteSpan head, const DecodeRequest &request, const CancellationToken &stop,
                    Decoded &decoded);

} // namespace mrb::thumbnail
