#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "camera_files/camera_file.h"
#include "metadata/facts.h"

namespace mrb {

// Whether the file's name says that it may have EXIF data, which most cameras give apart
// from it.
bool hasExif(const CameraFile &file);

// Reads what a driver gives of them, from "Exif\0\0" on, in whatever form it does; they are
// hostile. Empty: it gives none that say anything. Fails only where endsAll is true.
Status readDriversExif(const CameraFile &file, const CameraPatience &patience, std::string &exif);

// The same, and where the driver gives none, of the beginning of a file that hasExif. `size`: the file's,
// or CameraFileFacts::UNSAID.
Status readCameraExif(const CameraFile &file, const CameraPatience &patience, std::int64_t size,
                      std::string &exif);

// So much of a file's beginning has mostly all that it says of itself: a segment of a JPEG has
// 64 KiB at most.
inline constexpr std::size_t HEAD_BYTES = 128UL << 10;

// What EXIF data say, of the picture's size too.
Metadata factsOfExif(const std::string &exif);

// EXIF data from "Exif\0\0" on out of what may be they, their segment, what they have in them or
// the beginning of a JPEG. Empty: there are none.
std::string exifIn(std::string_view bytes);

// A JPEG that has these EXIF data and says that it has so many pixels, but has none. What is
// empty, not above 0 or has no room in a JPEG is left out.
std::string jpegOf(const std::string &exif, std::int64_t width, std::int64_t height);

} // namespace mrb
