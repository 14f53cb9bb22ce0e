#pragma once

#include <string>

#include "thumbnail/decoding.h"

namespace mrb::thumbnail {

// The files in which the flash cache keeps its images: 32-bit bitmaps with their rows
// from top to bottom (a negative height), which image viewers open, followed by the
// preset buffer where there is one.

std::int64_t flashPictureBytes(int width, int height, bool preset);

// Writes the file so that it is there whole or not at all, also after a crash.
// `preset` may be null. False: it could not be written.
bool writeFlashPicture(const std::string &path, const unsigned char *pixels, int width, int height,
                       const char *preset);

// Reads a file back that must have this size; False when it has not, or cannot be read.
bool readFlashPicture(const std::string &path, Image &image, std::string *preset);

} // namespace mrb::thumbnail
