#include "thumbnail/decode/webp.h"

#include <webp/decode.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <string_view>

#include "base/deleter.h"
#include "thumbnail/decode/resize.h"
#include "thumbnail/decode/scratch.h"
#include "thumbnail/limits.h"
#include "thumbnail/orientation.h"

namespace mrb::thumbnail {
namespace {

// How much larger than requested a picture is decoded. libwebp's own scaling is coarse, so the
// subsequent resizing determines the quality.
constexpr double MARGIN = 1.5;

std::uint32_t littleEndian(ByteSpan data, std::size_t at, std::size_t bytes) {
    std::uint32_t number = 0;
    for (std::size_t index = bytes; index > 0; --index) {
        number = number << 8U | data[at + index - 1];
    }
    return number;
}

// Flags in the first chunk about later chunks.
constexpr unsigned char HAS_PROFILE = 0x20;
constexpr unsigned char HAS_EXIF = 0x08;
constexpr unsigned char IS_ANIMATED = 0x02;

// The size at which a picture is decoded for the size of `target`.
Size marginSize(Size size, Size target) {
    const double scale = std::min(1.0, MARGIN * target.width / size.width);
    const auto part = [scale](int length) {
        return std::max(1, static_cast<int>(std::lround(length * scale)));
    };
    return {part(size.width), part(size.height)};
}

// In steps, between which cancellation is checked.
Status decodeSteps(ByteSpan data, WebPDecoderConfig &config, const CancellationToken &cancellation) {
    constexpr std::size_t STEP_BYTES = 64 << 10;
    const std::unique_ptr<WebPIDecoder, Deleter<WebPIDelete>> decoder(WebPIDecode(nullptr, 0, &config));
    VP8StatusCode decoded = decoder ? VP8_STATUS_SUSPENDED : VP8_STATUS_OUT_OF_MEMORY;
    for (std::size_t known = 0; decoded == VP8_STATUS_SUSPENDED && known < data.size();) {
        if (cancellation.isCancelled()) {
            return endOf(cancellation);
        }
        known = std::min(data.size(), known + STEP_BYTES);
        decoded = WebPIUpdate(decoder.get(), data.data(), known);
    }
    switch (decoded) {
    case VP8_STATUS_OK:
        return {};
    case VP8_STATUS_OUT_OF_MEMORY:
        return Status::outOfMemory("There is not enough memory for the picture.");
    case VP8_STATUS_SUSPENDED:
        return Status::corrupt("The picture is damaged: it ends too early.");
    default:
        return Status::corrupt("The picture is damaged: libwebp cannot read it.");
    }
}

} // namespace

bool isPlainWebp(ByteSpan data) {
    constexpr std::size_t FLAGS_AT = 20;
    const std::string_view text(reinterpret_cast<const char *>(data.data()), data.size());
    if (text.size() <= FLAGS_AT || !text.starts_with("RIFF") || text.substr(8, 4) != "WEBP") {
        return false;
    }
    return text.substr(12, 4) != "VP8X" || (data[FLAGS_AT] & (HAS_PROFILE | HAS_EXIF | IS_ANIMATED)) == 0;
}

Status decodePlainWebp(ByteSpan data, const DecodeRequest &request, const CancellationToken &cancellation,
                       Decoded &decoded) {
    WebPDecoderConfig config;
    if (WebPInitDecoderConfig(&config) == 0 ||
        WebPGetFeatures(data.data(), data.size(), &config.input) != VP8_STATUS_OK) {
        return Status::corrupt("The picture is damaged: its header cannot be read.");
    }
    const Size size{config.input.width, config.input.height};
    const int channels = config.input.has_alpha != 0 ? 4 : 3;
    Status status = checkPictureSize(size.width, size.height, 4);
    if (!status.ok()) {
        return status;
    }
    const Size target = fit(size, turned({request.width, request.height}, request.orientation));
    Scratch memory;
    Pixels pixels{*memory, marginSize(size, target), channels};
    const int stride = pixels.size.width * channels;
    pixels.bytes.resize(std::size_t{1} * pixels.size.height * stride);
    config.options.use_scaling = 1;
    config.options.scaled_width = pixels.size.width;
    config.options.scaled_height = pixels.size.height;
    config.output.colorspace = channels == 4 ? MODE_RGBA : MODE_RGB;
    config.output.is_external_memory = 1;
    config.output.u.RGBA = {pixels.bytes.data(), stride, pixels.bytes.size()};
    status = decodeSteps(data, config, cancellation);
    Image image;
    if (status.ok()) {
        status = resize(pixels, target, cancellation, image);
    }
    if (status.ok()) {
        addImage(std::move(image), size, 1, request, decoded);
    }
    return status;
}

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

Status openWebp(ByteSpan data, Size size, Size box, VipsPicture &picture) {
    // Large enough for both orientations.
    const int width = std::max(fit(size, box).width, fit(size, {box.height, box.width}).width);
    VipsImage *opened = nullptr;
    vips_webpload_buffer(const_cast<unsigned char *>(data.data()), data.size(), &opened, "scale",
                         std::min(1.0, MARGIN * width / size.width), "access", VIPS_ACCESS_SEQUENTIAL,
                         "fail_on", VIPS_FAIL_ON_TRUNCATED, nullptr);
    picture.reset(opened);
    return picture ? Status{} : vipsFailure();
}

} // namespace mrb::thumbnail
