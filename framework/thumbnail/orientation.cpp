#include "thumbnail/orientation.h"

#include <cstring>
#include <utility>

namespace mrb::thumbnail {
namespace {

// The position of an upright row's pixels in the stored picture: the first one, and the distances
// to the next pixel in the row and to the row below.
struct Walk {
    std::ptrdiff_t first, right, down;
};

Walk walkOf(int orientation, std::ptrdiff_t width, std::ptrdiff_t height) {
    const std::ptrdiff_t last = width * height - 1;
    switch (orientation) {
    case 2: // mirrored
        return {width - 1, -1, width};
    case 3: // upside down
        return {last, -1, -width};
    case 4: // mirrored and upside down
        return {width * (height - 1), 1, -width};
    case 5: // mirrored and on its left side
        return {0, width, 1};
    case 6: // on its left side: its left column, read upwards, is the top row
        return {width * (height - 1), -width, 1};
    case 7: // mirrored and on its right side
        return {last, -width, -1};
    case 8: // on its right side
        return {width - 1, width, -1};
    default:
        return {0, 1, width};
    }
}

} // namespace

Image turnUpright(Image image, int orientation) {
    if (orientation <= 1 || orientation > 8) {
        return image;
    }
    const Size size = turned({image.width, image.height}, orientation);
    Image upright = makeImage(size.width, size.height);
    upright.timeStamp = image.timeStamp;
    const Walk walk = walkOf(orientation, image.width, image.height);
    const unsigned char *stored = image.pixels.get();
    unsigned char *to = upright.pixels.get();
    for (int row = 0; row < size.height; ++row) {
        std::ptrdiff_t at = walk.first + row * walk.down;
        for (int column = 0; column < size.width; ++column, at += walk.right, to += 4) {
            std::memcpy(to, stored + at * 4, 4);
        }
    }
    return upright;
}

void addImage(Image image, Size original, int orientation, const DecodeRequest &request, Decoded &decoded) {
    decoded.orientation = request.orientation != 0 ? request.orientation : orientation;
    const Size upright = turned(original, decoded.orientation);
    decoded.originalWidth = upright.width;
    decoded.originalHeight = upright.height;
    decoded.images.push_back(turnUpright(std::move(image), decoded.orientation));
}

} // namespace mrb::thumbnail
