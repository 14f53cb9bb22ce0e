#pragma once

#include "thumbnail/decoding.h"

namespace mrb::thumbnail {

// Turns a picture that is stored with an EXIF orientation (1 to 8, CIPA DC-008
// tag 0x0112) upright. Throws std::bad_alloc.
Image turnUpright(Image image, int orientation);

} // namespace mrb::thumbnail
