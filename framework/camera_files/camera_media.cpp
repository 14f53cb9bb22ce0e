#include "camera_files/camera_media.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "camera_files/bytes_in_memory.h"
#include "camera_files/camera_exif.h"

namespace mrb {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t PIECE_BYTES = 64UL << 10;

std::chrono::milliseconds timeUntil(Clock::time_point deadline) {
    using std::chrono::milliseconds;
    return std::max(std::chrono::duration_cast<milliseconds>(deadline - Clock::now()), milliseconds(0));
}

// The first bytes of a file from memory, others by requests to the camera.
class CameraBytes final : public MediaBytes {
  public:
    CameraBytes(CameraFile file, CameraFileStatus fileStatus, CancellationToken cancellation,
                Clock::time_point deadline, std::string head)
        : file_(std::move(file)), metadata_(fileStatus), cancellation_(std::move(cancellation)),
          deadline_(deadline), head_(std::move(head)) {}

    [[nodiscard]] std::int64_t size() const override { return std::max<std::int64_t>(metadata_.size, 0); }
    [[nodiscard]] std::int64_t modified() const override { return metadata_.modified; }

    [[nodiscard]] int failure() const override { return failure_; }

    bool read(std::int64_t offset, char *buffer, std::size_t length, std::size_t &got) override {
        if (take(head_, 0, offset, buffer, length, got) ||
            take(piece_, pieceAt_, offset, buffer, length, got)) {
            return true;
        }
        piece_.clear();
        pieceAt_ = offset;
        const auto rest = static_cast<std::uint64_t>(size() - std::min(offset, size()));
        const auto partLength =
            static_cast<std::size_t>(std::min<std::uint64_t>(std::max(length, PIECE_BYTES), rest));
        const Status status = partLength == 0
                                  ? Status()
                                  : file_.readAt({cancellation_, timeUntil(deadline_)},
                                                 static_cast<std::uint64_t>(offset), partLength, piece_);
        take(piece_, pieceAt_, offset, buffer, length, got);
        failure_ = status.code;
        return status.ok();
    }

  private:
    // Copies the requested bytes as far as `bytes`, which begin at `start`, hold them; false: none.
    static bool take(const std::string &bytes, std::int64_t start, std::int64_t offset, char *buffer,
                     std::size_t length, std::size_t &got) {
        const std::int64_t end = start + static_cast<std::int64_t>(bytes.size());
        got = 0;
        if (offset < start || offset >= end) {
            return false;
        }
        got = std::min(length, static_cast<std::size_t>(end - offset));
        std::memcpy(buffer, bytes.data() + (offset - start), got);
        return true;
    }

    const CameraFile file_;
    const CameraFileStatus metadata_;
    const CancellationToken cancellation_;
    const Clock::time_point deadline_;
    const std::string head_;
    std::string piece_;
    std::int64_t pieceAt_ = 0;
    int failure_ = MRB_ERR_NONE;
};

// For a camera that transfers whole files only.
Status readWithoutPieces(const CameraFile &source, const CameraTimeout &timeout,
                         const CameraFileStatus &fileStatus, std::string &bytes) {
    const bool isLong = fileStatus.size > static_cast<std::int64_t>(MAX_FETCHED_FOR_METADATA);
    if (!hasExif(source) || (fileStatus.width <= 0 && !isLong)) {
        return source.read(timeout, CameraPart::WHOLE, MAX_FETCHED_FOR_METADATA, bytes);
    }
    std::string exif;
    Status status = readDriversExif(source, timeout, exif);
    if (!status.ok()) {
        return status;
    }
    std::string head;
    if (exif.empty()) {
        status = source.readBeginning(timeout, fileStatus.size, HEAD_BYTES, head);
        exif = exifIn(head);
    }
    bytes = fileStatus.width <= 0 && !head.empty() ? std::move(head)
                                                   : jpegOf(exif, fileStatus.width, fileStatus.height);
    // A JPEG header with its size in pixels is metadata without EXIF data too.
    return endsAll(status) ? status : Status();
}

} // namespace

Status openCameraMedia(const std::string &url, MediaFile &file) {
    const auto deadline = Clock::now() + MediaFile::TIMEOUT;
    Status status;
    const std::unique_ptr<CameraFile> source = CameraFile::find(url, status);
    if (!source) {
        return status;
    }
    const CancellationToken cancellation = [&file] { return file.isCancelled(); };
    const auto timeout = [&] { return CameraTimeout{cancellation, timeUntil(deadline)}; };
    CameraFileStatus fileStatus;
    status = source->readStatus(timeout(), fileStatus);
    std::string bytes;
    if (status.ok()) {
        const auto size = static_cast<std::uint64_t>(fileStatus.size < 0 ? HEAD_BYTES : fileStatus.size);
        const auto length = static_cast<std::size_t>(std::min<std::uint64_t>(size, HEAD_BYTES));
        status = source->readAt(timeout(), 0, length, bytes);
    }
    const auto had = static_cast<std::int64_t>(bytes.size());
    if (status.ok() && fileStatus.size < 0) {
        // The end of the file is unknown, and some cameras take a read beyond it for an error.
        file.open(std::make_unique<BytesInMemory>(std::move(bytes), had, fileStatus.modified));
    } else if (status.ok()) {
        file.open(
            std::make_unique<CameraBytes>(*source, fileStatus, cancellation, deadline, std::move(bytes)));
    } else if (status.code == MRB_ERR_NOT_SUPPORTED) {
        status = readWithoutPieces(*source, timeout(), fileStatus, bytes);
        if (status.ok()) {
            const auto size = fileStatus.size < 0 ? static_cast<std::int64_t>(bytes.size()) : fileStatus.size;
            file.open(std::make_unique<BytesInMemory>(std::move(bytes), size, fileStatus.modified));
        }
    }
    return status;
}

} // namespace mrb
