#pragma once

#include <string>

#include "metadata/facts.h"

namespace mrb {

// Takes what EXIF data say of a picture: camera, exposure, date, orientation, place.
// `bytes` are a TIFF structure, with or without "Exif\0\0" in front; they may be
// anything, and what cannot be understood is left out.
void readExif(std::string bytes, Metadata &facts);

} // namespace mrb
