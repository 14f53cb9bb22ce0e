#pragma once

#include "base/cancellation.h"
#include "thumbnail/decoder.h"
#include "thumbnail/fit.h"
#include "thumbnail/media_file.h"

namespace mrb::thumbnail {

// The output of a decoder: rows from top to bottom without gaps. Owned by the decoding thread.
struct Pixels {
    Bytes &bytes;
    Size size = {};
    int channels = 0;   // 1: grey, 3: red, green, blue; 4: and alpha, not premultiplied
    Bytes profile = {}; // the ICC profile of the colours; empty: sRGB
};

// Creates an image of exactly this size, whose proportions may differ from the picture's by a
// rounded pixel.
Status resize(const Pixels &pixels, Size target, const CancellationToken &cancellation, Image &image);

} // namespace mrb::thumbnail
