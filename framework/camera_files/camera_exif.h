#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "camera_files/camera_file.h"
#include "metadata/metadata.h"

namespace mrb {

// Whether a file of this name may have EXIF data, which most cameras transfer
// separately.
bool hasExif(const CameraFile &file);

// Reads the EXIF data that a driver supplies, in whatever form, from "Exif\0\0" on; they are
// hostile. Empty: it supplies none with any content. Fails only where endsAll is true.
Status readDriversExif(const CameraFile &file, const CameraTimeout &timeout, std::string &exif);

// The same; when the driver supplies none, reads them from the beginning of a file that
// hasExif. `size`: the file's, or CameraFileStatus::UNSAID.
Status readCameraExif(const CameraFile &file, const CameraTimeout &timeout, std::int64_t size,
                      std::string &exif);

// The beginning of a file, which mostly holds all of its metadata: a segment of a JPEG has
// 64 KiB at most.
inline constexpr std::size_t HEAD_BYTES = 128UL << 10;

// The metadata in EXIF data, including the picture's size.
Metadata metadataOfExif(const std::string &exif);

// Finds EXIF data in `bytes` and returns them from "Exif\0\0" on: they may be EXIF data, their
// JPEG segment, their TIFF part or the beginning of a JPEG. Empty: none found.
std::string exifIn(std::string_view bytes);

// A JPEG header with these EXIF data and this size in pixels, but without a picture. Omits
// what is empty, not above 0 or too large for a JPEG.
std::string jpegOf(const std::string &exif, std::int64_t width, std::int64_t height);

} // namespace mrb
