#include "thumbnail/decode/picture.h"

#include "thumbnail/decode/jpeg.h"
#include "thumbnail/decode/scratch.h"
#include "thumbnail/decode/vips_picture.h"
#include "thumbnail/decode/webp.h"
#include "thumbnail/video_module.h"

namespace mrb::thumbnail {
namespace {

// A camera's EXIF data and the frame header after them usually end before this offset.
constexpr std::int64_t HEAD_BYTES = 128 << 10;

} // namespace

Status decodePicture(ByteSpan data, const DecodeRequest &request, const CancellationToken &cancellation,
                     Decoded &decoded) {
    if (isJpeg(data)) {
        return decodeJpeg(data, request, cancellation, decoded);
    }
    return isPlainWebp(data) ? decodePlainWebp(data, request, cancellation, decoded)
                             : decodeWithVips(data, request, cancellation, decoded);
}

Status decodePictureFile(const MediaFile &file, const DecodeRequest &request,
                         const CancellationToken &cancellation, Decoded &decoded) {
    Scratch memory;
    Bytes &data = *memory;
    Status status = file.read(HEAD_BYTES, cancellation, data);
    if (!status.ok()) {
        return status;
    }
    if (isJpeg(data) && decodeEmbedded(data, request, cancellation, decoded)) {
        return {};
    }
    status = file.readAll(cancellation, data);
    if (!status.ok()) {
        return status;
    }
    status = decodePicture(data, request, cancellation, decoded);
    // libav may know a format that libvips does not.
    return status.code == MRB_ERR_NOT_SUPPORTED
               ? videoModule().decodeStill(file, request, cancellation, decoded)
               : status;
}

} // namespace mrb::thumbnail
