#pragma once

#include "thumbnail/decoder.h"
#include "thumbnail/fit.h"

namespace mrb::thumbnail {

// Turns a picture that is stored with an EXIF orientation (1 to 8, CIPA DC-008
// tag 0x0112) upright. Throws std::bad_alloc.
Image turnUpright(Image image, int orientation);

// Completes `decoded` with an image in the file's orientation: `original` is the stored size,
// `orientation` the file's own, which the request may override.
void addImage(Image image, Size original, int orientation, const DecodeRequest &request, Decoded &decoded);

} // namespace mrb::thumbnail
