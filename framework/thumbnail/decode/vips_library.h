#pragma once

#include <vips/vips.h>

#include <memory>
#include <string>

#include "base/cancellation.h"
#include "base/deleter.h"
#include "base/result.h"
#include "thumbnail/decoder.h"
#include "thumbnail/fit.h"

namespace mrb::thumbnail {

using VipsPicture = std::unique_ptr<VipsImage, Deleter<g_object_unref>>;

// Initializes libvips for the calling thread: without log output, threads and a cache of its own.
Status useVips();

// The last error of libvips on this thread, as the reason why a picture is damaged, or too large.
Status vipsFailure();

// Computes a picture that has the size of a thumbnail, as 8-bit sRGB, converted from any colours.
// Throws std::bad_alloc.
Status render(VipsPicture picture, const CancellationToken &cancellation, Image &image);

} // namespace mrb::thumbnail
