// PNG, GIF, BMP and WebP: the sizes in their headers, and EXIF where present.

#include <limits>

#include "metadata/byte_order.h"
#include "metadata/readers/exif.h"
#include "metadata/readers/readers.h"

namespace mrb {
namespace {

constexpr int MAX_CHUNKS = 4096;
constexpr std::size_t MAX_EXIF_BYTES = 8U << 20;

void setSize(Metadata &metadata, std::uint32_t width, std::uint32_t height) {
    constexpr auto MOST = static_cast<std::uint32_t>(std::numeric_limits<std::int32_t>::max());
    if (width > 0 && height > 0 && width <= MOST && height <= MOST) {
        metadata.setNumber(MetadataKey::WIDTH, width);
        metadata.setNumber(MetadataKey::HEIGHT, height);
    }
}

// RIFF chunks are padded to even sizes.
constexpr std::int64_t even(std::uint32_t size) { return static_cast<std::int64_t>(size) + size % 2; }

} // namespace

// W3C PNG, third edition, chapters 5 and 11: IHDR comes first, eXIf anywhere.
void readPng(MediaFile &file, Metadata &metadata) {
    constexpr std::int64_t AROUND_DATA = 12; // length, type and checksum
    const std::string header = file.read(16, 8);
    setSize(metadata, bigEndian(header, 0, 4), bigEndian(header, 4, 4));
    std::int64_t offset = 8;
    for (int chunk = 0; chunk < MAX_CHUNKS; ++chunk) {
        const std::string front = file.read(offset, 8);
        if (front.size() < 8 || front.ends_with("IEND")) {
            return;
        }
        const std::uint32_t length = bigEndian(front, 0, 4);
        if (front.ends_with("eXIf")) {
            readExif(file.read(offset + 8, std::min<std::size_t>(length, MAX_EXIF_BYTES)), metadata);
            return;
        }
        offset += AROUND_DATA + length;
    }
}

// GIF89a, section 18.
void readGif(MediaFile &file, Metadata &metadata) {
    const std::string header = file.read(6, 4);
    setSize(metadata, littleEndian(header, 0, 2), littleEndian(header, 2, 2));
}

// BITMAPINFOHEADER; a negative height means rows from top to bottom.
void readBmp(MediaFile &file, Metadata &metadata) {
    const std::string header = file.read(0, 26);
    if (!header.starts_with("BM")) {
        return;
    }
    const auto height = static_cast<std::int32_t>(littleEndian(header, 22, 4));
    const std::uint32_t rows = littleEndian(header, 22, 4);
    setSize(metadata, littleEndian(header, 18, 4), height < 0 ? 0U - rows : rows);
}

// RFC 9649: the size lies in the first chunk, of which there are three types.
void readWebp(MediaFile &file, Metadata &metadata) {
    const std::string first = file.read(12, 18);
    const std::string_view data = std::string_view(first).substr(std::min<std::size_t>(first.size(), 8));
    constexpr std::uint32_t FOURTEEN_BITS = 0x3fff;
    if (first.starts_with("VP8X")) {
        setSize(metadata, littleEndian(data, 4, 3) + 1, littleEndian(data, 7, 3) + 1);
    } else if (first.starts_with("VP8L") && data.starts_with('\x2f')) {
        const std::uint32_t bits = littleEndian(data, 1, 4);
        setSize(metadata, (bits & FOURTEEN_BITS) + 1, (bits >> 14U & FOURTEEN_BITS) + 1);
    } else if (first.starts_with("VP8 ")) {
        setSize(metadata, littleEndian(data, 6, 2) & FOURTEEN_BITS, littleEndian(data, 8, 2) & FOURTEEN_BITS);
    }
    std::int64_t offset = 12;
    for (int chunk = 0; chunk < MAX_CHUNKS; ++chunk) {
        const std::string front = file.read(offset, 8);
        if (front.size() < 8) {
            return;
        }
        const std::uint32_t length = littleEndian(front, 4, 4);
        if (front.starts_with("EXIF")) {
            readExif(file.read(offset + 8, std::min<std::size_t>(length, MAX_EXIF_BYTES)), metadata);
            return;
        }
        offset += 8 + even(length);
    }
}

} // namespace mrb
