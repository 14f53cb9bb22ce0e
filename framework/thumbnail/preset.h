#pragma once

#include <memory>

#include "base/deleter.h"
#include "thumbnail/decoder.h"

namespace mrb::thumbnail {

// The preset buffer of a result: MRB_THUMB_PRESET_BYTES bytes that hold the text of a JSON object
// and zeros. It describes an image's original:
//
//     {"width":4000,"height":3000,"orientation":6,"embedded":false,"duration":null}
//
// the original's size in pixels when turned upright, the EXIF orientation applied, whether the
// embedded EXIF thumbnail was used, and a video's duration in milliseconds, else null. For an
// image from the cache it is the stored buffer. Throws std::bad_alloc.
MallocPtr<char> makePreset(const Decoded &decoded);

} // namespace mrb::thumbnail
