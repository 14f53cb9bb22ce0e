// JPEG: the markers before the image data, ISO/IEC 10918-1, annex B.

#include "metadata/byte_order.h"
#include "metadata/readers/exif.h"
#include "metadata/readers/readers.h"

namespace mrb {
namespace {

// The maximum of segments before the frame header: thumbnails and colour profiles.
constexpr int MAX_SEGMENTS = 4096;
// One read usually covers all of them.
constexpr std::size_t AT_ONCE = 128UL << 10;

// Frame headers are C0 to CF without C4, C8 and CC.
constexpr bool isFrameHeader(unsigned marker) {
    return marker >= 0xc0 && marker <= 0xcf && marker != 0xc4 && marker != 0xc8 && marker != 0xcc;
}

// Markers without a length: TEM, RST0 to RST7, SOI and EOI.
constexpr bool isAlone(unsigned marker) { return marker == 0x01 || (marker >= 0xd0 && marker <= 0xd9); }

} // namespace

void readJpeg(MediaFile &file, Metadata &metadata) {
    constexpr unsigned START_OF_SCAN = 0xda;
    constexpr unsigned APP1 = 0xe1;
    const std::string head = file.read(0, AT_ONCE);
    const auto bytes = [&](std::int64_t offset, std::size_t length) {
        const auto start = static_cast<std::size_t>(offset);
        return start + length <= head.size() ? head.substr(start, length) : file.read(offset, length);
    };
    bool hasExif = false;
    std::int64_t offset = 2;
    for (int segment = 0; segment < MAX_SEGMENTS; ++segment) {
        const std::string front = bytes(offset, 4);
        if (front.size() < 2 || front[0] != '\xff') {
            return;
        }
        const auto marker = static_cast<unsigned char>(front[1]);
        if (marker == 0xff || isAlone(marker)) {
            // A fill byte, or a marker that stands alone.
            offset += marker == 0xff ? 1 : 2;
            continue;
        }
        const std::size_t length = bigEndian(front, 2, 2);
        if (marker == START_OF_SCAN || length < 2) {
            return;
        }
        if (isFrameHeader(marker)) {
            const std::string frame = bytes(offset + 4, 5);
            if (const std::uint32_t width = bigEndian(frame, 3, 2); width > 0) {
                metadata.setNumber(MetadataKey::WIDTH, width);
                metadata.setNumber(MetadataKey::HEIGHT, bigEndian(frame, 1, 2));
            }
            return;
        }
        if (marker == APP1 && !hasExif) {
            std::string data = bytes(offset + 4, length - 2);
            if (data.starts_with(std::string_view("Exif\0", 5))) {
                hasExif = true;
                readExif(std::move(data), metadata);
            }
        }
        offset += 2 + static_cast<std::int64_t>(length);
    }
}

} // namespace mrb
