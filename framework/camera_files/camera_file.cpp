#include "camera_files/camera_file.h"

#include <algorithm>
#include <optional>
#include <string_view>

namespace mrb {
namespace {

// The timeout for a camera that is busy with a long request, or hangs.
constexpr auto PRESENCE_LIMIT = std::chrono::seconds(5);

// A camera may return less than requested, and take a read beyond the end for an error.
Status beginningOfPieces(Camera &camera, const CameraPath &path, std::size_t length, bool isSizeKnown,
                         std::string &bytes) {
    Status status;
    std::size_t got = 0;
    do {
        const std::size_t done = bytes.size();
        bytes.resize(length);
        status = camera.readAt(path, done, bytes.data() + done, length - done, got);
        bytes.resize(done + (status.ok() ? got : 0));
    } while (isSizeKnown && status.ok() && got > 0 && bytes.size() < length);
    return status;
}

Status beginningOfWhole(Camera &camera, const CameraPath &path, std::size_t length, std::string &bytes) {
    Status status = camera.read(path, CameraPart::WHOLE, [&](std::string_view piece) {
        bytes += piece.substr(0, length - bytes.size());
        return bytes.size() < length;
    });
    return bytes.size() == length ? Status() : status;
}

} // namespace

bool endsAll(const Status &status) {
    return status.code == MRB_ERR_CANCELLED || status.code == MRB_ERR_DEVICE_REMOVED ||
           status.code == MRB_ERR_BUSY || status.code == MRB_ERR_TIMEOUT;
}

Status unlessRemoved(Status status, const std::string &device) {
    const bool isOfCamera = !status.ok() && status.code != MRB_ERR_CANCELLED;
    if (isOfCamera && !attachedCamera(device)) {
        return Status::deviceRemoved("The camera is not attached any more.");
    }
    return status;
}

bool isThere(const CameraAddress &address, const CancellationToken &cancellation) {
    const auto readSizes = [sizes = std::make_shared<CameraSizes>()](Camera &camera) {
        return camera.readSizes(*sizes);
    };
    return isAttached(address) &&
           CameraService::instance().run(address, readSizes, cancellation, PRESENCE_LIMIT).code !=
               MRB_ERR_DEVICE_REMOVED;
}

std::unique_ptr<CameraFile> CameraFile::find(const std::string &url, Status &status) {
    const std::optional<CameraItem> item = readCameraUrl(url);
    if (!item) {
        status = Status::invalidParameter("\"" + url + "\" is not the URL of a file on a camera.");
        return nullptr;
    }
    const std::optional<Device> camera = attachedCamera(item->device);
    if (!camera) {
        status = Status::deviceRemoved("The camera is not attached.");
        return nullptr;
    }
    return std::make_unique<CameraFile>(item->device, camera->camera, cameraPathOf(item->path));
}

Status CameraFile::run(const CameraTimeout &timeout, CameraService::Work work) const {
    return unlessRemoved(
        CameraService::instance().run(address_, std::move(work), timeout.cancellation, timeout.limit),
        device_);
}

Status CameraFile::readStatus(const CameraTimeout &timeout, CameraFileStatus &fileStatus) const {
    const auto received = std::make_shared<CameraFileStatus>();
    Status status =
        run(timeout, [received, path = path_](Camera &camera) { return camera.readStatus(path, *received); });
    if (status.ok()) {
        fileStatus = *received;
    }
    return status;
}

Status CameraFile::readAt(const CameraTimeout &timeout, std::uint64_t offset, std::size_t length,
                          std::string &bytes) const {
    const auto received = std::make_shared<std::string>();
    Status status = run(timeout, [received, path = path_, offset, length](Camera &camera) {
        received->resize(length);
        std::size_t got = 0;
        Status read = camera.readAt(path, offset, received->data(), length, got);
        received->resize(got);
        return read;
    });
    if (status.ok()) {
        bytes += *received;
    }
    return status;
}

Status CameraFile::readBeginning(const CameraTimeout &timeout, std::int64_t size, std::size_t maximum,
                                 std::string &bytes) const {
    const bool isSizeKnown = size >= 0;
    const std::uint64_t known = isSizeKnown ? static_cast<std::uint64_t>(size) : maximum;
    const auto length = static_cast<std::size_t>(std::min<std::uint64_t>(known, maximum));
    if (length == 0) {
        return {};
    }
    const auto read = std::make_shared<std::string>();
    Status status = run(timeout, [read, path = path_, length, isSizeKnown](Camera &camera) {
        Status pieces = beginningOfPieces(camera, path, length, isSizeKnown, *read);
        return pieces.code == MRB_ERR_NOT_SUPPORTED && read->empty()
                   ? beginningOfWhole(camera, path, length, *read)
                   : pieces;
    });
    if (status.ok()) {
        bytes = std::move(*read);
    }
    return status;
}

Status CameraFile::read(const CameraTimeout &timeout, CameraPart part, std::size_t maximum,
                        std::string &bytes) const {
    const auto received = std::make_shared<std::string>();
    Status status = run(timeout, [received, path = path_, part, maximum](Camera &camera) {
        bool isTooLong = false;
        Status read = camera.read(path, part, [&](std::string_view piece) {
            isTooLong = piece.size() > maximum - received->size();
            if (!isTooLong) {
                received->append(piece);
            }
            return !isTooLong;
        });
        return isTooLong ? Status::outOfMemory(path.name + " is too large to be fetched.") : read;
    });
    if (status.ok()) {
        bytes = std::move(*received);
    }
    return status;
}

std::shared_ptr<CameraService::Task> CameraFile::start(FileWork work) const {
    return CameraService::instance().start(
        address_, [path = path_, work = std::move(work)](Camera &camera) { return work(camera, path); });
}

bool CameraFile::isOver(const std::shared_ptr<CameraService::Task> &task, Status &status) const {
    const bool isOver = CameraService::instance().isOver(task, status);
    if (isOver) {
        status = unlessRemoved(std::move(status), device_);
    }
    return isOver;
}

} // namespace mrb
