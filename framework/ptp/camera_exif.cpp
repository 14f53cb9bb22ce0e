#include "ptp/camera_exif.h"

#include <algorithm>
#include <cctype>
#include <memory>
#include <utility>

#include "metadata/media_file.h"
#include "metadata/read_metadata.h"
#include "ptp/bytes_in_memory.h"

namespace mrb {
namespace {

constexpr std::size_t MOST_EXIF = 1UL << 20;

std::string bigEndian16(std::size_t number) {
    return {static_cast<char>(number >> 8U & 0xffU), static_cast<char>(number & 0xffU)};
}

} // namespace

bool hasExif(const CameraFile &file) {
    std::string name = file.name();
    std::ranges::transform(name, name.begin(), [](unsigned char letter) { return std::tolower(letter); });
    return name.ends_with(".jpg") || name.ends_with(".jpeg") || name.ends_with(".jpe");
}

Outcome readCameraExif(const CameraFile &file, const CameraPatience &patience, std::string &exif) {
    return file.read(patience, CameraPart::EXIF, MOST_EXIF, exif);
}

Metadata factsOfExif(const std::string &exif) {
    std::string jpeg = jpegOf(exif, 0, 0);
    const auto size = static_cast<std::int64_t>(jpeg.size());
    MediaFile file;
    file.open(std::make_unique<BytesInMemory>(std::move(jpeg), size, 0));
    Metadata facts;
    Outcome ignored; // there is nothing that it would be the end of
    readMetadata(file, "exif.jpg", facts, ignored);
    return facts;
}

// ISO/IEC 10918-1, annex B.
std::string jpegOf(const std::string &exif, std::int64_t width, std::int64_t height) {
    constexpr std::size_t MOST = 0xffff;
    std::string jpeg = "\xff\xd8";
    if (!exif.empty() && exif.size() + 2 <= MOST) {
        jpeg.append("\xff\xe1").append(bigEndian16(exif.size() + 2)).append(exif);
    }
    if (width > 0 && height > 0 && width <= std::int64_t{MOST} && height <= std::int64_t{MOST}) {
        const std::string size =
            bigEndian16(static_cast<std::size_t>(height)) + bigEndian16(static_cast<std::size_t>(width));
        // One plane, and the beginning of a scan, without which readers see no picture at all.
        jpeg.append("\xff\xc0\0\x0b\x08", 5).append(size).append("\x01\x01\x11\0", 4);
        jpeg.append("\xff\xda\0\x08\x01\x01\0\0\x3f\0", 10);
    }
    return jpeg.append("\xff\xd9");
}

} // namespace mrb
