#pragma once

#include <memory>

#include "base/deleter.h"
#include "thumbnail/decoding.h"

namespace mrb::thumbnail {

// The preset buffer of a result: MRB_THUMB_PRESET_BYTES bytes that hold the text of a
// JSON object and zeros. It tells what an image was made from:
//
//     {"width":4000,"height":3000,"orientation":6,"embedded":false,"duration":null}
//
// the original's size in pixels as it is shown, the EXIF orientation applied, whether
// the small picture in the EXIF data was used, and a video's milliseconds, null where
// there are none; or else, for an image that was kept, the bytes kept with it. Throws std::bad_alloc.
MallocPtr<char> makePreset(const Decoded &decoded);

} // namespace mrb::thumbnail
