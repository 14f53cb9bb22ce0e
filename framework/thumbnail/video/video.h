#pragma once

#include "base/cancellation.h"
#include "thumbnail/media_file.h"

namespace mrb::thumbnail {

// See VideoModule::decodeVideo and VideoModule::decodeStill.
Status decodeVideo(const MediaFile &file, const DecodeRequest &request, const CancellationToken &cancellation,
                   Decoded &decoded);
Status decodeStill(const MediaFile &file, const DecodeRequest &request, const CancellationToken &cancellation,
                   Decoded &decoded);

} // namespace mrb::thumbnail
