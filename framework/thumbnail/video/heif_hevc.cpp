#include "thumbnail/video/heif_hevc.h"

#include <libheif/heif.h>
#include <libheif/heif_plugin.h>

extern "C" {
#include <libavutil/pixdesc.h>
}

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>

#include "base/deleter.h"
#include "thumbnail/limits.h"
#include "thumbnail/video/av_input.h"

namespace mrb::thumbnail {
namespace {

constexpr int API_VERSION = 3;  // the oldest version with plug-in names
constexpr int PREFERENCE = 200; // libheif's own decoders have 100

constexpr heif_error OK{heif_error_Ok, heif_suberror_Unspecified, "Success"};
constexpr heif_error NO_MEMORY{heif_error_Memory_allocation_error, heif_suberror_Unspecified,
                               "not enough memory"};

constexpr heif_error damaged(const char *why) {
    return {heif_error_Decoder_plugin_error, heif_suberror_Unspecified, why};
}
constexpr heif_error unsupported(const char *why) {
    return {heif_error_Unsupported_feature, heif_suberror_Unspecified, why};
}

using HeifImage = std::unique_ptr<heif_image, Deleter<heif_image_release>>;

// libheif passes units (NAL, ITU-T H.265) with their lengths in the four bytes before each. The
// codec needs a start code there, which has four bytes too. False: the lengths are inconsistent.
bool putStartCodes(Bytes &units) {
    constexpr std::size_t LENGTH_BYTES = 4;
    std::size_t at = 0;
    while (at + LENGTH_BYTES <= units.size()) {
        std::size_t length = 0;
        for (std::size_t index = 0; index < LENGTH_BYTES; ++index) {
            length = length << 8U | units[at + index];
            units[at + index] = index + 1 == LENGTH_BYTES ? 1 : 0;
        }
        if (length > units.size() - at - LENGTH_BYTES) {
            return false;
        }
        at += LENGTH_BYTES + length;
    }
    return at == units.size();
}

heif_error decodeUnits(Bytes &units, Frame &frame) {
    const AVCodec *decoder = avcodec_find_decoder(AV_CODEC_ID_HEVC);
    const Codec codec(decoder != nullptr ? avcodec_alloc_context3(decoder) : nullptr);
    if (!codec) {
        return unsupported("libav has no HEVC decoder");
    }
    codec->thread_count = 1;
    codec->max_pixels = MAX_PIXELS;
    if (!putStartCodes(units)) {
        return damaged("the picture's units are truncated");
    }
    const Packet packet = makePacket();
    if (avcodec_open2(codec.get(), decoder, nullptr) < 0 ||
        av_new_packet(packet.get(), static_cast<int>(units.size())) < 0) {
        return NO_MEMORY;
    }
    std::memcpy(packet->data, units.data(), units.size());
    avcodec_send_packet(codec.get(), packet.get());
    avcodec_send_packet(codec.get(), nullptr);
    frame = makeFrame();
    if (avcodec_receive_frame(codec.get(), frame.get()) < 0 || frame->decode_error_flags != 0 ||
        (frame->flags & AV_FRAME_FLAG_CORRUPT) != 0) {
        return damaged("the picture cannot be decoded");
    }
    return OK;
}

// libheif's equivalent of the frame's chroma format; undefined when there is none.
heif_chroma chromaOf(const AVPixFmtDescriptor &format) {
    if (format.nb_components == 1) {
        return heif_chroma_monochrome;
    }
    const bool halfWide = format.log2_chroma_w == 1;
    if (format.nb_components != 3 || format.log2_chroma_w > 1 || format.log2_chroma_h > (halfWide ? 1 : 0)) {
        return heif_chroma_undefined;
    }
    return halfWide ? (format.log2_chroma_h == 1 ? heif_chroma_420 : heif_chroma_422) : heif_chroma_444;
}

// The colour description, unless the file has one outside of the picture.
void describeColours(const AVFrame &frame, heif_image *image) {
    const std::unique_ptr<heif_color_profile_nclx, Deleter<heif_nclx_color_profile_free>> profile(
        heif_nclx_color_profile_alloc());
    if (!profile) {
        return;
    }
    // Values that libheif does not know stay unspecified. Both use the numbers of ITU-T H.273.
    heif_nclx_color_profile_set_color_primaries(profile.get(),
                                                static_cast<std::uint16_t>(frame.color_primaries));
    heif_nclx_color_profile_set_transfer_characteristics(profile.get(),
                                                         static_cast<std::uint16_t>(frame.color_trc));
    heif_nclx_color_profile_set_matrix_coefficients(profile.get(),
                                                    static_cast<std::uint16_t>(frame.colorspace));
    profile->full_range_flag = frame.color_range == AVCOL_RANGE_JPEG ? 1 : 0;
    heif_image_set_nclx_color_profile(image, profile.get());
}

heif_error copyPlanes(const AVFrame &frame, const AVPixFmtDescriptor &format, heif_image *image) {
    constexpr heif_channel CHANNELS[] = {heif_channel_Y, heif_channel_Cb, heif_channel_Cr};
    for (int index = 0; index < format.nb_components; ++index) {
        const int width = index == 0 ? frame.width : AV_CEIL_RSHIFT(frame.width, format.log2_chroma_w);
        const int height = index == 0 ? frame.height : AV_CEIL_RSHIFT(frame.height, format.log2_chroma_h);
        const AVComponentDescriptor &component = format.comp[index];
        heif_error added = heif_image_add_plane(image, CHANNELS[index], width, height, component.depth);
        if (added.code != heif_error_Ok) {
            return added;
        }
        int stride = 0;
        std::uint8_t *to = heif_image_get_plane(image, CHANNELS[index], &stride);
        const std::uint8_t *from = frame.data[component.plane];
        const std::size_t bytes = std::size_t{1} * width * component.step;
        for (int row = 0; row < height; ++row, to += stride, from += frame.linesize[component.plane]) {
            std::memcpy(to, from, bytes);
        }
    }
    return OK;
}

heif_error toHeif(const AVFrame &frame, heif_image **out) {
    const AVPixFmtDescriptor *format = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame.format));
    const heif_chroma chroma = format != nullptr ? chromaOf(*format) : heif_chroma_undefined;
    if (chroma == heif_chroma_undefined) {
        return unsupported("the picture's pixel format is not known");
    }
    heif_image *made = nullptr;
    heif_error error = heif_image_create(
        frame.width, frame.height,
        chroma == heif_chroma_monochrome ? heif_colorspace_monochrome : heif_colorspace_YCbCr, chroma, &made);
    HeifImage image(made);
    if (error.code == heif_error_Ok) {
        error = copyPlanes(frame, *format, image.get());
    }
    if (error.code == heif_error_Ok) {
        describeColours(frame, image.get());
        *out = image.release();
    }
    return error;
}

