#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "base/result.h"

// Limits against resource exhaustion by hostile files: far above anything that cameras and
// broadcasters produce.
namespace mrb::thumbnail {

// A picture file larger than this is not read into memory.
inline constexpr std::int64_t MAX_FILE_BYTES = std::int64_t{256} << 20;

// The maximum of a picture's pixels, and of the bytes of all of them decoded.
inline constexpr std::int64_t MAX_PIXELS = std::int64_t{1} << 27;
inline constexpr std::int64_t MAX_DECODED_BYTES = std::int64_t{512} << 20;

// The maximum of a video frame's pixels: 7680 x 4320 are within it.
inline constexpr std::int64_t MAX_FRAME_PIXELS = std::int64_t{1} << 25;

// How much of a video is read to find one frame.
inline constexpr int MAX_PACKETS = 3000;
inline constexpr std::int64_t MAX_PACKET_BYTES = std::int64_t{96} << 20;

// The maximum of frames decoded to get from a key frame to a position.
inline constexpr int MAX_FRAMES_FORWARD = 250;

// Whether a picture of this size may be decoded.
inline Status checkPictureSize(std::int64_t width, std::int64_t height, std::int64_t bytesPerPixel) {
    if (width < 1 || height < 1) {
        return Status::corrupt("The picture has no pixels.");
    }
    // Neither product overflows: sizes have 32 bits, and bytesPerPixel is small.
    if (width * height > MAX_PIXELS || width * height * bytesPerPixel > MAX_DECODED_BYTES) {
        return Status::outOfMemory("The picture claims " + std::to_string(width) + " x " +
                                   std::to_string(height) + " pixels, which is too large.");
    }
    return {};
}

} // namespace mrb::thumbnail
