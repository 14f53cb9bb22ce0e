#include "camera_files/camera_exif.h"

#include <algorithm>
#include <cctype>
#include <memory>
#include <utility>

#include "camera_files/bytes_in_memory.h"
#include "metadata/byte_order.h"
#include "metadata/media_file.h"
#include "metadata/read_metadata.h"

namespace mrb {
namespace {

constexpr std::size_t MAX_EXIF_BYTES = 1UL << 20;

constexpr std::string_view EXIF("Exif\0\0", 6);
constexpr std::string_view LITTLE_ENDIAN_TIFF("II*\0", 4);
constexpr std::string_view BIG_ENDIAN_TIFF("MM\0*", 4);
constexpr std::string_view START_OF_IMAGE("\xff\xd8");
constexpr char START_OF_SCAN = '\xda';

// Some drivers supply an IFD without entries where they find no EXIF data.
bool saysAnything(const std::string &exif) {
    const Metadata fileStatus = metadataOfExif(exif);
    const auto isSaid = [&fileStatus](MetadataKey key) { return fileStatus.has(key); };
    constexpr MetadataKey SAID[] = {
        MetadataKey::ORIENTATION, MetadataKey::MODEL, MetadataKey::DATE_TAKEN, MetadataKey::EXPOSURE_TIME,
        MetadataKey::F_NUMBER,    MetadataKey::ISO,   MetadataKey::LATITUDE,   MetadataKey::WIDTH};
    return std::ranges::any_of(SAID, isSaid) || exif.find("\xff\xd8\xff") != std::string::npos;
}

// PTP drivers request as many bytes as the length of the segment, which does not count its
// marker, and so miss the last two. Mostly these end the embedded thumbnail, or pad it to an
// even number of bytes.
std::string withLastTwoBytes(std::string_view contents) {
    constexpr std::string_view END_OF_IMAGE("\xff\xd9");
    const bool hasHalf = contents.ends_with(END_OF_IMAGE[0]);
    return std::string(contents)
        .append(hasHalf ? END_OF_IMAGE.substr(1) : END_OF_IMAGE)
        .append(hasHalf, '\0');
}

std::string bigEndian16(std::size_t number) {
    return {static_cast<char>(number >> 8U & 0xffU), static_cast<char>(number & 0xffU)};
}

} // namespace

bool hasExif(const CameraFile &file) {
    std::string name = file.name();
    std::ranges::transform(name, name.begin(), [](unsigned char letter) { return std::tolower(letter); });
    return name.ends_with(".jpg") || name.ends_with(".jpeg") || name.ends_with(".jpe");
}

Status readDriversExif(const CameraFile &file, const CameraTimeout &timeout, std::string &exif) {
    std::string given;
    Status status = file.read(timeout, CameraPart::EXIF, MAX_EXIF_BYTES, given);
    exif = status.ok() ? exifIn(given) : std::string();
    if (!exif.empty() && !saysAnything(exif)) {
        exif.clear();
    }
    // A file without EXIF data fails in as many ways as there are drivers.
    return endsAll(status) ? status : Status();
}

Status readCameraExif(const CameraFile &file, const CameraTimeout &timeout, std::int64_t size,
                      std::string &exif) {
    Status status = readDriversExif(file, timeout, exif);
    if (!status.ok() || !exif.empty() || !hasExif(file)) {
        return status;
    }
    std::string head;
    status = file.readBeginning(timeout, size, HEAD_BYTES, head);
    exif = exifIn(head);
    return endsAll(status) ? status : Status();
}

// ISO/IEC 10918-1, annex B, and Exif 2.32, 4.7.2.
std::string exifIn(std::string_view bytes) {
    if (bytes.starts_with(EXIF)) {
        return std::string(bytes);
    }
    if (bytes.starts_with(LITTLE_ENDIAN_TIFF) || bytes.starts_with(BIG_ENDIAN_TIFF)) {
        return std::string(EXIF).append(bytes);
    }
    std::size_t at = bytes.starts_with(START_OF_IMAGE) ? START_OF_IMAGE.size() : 0;
    while (at + 4 <= bytes.size() && bytes[at] == '\xff') {
        const std::size_t length = bigEndian(bytes, at + 2, 2);
        const std::string_view contents = bytes.substr(at + 4, std::max<std::size_t>(length, 2) - 2);
        if (bytes[at + 1] == '\xe1' && contents.starts_with(EXIF)) {
            return contents.size() + 2 == length - 2 ? withLastTwoBytes(contents) : std::string(contents);
        }
        if (length < 2 || bytes[at + 1] == START_OF_SCAN) {
            break;
        }
        at += 2 + length;
    }
    return {};
}

Metadata metadataOfExif(const std::string &exif) {
    std::string jpeg = jpegOf(exif, 0, 0);
    const auto size = static_cast<std::int64_t>(jpeg.size());
    MediaFile file;
    file.open(std::make_unique<BytesInMemory>(std::move(jpeg), size, 0));
    Metadata fileStatus;
    Status ignored; // in memory, nothing can fail permanently
    readMetadata(file, "exif.jpg", fileStatus, ignored);
    return fileStatus;
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
        // One component, and the beginning of a scan, without which readers reject the picture.
        jpeg.append("\xff\xc0\0\x0b\x08", 5).append(size).append("\x01\x01\x11\0", 4);
        jpeg.append("\xff\xda\0\x08\x01\x01\0\0\x3f\0", 10);
    }
    return jpeg.append("\xff\xd9");
}

} // namespace mrb
