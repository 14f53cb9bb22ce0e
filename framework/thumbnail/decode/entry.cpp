// The functions that the decoders' library exports.

#include <exception>
#include <new>

#include "base/module.h"
#include "media/media_types.h"
#include "mrb/agent.h"
#include "thumbnail/decode/picture.h"
#include "thumbnail/decode/vips_library.h"
#include "thumbnail/video_module.h"

namespace mrb::thumbnail {
namespace {

int typeOf(const DecodeRequest &request) {
    if (request.mediaType != 0) {
        return request.mediaType;
    }
    const MediaType *type = mediaTypeOf(request.path.substr(request.path.rfind('/') + 1));
    // A picture's format is detected from its first bytes, whatever its name.
    return type != nullptr ? int{type->itemType} : int{MRB_ITEM_TYPE_IMAGE};
}

Status decodeCover(const MediaFile &file, const DecodeRequest &request, const CancellationToken &cancellation,
                   Decoded &decoded) {
    Bytes cover;
    Status status = videoModule().readCover(file, request.path, cancellation, cover);
    return status.ok() ? decodePicture(cover, request, cancellation, decoded) : status;
}

Status decodeFile(const DecodeRequest &request, const CancellationToken &cancellation, Decoded &decoded) {
    MediaFile file;
    Status opened = file.open(request.path);
    decoded.source = file.identity();
    if (!opened.ok()) {
        return opened;
    }
    switch (typeOf(request)) {
    case MRB_ITEM_TYPE_IMAGE:
        return decodePictureFile(file, request, cancellation, decoded);
    case MRB_ITEM_TYPE_VIDEO:
    case MRB_ITEM_TYPE_RECORD:
    case MRB_ITEM_TYPE_UHD:
        return videoModule().decodeVideo(file, request, cancellation, decoded);
    case MRB_ITEM_TYPE_MUSIC:
        return decodeCover(file, request, cancellation, decoded);
    default:
        return Status::notSupported("Items of this type have no picture.");
    }
}

} // namespace

void mrb_start_decoders() {
    static_cast<void>(useVips()); // each picture gets the same failure again
}

void mrb_decode_thumbnail(const DecodeRequest &request, const CancellationToken &cancellation,
                          Decoded &decoded) {
    decoded = {};
    try {
        decoded.status = decodeFile(request, cancellation, decoded);
    } catch (const std::bad_alloc &) {
        decoded.status = Status::outOfMemory("Not enough memory for the picture.");
    } catch (const MissingModule &failure) {
        decoded.status = Status::notSupported(failure.what());
    } catch (const std::exception &failure) {
        decoded.status = Status::corrupt(failure.what());
    }
    if (!decoded.status.ok()) {
        decoded.images.clear();
    }
}

} // namespace mrb::thumbnail
