#pragma once

#include <cstdint>
#include <string>

#include "metadata/facts.h"
#include "ptp/camera_file.h"

namespace mrb {

// Whether the file's name says that it may have EXIF data, which most cameras give apart
// from it.
bool hasExif(const CameraFile &file);

// Reads them, from "Exif\0\0" on; they are hostile. A file without them fails in as many ways
// as there are drivers; endsAll tells what is another failure.
Outcome readCameraExif(const CameraFile &file, const CameraPatience &patience, std::string &exif);

// What EXIF data say, of the picture's size too.
Metadata factsOfExif(const std::string &exif);

// A JPEG that has these EXIF data and says that it has so many pixels, but has none. What is
// empty, not above 0 or has no room in a JPEG is left out.
std::string jpegOf(const std::string &exif, std::int64_t width, std::int64_t height);

} // namespace mrb