// ---- the callbacks of libheif ---------------------------------------------------------

const char *name() { return "libav"; }

int preferenceFor(heif_compression_format format) {
    return format == heif_compression_HEVC && avcodec_find_decoder(AV_CODEC_ID_HEVC) != nullptr ? PREFERENCE
                                                                                                : 0;
}

heif_error newDecoder(void **decoder) {
    *decoder = new (std::nothrow) Bytes;
    return *decoder != nullptr ? OK : NO_MEMORY;
}

void freeDecoder(void *decoder) { delete static_cast<Bytes *>(decoder); }

heif_error push(void *decoder, const void *data, std::size_t size) {
    auto &units = *static_cast<Bytes *>(decoder);
    const auto *bytes = static_cast<const unsigned char *>(data);
    try {
        units.insert(units.end(), bytes, bytes + size);
    } catch (const std::exception &) {
        return NO_MEMORY;
    }
    return OK;
}

heif_error decode(void *decoder, heif_image **image) {
    try {
        Frame frame;
        const heif_error decoded = decodeUnits(*static_cast<Bytes *>(decoder), frame);
        return decoded.code == heif_error_Ok ? toHeif(*frame, image) : decoded;
    } catch (const std::exception &) {
        return NO_MEMORY;
    }
}

void setStrict(void * /*decoder*/, int /*flag*/) {} // damage is always an error

constexpr heif_decoder_plugin PLUGIN{API_VERSION, name, nullptr, nullptr,   preferenceFor, newDecoder,
                                     freeDecoder, push, decode,  setStrict, "mrb-libav"};

} // namespace

void preferLibavForHevc() {
    static const bool registered = heif_register_decoder_plugin(&PLUGIN).code == heif_error_Ok;
    static_cast<void>(registered);
}

void loadHeifPlugins() {
#if LIBHEIF_HAVE_VERSION(1, 13, 0)
    heif_init(nullptr);
#endif
}

} // namespace mrb::thumbnail
