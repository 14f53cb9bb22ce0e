#include "thumbnail/decode/webp.h"

#include <algorithm>
#include <string_view>

namespace mrb::thumbnail {
namespace {

// How much larger than wanted a picture is decoded. The loader's own scaling is coarse, so
// that the resizing that follows decides on the quality.
constexpr double MARGIN = 1.5;

std::uint32_t littleEndian(ByteSpan data, std::size_t at, std::size_t bytes) {
    std::uint32_t number = 0;
    for (std::size_t index = bytes; index > 0; --index) {
        number = number << 8U | data[at + index - 1];
    }
    return number;
}

} // namespace

Size sizeOfWebp(ByteSpan data) {
    constexpr std::size_t HEADER_BYTES = 30;
    if (data.size() < HEADER_BYTES) {
        return {};
    }
    const std::string_view chunk(reinterpret_cast<const char *>(data.data()) + 12, 4);
    const auto sizeOf = [](std::uint32_t width, std::uint32_t height) {
        return Size{static_cast<int>(width), static_cast<int>(height)};
    };
    if (chunk == "VP8X") {
        return sizeOf(littleEndian(data, 24, 3) + 1, littleEndian(data, 27, 3) + 1);
    }
    if (chunk == "VP8L") {
        const std::uint32_t bits = littleEndian(data, 21, 4);
        return sizeOf((bits & 0x3FFFU) + 1, (bits >> 14U & 0x3FFFU) + 1);
    }
    return sizeOf(littleEndian(data, 26, 2) & 0x3FFFU, littleEndian(data, 28, 2) & 0x3FFFU);
}

Outcome openWebp(ByteSpan data, Size size, Size box, VipsPicture &picture) {
    // Whichever way the picture turns out to lie.
    const int width = std::max(fit(size, box).width, fit(size, {box.height, box.width}).width);
    VipsImage *opened = nullptr;
    vips_webpload_buffer(const_cast<unsigned char *>(data.data()), data.size(), &opened, "scale",
                         std::min(1.0, MARGIN * width / size.width), "access", VIPS_ACCESS_SEQUENTIAL,
                         "fail_on", VIPS_FAIL_ON_TRUNCATED, nullptr);
    picture.reset(opened);
    return picture ? Outcome{} : vipsFailure();
}

} // namespace mrb::thumbnail
