#include "thumbnail/decode/resize.h"

#include <utility>

#include "thumbnail/decode/vips_library.h"

namespace mrb::thumbnail {
namespace {

constexpr int GREY = 1;
constexpr int WITH_ALPHA = 4;

VipsPicture pictureOf(const Pixels &pixels) {
    VipsPicture picture(vips_image_new_from_memory(pixels.bytes.data(), pixels.bytes.size(),
                                                   pixels.size.width, pixels.size.height, pixels.channels,
                                                   VIPS_FORMAT_UCHAR));
    if (picture) {
        picture->Type = pixels.channels == GREY ? VIPS_INTERPRETATION_B_W : VIPS_INTERPRETATION_sRGB;
        if (!pixels.profile.empty()) {
            vips_image_set_blob_copy(picture.get(), VIPS_META_ICC_NAME, pixels.profile.data(),
                                     pixels.profile.size());
        }
    }
    return picture;
}

// Calls a function of libvips that creates one picture from another. False: it failed.
template <typename Make, typename... Arguments>
bool change(VipsPicture &picture, Make make, Arguments... arguments) {
    VipsImage *made = nullptr;
    if (make(picture.get(), &made, arguments..., nullptr) != 0) {
        return false;
    }
    picture.reset(made);
    return true;
}

// The colours of transparent pixels must not bleed into their neighbours.
bool scale(VipsPicture &picture, bool hasAlpha, double width, double height) {
    const bool multiplied = !hasAlpha || change(picture, vips_premultiply);
    const bool scaled = multiplied && change(picture, vips_resize, width, "vscale", height);
    return scaled && (!hasAlpha || change(picture, vips_unpremultiply));
}

} // namespace

Status resize(const Pixels &pixels, Size target, const CancellationToken &cancellation, Image &image) {
    if (Status ready = useVips(); !ready.ok()) {
        return ready;
    }
    VipsPicture picture = pictureOf(pixels);
    const bool isReady =
        picture && (pixels.size == target || scale(picture, pixels.channels == WITH_ALPHA,
                                                   static_cast<double>(target.width) / pixels.size.width,
                                                   static_cast<double>(target.height) / pixels.size.height));
    return isReady ? render(std::move(picture), cancellation, image) : vipsFailure();
}

} // namespace mrb::thumbnail
