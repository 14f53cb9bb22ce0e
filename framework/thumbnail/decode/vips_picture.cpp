#include "thumbnail/decode/vips_picture.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "thumbnail/decode/limits.h"
#include "thumbnail/decode/picture.h"
#include "thumbnail/decode/vips_library.h"

namespace mrb::thumbnail {
namespace {

using namespace std::string_view_literals;

// The loaders that may see a stranger's bytes. libvips has many more, for documents
// and laboratories.
constexpr std::string_view LOADERS[] = {
    "VipsForeignLoadPngBuffer",  "VipsForeignLoadWebpBuffer", "VipsForeignLoadNsgifBuffer",
    "VipsForeignLoadTiffBuffer", "VipsForeignLoadHeifBuffer", "VipsForeignLoadJxlBuffer",
};

// How the files of these formats begin, also those that are too damaged for a loader.
constexpr std::string_view BEGINNINGS[] = {"\x89PNG"sv, "GIF8"sv, "II*\0"sv, "MM\0*"sv, "RIFF"sv};

bool beginsLikePicture(ByteSpan data) {
    const std::string_view text(reinterpret_cast<const char *>(data.data()), data.size());
    return std::ranges::any_of(BEGINNINGS,
                               [text](std::string_view beginning) { return text.starts_with(beginning); });
}

constexpr std::string_view HEIF_ORIENTATION_IS_APPLIED = "VipsForeignLoadHeifBuffer";

} // namespace

Outcome decodeWithVips(ByteSpan data, const DecodeRequest &request, const StopSign &stop, Decoded &decoded) {
    if (Outcome ready = useVips(); ready.code != MRB_ERR_NONE) {
        return ready;
    }
    const char *found = vips_foreign_find_load_buffer(data.data(), data.size());
    if (found == nullptr || std::ranges::find(LOADERS, found) == std::end(LOADERS)) {
        vips_error_clear();
        return beginsLikePicture(data)
                   ? Outcome{MRB_ERR_CORRUPT, "The picture is damaged: its header cannot be read."}
                   : Outcome{MRB_ERR_NOT_SUPPORTED, "The file is no picture of a known format."};
    }
    const VipsPicture header(
        vips_image_new_from_buffer(data.data(), data.size(), "", "access", VIPS_ACCESS_SEQUENTIAL, nullptr));
    if (!header) {
        return vipsFailure();
    }
    const Size size{vips_image_get_width(header.get()), vips_image_get_height(header.get())};
    Outcome allowed = checkPictureSize(size.width, size.height,
                                       static_cast<std::int64_t>(VIPS_IMAGE_SIZEOF_PEL(header.get())));
    if (allowed.code != MRB_ERR_NONE) {
        return allowed;
    }
    const int stored = found == HEIF_ORIENTATION_IS_APPLIED ? 1 : vips_image_get_orientation(header.get());
    const int applied = request.orientation != 0 ? request.orientation : stored;
    const Size target = fit(size, turned({request.width, request.height}, applied));
    VipsImage *small = nullptr;
    // The size is exact, so its proportions may differ by a rounded pixel from the original's.
    // What to fail on is said twice, since libvips 8.14 forgets it on the way to some loaders.
    if (vips_thumbnail_buffer(const_cast<unsigned char *>(data.data()), data.size(), &small, target.width,
                              "height", target.height, "size", VIPS_SIZE_FORCE, "no_rotate", TRUE, "fail_on",
                              VIPS_FAIL_ON_TRUNCATED, "option_string", "fail_on=truncated", nullptr) != 0) {
        return vipsFailure();
    }
    Image image;
    Outcome outcome = render(VipsPicture(small), stop, image);
    if (outcome.code == MRB_ERR_NONE) {
        addImage(std::move(image), size, stored, request, decoded);
    }
    return outcome;
}

} // namespace mrb::thumbnail
