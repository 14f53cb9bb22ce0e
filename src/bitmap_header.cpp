#include "bitmap_header.h"

#include <cstdint>

namespace MRBBridge {
namespace {

// The file header and the information header of a bitmap (BITMAPFILEHEADER and
// BITMAPINFOHEADER of the Windows bitmap format): fields that are not set stay 0, which
// means no compression, and neither resolution nor colours. Little-endian.
constexpr uint32_t INFORMATION_BYTES = 40;

void Put16(BitmapHeader &header, size_t offset, uint16_t value) {
    header[offset] = static_cast<unsigned char>(value & 0xff);
    header[offset + 1] = static_cast<unsigned char>(value >> 8);
}

void Put32(BitmapHeader &header, size_t offset, uint32_t value) {
    Put16(header, offset, static_cast<uint16_t>(value & 0xffff));
    Put16(header, offset + 2, static_cast<uint16_t>(value >> 16));
}

} // namespace

BitmapHeader MakeBitmapHeader(int width, int height) {
    const auto columns = static_cast<uint32_t>(width);
    const auto rows = static_cast<uint32_t>(height);
    BitmapHeader header{'B', 'M'};
    Put32(header, 2, columns * rows * uint32_t{BITMAP_PIXEL_BYTES} + uint32_t{BITMAP_HEADER_BYTES});
    Put32(header, 10, BITMAP_HEADER_BYTES);
    Put32(header, 14, INFORMATION_BYTES);
    Put32(header, 18, columns);
    Put32(header, 22, rows); // positive: the rows are stored bottom-up
    Put16(header, 26, 1);    // planes
    Put16(header, 28, 8 * BITMAP_PIXEL_BYTES);
    return header;
}

} // namespace MRBBridge
