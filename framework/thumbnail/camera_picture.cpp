#include "thumbnail/camera_picture.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "camera_files/camera_exif.h"
#include "media/media_types.h"
#include "mrb/agent.h"
#include "thumbnail/memory_file.h"

namespace mrb::thumbnail {
namespace {

// Far more than the previews of cameras.
constexpr std::size_t MAX_PREVIEW_BYTES = 4UL << 20;

constexpr std::int64_t NANOSECONDS = 1'000'000'000;

bool isPicture(const Decoded &decoded) { return decoded.status.ok(); }

// Makes the thumbnail of one file. Each request takes a camera some milliseconds, during which it
// serves no other client, so none is sent before its result is needed.
class CameraPicture {
  public:
    CameraPicture(const DecodeRequest &request, const CancellationToken &cancellation,
                  const std::function<Decode> &decode, const CameraFile &file,
                  const CameraFileStatus &fileStatus)
        : request_(request), cancellation_(cancellation), decode_(decode), file_(file),
          size_(fileStatus.size), width_(fileStatus.width), height_(fileStatus.height) {}

    void make(Decoded &decoded) {
        Decoded small;
        small.status = Status::notFound("The camera has no preview of the file.");
        if (request_.frames == 1 && makeSmall(small)) {
            decoded = std::move(small);
            return;
        }
        decoded.status = small.status;
        if (!endsAll(small.status)) {
            decodeWhole(decoded);
        }
        if (!isPicture(decoded) && isPicture(small) && !cancellation_.isCancelled()) {
            decoded = std::move(small);
        }
    }

  private:
    [[nodiscard]] CameraTimeout timeout() const {
        return {[this] { return cancellation_.isCancelled(); }};
    }
    [[nodiscard]] int type() const {
        const MediaType *named = mediaTypeOf(file_.name());
        const int type = named != nullptr ? int{named->itemType} : int{MRB_ITEM_TYPE_IMAGE};
        return request_.mediaType != 0 ? request_.mediaType : type;
    }

    void decodeBytes(const std::string &bytes, int mediaType, int orientation, Decoded &decoded) const {
        MemoryFile local;
        decoded.status = local.write(bytes);
        if (decoded.status.ok()) {
            DecodeRequest request = request_;
            request.path = local.path();
            request.mediaType = mediaType;
            request.orientation = orientation;
            decode_(request, cancellation_, decoded);
        }
    }

    // From a preview; false: there is none, or it is too small.
    bool makeSmall(Decoded &small) {
        const bool isImage = type() == MRB_ITEM_TYPE_IMAGE;
        if (!isImage && type() != MRB_ITEM_TYPE_VIDEO) {
            return false;
        }
        // If EXIF data have a thumbnail and its orientation, nothing else is needed.
        if (isImage && hasExif(file_) && (decodeExif(small) || endsAll(small.status))) {
            return isPicture(small);
        }
        decodePreview(isImage, small);
        if (!isPicture(small) && !endsAll(small.status) && exif_ && !pictureIn(*exif_).empty()) {
            decodeSmall(pictureIn(*exif_), small); // in the absence of another
        }
        return isPicture(small) && isLargeEnough(small);
    }

    // The rest of EXIF data from the first JPEG on; decoding shows what it is.
    static std::string pictureIn(const std::string &exif) {
        return exif.substr(std::min(exif.find("\xff\xd8\xff"), exif.size()));
    }

    bool decodeExif(Decoded &small) {
        const std::string &exif = readExif(small.status);
        const std::string picture = pictureIn(exif);
        if (picture.empty()) {
            return false;
        }
        Decoded decoded;
        bool isGood = false;
        if (knowsPixels()) {
            // The decoder uses the embedded thumbnail if it is large enough and has the picture's
            // proportions.
            decodeBytes(jpegOf(exif, width_, height_), MRB_ITEM_TYPE_IMAGE, request_.orientation, decoded);
            isGood = isPicture(decoded) && decoded.embedded;
        } else {
            decodeSmall(picture, decoded);
            isGood = isPicture(decoded) && isLargeEnough(decoded);
        }
        if (isGood) {
            small = std::move(decoded);
        }
        return isGood;
    }

    // Reads them once; empty: there are none.
    const std::string &readExif(Status &status) {
        if (!exif_) {
            exif_.emplace();
            status = readCameraExif(file_, timeout(), size_, *exif_);
            const Metadata fileStatus = exif_->empty() ? Metadata() : metadataOfExif(*exif_);
            exifOrientation_ = static_cast<int>(fileStatus.number(MetadataKey::ORIENTATION));
            if (!knowsPixels()) {
                width_ = fileStatus.number(MetadataKey::WIDTH);
                height_ = fileStatus.number(MetadataKey::HEIGHT);
            }
        }
        return *exif_;
    }

