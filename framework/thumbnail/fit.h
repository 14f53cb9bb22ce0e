#pragma once

namespace mrb::thumbnail {

struct Size {
    int width = 0; // pixels
    int height = 0;
    bool operator==(const Size &) const = default;
};

// The largest size with the proportions of `original` within `box`, at least one pixel in each
// dimension, never larger than the original.
Size fit(Size original, Size box);

// Whether an EXIF orientation rotates a picture by 90 degrees, which exchanges width and height.
constexpr bool liesOnItsSide(int orientation) { return orientation >= 5; }

constexpr Size turned(Size size, int orientation) {
    return liesOnItsSide(orientation) ? Size{size.height, size.width} : size;
}

} // namespace mrb::thumbnail
