#include "thumbnail/video/frame_image.h"

extern "C" {
#include <libavutil/pixdesc.h>
#include <libswscale/swscale.h>
}

#include <cstring>
#include <new>

#include "base/deleter.h"

namespace mrb::thumbnail {
namespace {

constexpr int QUALITY = SWS_BICUBIC | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT | SWS_FULL_CHR_H_INP;
constexpr int FIRST_HIGH_DEFINITION_HEIGHT = 720;

// ITU-T H.273 matrix coefficients; a default by the size where the video has none.
int matrixOf(const AVFrame &frame) {
    switch (frame.colorspace) {
    case AVCOL_SPC_BT709:
        return SWS_CS_ITU709;
    case AVCOL_SPC_BT2020_NCL:
    case AVCOL_SPC_BT2020_CL:
        return SWS_CS_BT2020;
    case AVCOL_SPC_SMPTE240M:
        return SWS_CS_SMPTE240M;
    case AVCOL_SPC_FCC:
        return SWS_CS_FCC;
    case AVCOL_SPC_BT470BG:
    case AVCOL_SPC_SMPTE170M:
        return SWS_CS_ITU601;
    default:
        return frame.height >= FIRST_HIGH_DEFINITION_HEIGHT ? SWS_CS_ITU709 : SWS_CS_ITU601;
    }
}

// The pixel formats with a J in their names imply full range.
bool hasFullRange(const AVFrame &frame) {
    const char *name = av_get_pix_fmt_name(static_cast<AVPixelFormat>(frame.format));
    return frame.color_range == AVCOL_RANGE_JPEG || (frame.color_range == AVCOL_RANGE_UNSPECIFIED &&
                                                     name != nullptr && std::strncmp(name, "yuvj", 4) == 0);
}

} // namespace

Size displaySize(int width, int height, AVRational aspect) {
    if (aspect.num <= 0 || aspect.den <= 0 || aspect.num == aspect.den) {
        return {width, height};
    }
    const std::int64_t wide = av_rescale(width, aspect.num, aspect.den);
    // An impossible aspect ratio is ignored.
    return wide < 1 || wide > std::int64_t{16} * width || wide * 16 < width
               ? Size{width, height}
               : Size{static_cast<int>(wide), height};
}

Status imageOf(const AVFrame &frame, Size size, Image &image) {
    const std::unique_ptr<SwsContext, Deleter<sws_freeContext>> scaler(
        sws_getContext(frame.width, frame.height, static_cast<AVPixelFormat>(frame.format), size.width,
                       size.height, AV_PIX_FMT_BGRA, QUALITY, nullptr, nullptr, nullptr));
    if (!scaler) {
        return Status::notSupported("The video's colours cannot be converted.");
    }
    const int *matrix = sws_getCoefficients(matrixOf(frame));
    sws_setColorspaceDetails(scaler.get(), matrix, hasFullRange(frame) ? 1 : 0, matrix, 1, 0, 1 << 16,
                             1 << 16);
    // The scaler may write past the end of a row, so rows get padding.
    const Frame scaled = makeFrame();
    scaled->format = AV_PIX_FMT_BGRA;
    scaled->width = size.width;
    scaled->height = size.height;
    if (av_frame_get_buffer(scaled.get(), 0) < 0) {
        throw std::bad_alloc();
    }
    if (sws_scale(scaler.get(), frame.data, frame.linesize, 0, frame.height, scaled->data,
                  scaled->linesize) != size.height) {
        return Status::corrupt("The video is damaged: a frame cannot be scaled.");
    }
    image = makeImage(size.width, size.height);
    for (int row = 0; row < size.height; ++row) {
        std::memcpy(image.pixels.get() + std::size_t{4} * row * size.width,
                    scaled->data[0] + std::ptrdiff_t{row} * scaled->linesize[0], std::size_t{4} * size.width);
    }
    return {};
}

} // namespace mrb::thumbnail
