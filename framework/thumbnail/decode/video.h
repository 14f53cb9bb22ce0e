#pragma once

#include "thumbnail/decode/media_file.h"

namespace mrb::thumbnail {

// Decodes frames of a video, spread over its running time.
Outcome decodeVideo(const MediaFile &file, const DecodeRequest &request, const StopSign &stop,
                    Decoded &decoded);

// Decodes a picture in a format that libav alone knows, such as BMP.
Outcome decodeStill(const MediaFile &file, const DecodeRequest &request, const StopSign &stop,
                    Decoded &decoded);

} // namespace mrb::thumbnail
