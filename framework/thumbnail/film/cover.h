#pragma once

#include <string>

#include "thumbnail/media_file.h"

namespace mrb::thumbnail {

// As Films::readCover.
Status readCover(const MediaFile &file, const std::string &path, const StopSign &stop, Bytes &cover);

} // namespace mrb::thumbnail
