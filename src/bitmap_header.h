#pragma once
// The header of a 32-bit bitmap file.

#include <array>
#include <cstddef>

namespace MRBBridge {

inline constexpr size_t BITMAP_HEADER_BYTES = 54;
inline constexpr size_t BITMAP_PIXEL_BYTES = 4;

/// The file header and the information header, as the file begins with them.
using BitmapHeader = std::array<unsigned char, BITMAP_HEADER_BYTES>;

/// The header of an image of that size in pixels, neither of them negative, whose rows
/// are stored bottom-up. The file size in it does not count what follows the pixels.
BitmapHeader MakeBitmapHeader(int width, int height);

} // namespace MRBBridge
