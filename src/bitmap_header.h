#pragma once
// The header of a 32-bit bitmap file.

#include <array>
#include <cstddef>

namespace MRBBridge {

inline constexpr size_t BITMAP_HEADER_BYTES = 54;
inline constexpr size_t BITMAP_PIXEL_BYTES = 4;

/// The file header and the information header, as they stand at the beginning of a file.
using BitmapHeader = std::array<unsigned char, BITMAP_HEADER_BYTES>;

/// The header of an image of that size in pixels, neither of them negative, whose rows
/// stand bottom-up. What follows the pixels is not counted in it.
BitmapHeader MakeBitmapHeader(int width, int height);

} // namespace MRBBridge
