#pragma once

#include <string>

#include "thumbnail/media_file.h"

namespace mrb::thumbnail {

// The front cover among the pictures in a music file's tags, or else the first picture; empty
// when there is none or TagLib does not know the format.
Bytes coverOfTags(const std::string &path);

} // namespace mrb::thumbnail
