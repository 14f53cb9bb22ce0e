#include "thumbnail/decode/vips_picture.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "thumbnail/decode/vips_library.h"
#include "thumbnail/decode/webp.h"
#include "thumbnail/limits.h"
#include "thumbnail/orientation.h"
#include "thumbnail/video_module.h"

namespace mrb::thumbnail {
namespace {

using namespace std::string_view_literals;

// The loaders that may parse untrusted bytes. libvips has many more, for documents and scientific
// formats.
constexpr std::string_view LOADERS[] = {
    "VipsForeignLoadPngBuffer",  "VipsForeignLoadWebpBuffer", "VipsForeignLoadNsgifBuffer",
    "VipsForeignLoadTiffBuffer", "VipsForeignLoadHeifBuffer", "VipsForeignLoadJxlBuffer",
};

// The first bytes of these formats, also of files that are too damaged for a loader.
constexpr std::string_view BEGINNINGS[] = {"\x89PNG"sv, "GIF8"sv, "II*\0"sv, "MM\0*"sv, "RIFF"sv};

bool beginsLikePicture(ByteSpan data) {
    const std::string_view text(reinterpret_cast<const char *>(data.data()), data.size());
    return std::ranges::any_of(BEGINNINGS,
                               [text](std::string_view beginning) { return text.starts_with(beginning); });
}

constexpr std::string_view HEIF = "VipsForeignLoadHeifBuffer"; // applies the orientation itself
constexpr std::string_view WEBP = "VipsForeignLoadWebpBuffer";

// Both create a picture of exactly this size, whose proportions may differ by a rounded pixel
// from the original's. Null when they fail.
VipsPicture scale(VipsImage *picture, Size target) {
    VipsImage *small = nullptr;
    vips_thumbnail_image(picture, &small, target.width, "height", target.height, "size", VIPS_SIZE_FORCE,
                         "no_rotate", TRUE, nullptr);
    return VipsPicture(small);
}

// Uses a smaller picture in the file where the format allows it.
VipsPicture readScaled(ByteSpan data, Size target) {
    VipsImage *small = nullptr;
    // "fail_on" is passed twice, since libvips 8.14 does not pass it on to some loaders.
    vips_thumbnail_buffer(const_cast<unsigned char *>(data.data()), data.size(), &small, target.width,
                          "height", target.height, "size", VIPS_SIZE_FORCE, "no_rotate", TRUE, "fail_on",
                          VIPS_FAIL_ON_TRUNCATED, "option_string", "fail_on=truncated", nullptr);
    return VipsPicture(small);
}

} // namespace

Status decodeWithVips(ByteSpan data, const DecodeRequest &request, const CancellationToken &cancellation,
                      Decoded &decoded) {
    if (Status ready = useVips(); !ready.ok()) {
        return ready;
    }
    const char *found = vips_foreign_find_load_buffer(data.data(), data.size());
    if (found == nullptr || std::ranges::find(LOADERS, found) == std::end(LOADERS)) {
        vips_error_clear();
        return beginsLikePicture(data) ? Status::corrupt("The picture is damaged: its header cannot be read.")
                                       : Status::notSupported("The file is not a picture of a known format.");
    }
    const bool isWebp = found == WEBP;
    if (found == HEIF) {
        videoModule().preferLibavForHevc();
    }
    VipsPicture picture;
    Size size = isWebp ? sizeOfWebp(data) : Size();
    if (!isWebp) {
        picture.reset(vips_image_new_from_buffer(data.data(), data.size(), "", "access",
                                                 VIPS_ACCESS_SEQUENTIAL, nullptr));
        if (!picture) {
            return vipsFailure();
        }
        size = {vips_image_get_width(picture.get()), vips_image_get_height(picture.get())};
    }
    Status status =
        checkPictureSize(size.width, size.height,
                         isWebp ? 4 : static_cast<std::int64_t>(VIPS_IMAGE_SIZEOF_PEL(picture.get())));
    if (status.ok() && isWebp) {
        status = openWebp(data, size, {request.width, request.height}, picture);
    }
    if (!status.ok()) {
        return status;
    }
    const int stored = found == HEIF ? 1 : vips_image_get_orientation(picture.get());
    const int applied = request.orientation != 0 ? request.orientation : stored;
    const Size target = fit(size, turned({request.width, request.height}, applied));
    picture = isWebp ? scale(picture.get(), target) : readScaled(data, target);
    if (!picture) {
        return vipsFailure();
    }
    Image image;
    status = render(std::move(picture), cancellation, image);
    if (status.ok()) {
        addImage(std::move(image), size, stored, request, decoded);
    }
    return status;
}

} // namespace mrb::thumbnail
