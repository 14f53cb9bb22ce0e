#pragma once

#include "thumbnail/decode/media_file.h"

namespace mrb::thumbnail {

// Decodes the cover that a music file carries. MRB_ERR_NOT_FOUND: it has none.
Outcome decodeCover(const MediaFile &file, const DecodeRequest &request, const StopSign &stop,
                    Decoded &decoded);

} // namespace mrb::thumbnail
