#pragma once

#include <string>

#include "base/cancellation.h"
#include "thumbnail/media_file.h"

namespace mrb::thumbnail {

// See VideoModule::readCover.
Status readCover(const MediaFile &file, const std::string &path, const CancellationToken &cancellation,
                 Bytes &cover);

} // namespace mrb::thumbnail
