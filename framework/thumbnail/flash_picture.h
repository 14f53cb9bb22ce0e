#pragma once

#include <string>

#include "thumbnail/decoder.h"

namespace mrb::thumbnail {

// The files of the flash cache's images: 32-bit bitmaps with their rows from top to bottom (a
// negative height), which image viewers open, followed by the preset buffer where there is one.

std::int64_t flashPictureBytes(int width, int height, bool preset);

// Writes the file atomically, also when the system crashes. `preset` may be null. False: it could
// not be written.
bool writeFlashPicture(const std::string &path, const unsigned char *pixels, int width, int height,
                       const char *preset);

// Reads a file that must have this size; false when it has another size, or cannot be read.
bool readFlashPicture(const std::string &path, Image &image, std::string *preset);

} // namespace mrb::thumbnail
