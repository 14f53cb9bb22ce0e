#pragma once

#include "base/cancellation.h"
#include "thumbnail/decode/jpeg_segments.h"
#include "thumbnail/fit.h"

namespace mrb::thumbnail {

// Decodes a picture file to one image.
Status decodePictureFile(const MediaFile &file, const DecodeRequest &request,
                         const CancellationToken &cancellation, Decoded &decoded);

// The same for a picture in memory, such as the cover of a music file.
Status decodePicture(ByteSpan data, const DecodeRequest &request, const CancellationToken &cancellation,
                     Decoded &decoded);

} // namespace mrb::thumbnail
