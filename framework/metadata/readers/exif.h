#pragma once

#include <string>

#include "metadata/metadata.h"

namespace mrb {

// Reads a picture's EXIF data: camera, exposure, date, orientation, place. `bytes` are a TIFF
// structure, with or without "Exif\0\0" in front; they may be hostile, and what cannot be parsed
// is left out.
void readExif(std::string bytes, Metadata &metadata);

} // namespace mrb
