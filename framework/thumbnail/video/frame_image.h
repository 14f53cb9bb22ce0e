#pragma once

#include "thumbnail/fit.h"
#include "thumbnail/video/av_input.h"

namespace mrb::thumbnail {

// A frame's size with square pixels. `aspect` is its pixels' aspect ratio, 0: square.
Size displaySize(int width, int height, AVRational aspect);

// Converts a frame to an image of this size, by the frame's own colour matrix and range.
Status imageOf(const AVFrame &frame, Size size, Image &image);

} // namespace mrb::thumbnail