    void decodePreview(bool isImage, Decoded &small) {
        std::string bytes;
        small.status = file_.read(timeout(), CameraPart::PREVIEW, MAX_PREVIEW_BYTES, bytes);
        if (!small.status.ok()) {
            return;
        }
        if (request_.orientation == 0 && isImage) {
            Status status;
            readExif(status);
            if (endsAll(status)) { // the orientation is unknown
                small.status = status;
                return;
            }
        }
        decodeSmall(bytes, small);
    }

    // A preview has the orientation of the whole picture, without a tag of its own.
    void decodeSmall(const std::string &bytes, Decoded &small) {
        orientation_ = request_.orientation != 0 ? request_.orientation : exifOrientation_;
        decodeBytes(bytes, MRB_ITEM_TYPE_IMAGE, orientation_, small);
        small.embedded = true;
    }

    [[nodiscard]] bool knowsPixels() const { return width_ > 0 && height_ > 0; }

    // Whether the preview is as large as the whole picture would be in this box, and has the same
    // proportions: some cameras add bars at its sides. When the size of the picture is unknown,
    // it is taken to have the preview's proportions, and any preview that fills the box is large
    // enough.
    [[nodiscard]] bool isLargeEnough(Decoded &preview) const {
        const bool isTurned = orientation_ >= 5;
        const std::int64_t width = isTurned ? height_ : width_;
        const std::int64_t height = isTurned ? width_ : height_;
        const std::int64_t ownWidth =
            std::exchange(preview.originalWidth, static_cast<int>(std::max<std::int64_t>(width, 0)));
        const std::int64_t ownHeight =
            std::exchange(preview.originalHeight, static_cast<int>(std::max<std::int64_t>(height, 0)));
        const Image &image = preview.images.front();
        const bool fillsBox = image.width >= request_.width || image.height >= request_.height;
        if (!knowsPixels()) {
            return fillsBox;
        }
        // Up to rounding to whole pixels.
        const bool isSameShape = std::abs(width * ownHeight - height * ownWidth) <= std::max(width, height);
        return isSameShape && (fillsBox || (ownWidth >= width && ownHeight >= height));
    }

    void decodeWhole(Decoded &decoded) const {
        if (size_ > static_cast<std::int64_t>(MAX_FETCHED_BYTES)) {
            decoded.status = Status::outOfMemory("The file is too large to be fetched from the camera.");
            return;
        }
        std::string bytes;
        decoded.status = file_.read(timeout(), CameraPart::WHOLE, MAX_FETCHED_BYTES, bytes);
        if (decoded.status.ok()) {
            decodeBytes(bytes, type(), request_.orientation, decoded);
        }
    }

    const DecodeRequest &request_;
    const CancellationToken &cancellation_;
    const std::function<Decode> &decode_;
    const CameraFile &file_;
    const std::int64_t size_;
    std::int64_t width_; // pixels as stored; 0 or below: unknown
    std::int64_t height_;
    std::optional<std::string> exif_; // once they were read
    int exifOrientation_ = 0;
    int orientation_ = 0; // the orientation applied to the preview
};

} // namespace

bool isOnCamera(const std::string &path) { return path.starts_with(CAMERA_URL_SCHEME); }

void decodeCameraPicture(const DecodeRequest &request, const CancellationToken &cancellation,
                         const std::function<Decode> &decode, FlashCache *cache, Decoded &decoded) {
    const std::unique_ptr<CameraFile> file = CameraFile::find(request.path, decoded.status);
    CameraFileStatus fileStatus;
    if (file) {
        decoded.status =
            file->readStatus({[&cancellation] { return cancellation.isCancelled(); }}, fileStatus);
    }
    if (decoded.status.ok()) {
        const bool isKnown = fileStatus.size >= 0 && fileStatus.modified >= 0;
        const FileIdentity identity =
            isKnown ? FileIdentity{fileStatus.size, fileStatus.modified * NANOSECONDS} : FileIdentity{};
        if (isKnown && cache != nullptr && cache->find(request, decoded, &identity)) {
            return;
        }
        CameraPicture(request, cancellation, decode, *file, fileStatus).make(decoded);
        decoded.source = identity;
    }
    if (!decoded.status.ok() && cancellation.isCancelled()) {
        decoded.status = endOf(cancellation);
    }
}

} // namespace mrb::thumbnail
