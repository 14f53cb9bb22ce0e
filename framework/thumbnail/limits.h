#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "base/result.h"

// What keeps hostile files from taking the machine: bounds that are far above
// anything a camera or a broadcaster makes.
namespace mrb::thumbnail {

// A picture file larger than this is not read into memory.
inline constexpr std::int64_t MOST_FILE_BYTES = std::int64_t{256} << 20;

// Pixels of a picture, and the bytes that all of them decoded would take.
inline constexpr std::int64_t MOST_PIXELS = std::int64_t{1} << 27;
inline constexpr std::int64_t MOST_DECODED_BYTES = std::int64_t{512} << 20;

// Pixels of a video's frame: 7680 x 4320 are within it.
inline constexpr std::int64_t MOST_FRAME_PIXELS = std::int64_t{1} << 25;

// What is read of a video in search of one frame.
inline constexpr int MOST_PACKETS = 3000;
inline constexpr std::int64_t MOST_PACKET_BYTES = std::int64_t{96} << 20;

// Frames decoded to get from a key frame to the wanted moment.
inline constexpr int MOST_FRAMES_FORWARD = 250;

// Whether a picture of this size may be decoded.
inline Status checkPictureSize(std::int64_t width, std::int64_t height, std::int64_t bytesPerPixel) {
    if (width < 1 || height < 1) {
        return Status::corrupt("The picture has no pixels.");
    }
    // Neither product overflows: sizes are of 32 bits, and so few bytes a pixel.
    if (width * height > MOST_PIXELS || width * height * bytesPerPixel > MOST_DECODED_BYTES) {
        return Status::outOfMemory("The picture claims " + std::to_string(width) + " x " +
                                   std::to_string(height) + " pixels, more than are decoded.");
    }
    return {};
}

} // namespace mrb::thumbnail
