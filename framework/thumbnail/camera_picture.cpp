#include "thumbnail/camera_picture.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <string>
#include <utility>

#include "media/media_types.h"
#include "mrb/agent.h"
#include "ptp/camera_media.h"
#include "thumbnail/memory_file.h"

namespace mrb::thumbnail {
namespace {

// Far more than the small pictures that cameras make.
constexpr std::size_t MOST_PREVIEW = 4UL << 20;

constexpr std::int64_t NANOSECONDS = 1'000'000'000;

// One file on its way to a thumbnail.
class CameraPicture {
  public:
    CameraPicture(const DecodeRequest &request, const StopSign &stop, const std::function<Decode> &decode,
                  const CameraFile &file, const CameraFileFacts &facts)
        : request_(request), stop_(stop), decode_(decode), file_(file), facts_(facts) {}

    void make(Decoded &decoded) {
        const bool hasPreview = type() == MRB_ITEM_TYPE_IMAGE || type() == MRB_ITEM_TYPE_VIDEO;
        Decoded preview;
        preview.outcome = {MRB_ERR_NOT_FOUND, "The camera has no small picture of it."};
        if (hasPreview && request_.frames == 1) {
            decodePreview(preview);
        }
        if (isPicture(preview) && isLargeEnough(preview)) {
            decoded = std::move(preview);
            return;
        }
        decodeWhole(decoded);
        if (decoded.outcome.code != MRB_ERR_NONE && isPicture(preview) && !stop_.isUp()) {
            decoded = std::move(preview);
        }
    }

  private:
    [[nodiscard]] CameraPatience patience() const {
        return {[this] { return stop_.isUp(); }};
    }
    [[nodiscard]] int type() const {
        const MediaType *named = mediaTypeOf(file_.name());
        const int type = named != nullptr ? int{named->itemType} : int{MRB_ITEM_TYPE_IMAGE};
        return request_.mediaType != 0 ? request_.mediaType : type;
    }
    static bool isPicture(const Decoded &decoded) { return decoded.outcome.code == MRB_ERR_NONE; }

    void decodeBytes(const std::string &bytes, int mediaType, int orientation, Decoded &decoded) const {
        MemoryFile local;
        decoded.outcome = local.write(bytes);
        if (decoded.outcome.code == MRB_ERR_NONE) {
            DecodeRequest request = request_;
            request.path = local.path();
            request.mediaType = mediaType;
            request.orientation = orientation;
            decode_(request, stop_, decoded);
        }
    }

    void decodePreview(Decoded &decoded) {
        std::string bytes;
        decoded.outcome = file_.read(patience(), CameraPart::PREVIEW, MOST_PREVIEW, bytes);
        if (decoded.outcome.code != MRB_ERR_NONE) {
            return;
        }
        // The small picture is stored as the large one is, and does not say how.
        orientation_ = request_.orientation;
        if (orientation_ == 0 && type() == MRB_ITEM_TYPE_IMAGE) {
            Metadata exif;
            readCameraExif(file_, patience(), exif);
            orientation_ = static_cast<int>(exif.number(Fact::ORIENTATION));
        }
        decodeBytes(bytes, MRB_ITEM_TYPE_IMAGE, orientation_, decoded);
        decoded.embedded = true;
    }

    // As large as the whole file would be in this box, and not another shape: some cameras
    // put bars beside it. Where the camera does not say how large the file is, whatever fills
    // the box.
    [[nodiscard]] bool isLargeEnough(Decoded &preview) const {
        const bool isTurned = orientation_ >= 5;
        const std::int64_t width = isTurned ? facts_.height : facts_.width;
        const std::int64_t height = isTurned ? facts_.width : facts_.height;
        const std::int64_t ownWidth =
            std::exchange(preview.originalWidth, static_cast<int>(std::max<std::int64_t>(width, 0)));
        const std::int64_t ownHeight =
            std::exchange(preview.originalHeight, static_cast<int>(std::max<std::int64_t>(height, 0)));
        const Image &image = preview.images.front();
        const bool fillsBox = image.width >= request_.width || image.height >= request_.height;
        if (width <= 0 || height <= 0) {
            return fillsBox;
        }
        // As the sizes of both allow, which are whole pixels.
        const bool isSameShape = std::abs(width * ownHeight - height * ownWidth) <= std::max(width, height);
        return isSameShape && (fillsBox || (ownWidth >= width && ownHeight >= height));
    }

    void decodeWhole(Decoded &decoded) const {
        if (facts_.size > static_cast<std::int64_t>(MOST_FETCHED)) {
            decoded.outcome = {MRB_ERR_OUT_OF_MEMORY, "The file is larger than those that are fetched."};
            return;
        }
        std::string bytes;
        decoded.outcome = file_.read(patience(), CameraPart::WHOLE, MOST_FETCHED, bytes);
        if (decoded.outcome.code == MRB_ERR_NONE) {
            decodeBytes(bytes, type(), request_.orientation, decoded);
        }
    }

    const DecodeRequest &request_;
    const StopSign &stop_;
    const std::function<Decode> &decode_;
    const CameraFile &file_;
    const CameraFileFacts &facts_;
    int orientation_ = 0;
};

} // namespace

bool isOnCamera(const std::string &path) { return path.starts_with(CAMERA_URL_SCHEME); }

void decodeCameraPicture(const DecodeRequest &request, const StopSign &stop,
                         const std::function<Decode> &decode, FlashCache *cache, Decoded &decoded) {
    const std::unique_ptr<CameraFile> file = CameraFile::find(request.path, decoded.outcome);
    CameraFileFacts facts;
    if (file) {
        decoded.outcome = file->readFacts({[&stop] { return stop.isUp(); }}, facts);
    }
    if (decoded.outcome.code == MRB_ERR_NONE) {
        const bool isKnown = facts.size >= 0 && facts.modified >= 0;
        const FileIdentity identity =
            isKnown ? FileIdentity{facts.size, facts.modified * NANOSECONDS} : FileIdentity{};
        if (isKnown && cache != nullptr && cache->find(request, decoded, &identity)) {
            return;
        }
        CameraPicture(request, stop, decode, *file, facts).make(decoded);
        decoded.source = identity;
    }
    if (decoded.outcome.code != MRB_ERR_NONE && stop.isUp()) {
        decoded.outcome = stop.outcome();
    }
}

} // namespace mrb::thumbnail
