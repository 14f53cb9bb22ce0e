#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "base/cancellation.h"
#include "camera/camera_service.h"
#include "camera_files/attached_cameras.h"

namespace mrb {

// How long a caller waits for a camera.
struct CameraTimeout {
    CancellationToken cancellation = {};
    std::chrono::milliseconds limit = CameraService::NO_LIMIT;
};

// A file on an attached camera, which may have been removed since: every call waits for its
// turn at the camera, and returns MRB_ERR_DEVICE_REMOVED when it is not attached any more. A
// plain value; any thread.
class CameraFile {
  public:
    CameraFile(std::string device, CameraAddress address, CameraPath path)
        : device_(std::move(device)), address_(std::move(address)), path_(std::move(path)) {}

    // The file of a URL; null with the reason in `status`.
    static std::unique_ptr<CameraFile> find(const std::string &url, Status &status);

    [[nodiscard]] const std::string &name() const { return path_.name; }

    Status readStatus(const CameraTimeout &timeout, CameraFileStatus &fileStatus) const;

    // Appends up to `length` bytes from `offset` on.
    Status readAt(const CameraTimeout &timeout, std::uint64_t offset, std::size_t length,
                  std::string &bytes) const;

    // Reads the first `most` bytes of a file of `size` bytes, or all where there are fewer; where
    // the size is CameraFileStatus::UNSAID, what one piece has of them. Also from a camera that
    // transfers whole files only: the transfer is cancelled after these bytes.
    Status readBeginning(const CameraTimeout &timeout, std::int64_t size, std::size_t maximum,
                         std::string &bytes) const;

    // Reads a part of no more than `most` bytes; MRB_ERR_OUT_OF_MEMORY: it is longer.
    Status read(const CameraTimeout &timeout, CameraPart part, std::size_t maximum, std::string &bytes) const;

    // An asynchronous request, see CameraService.
    using FileWork = std::function<Status(Camera &camera, const CameraPath &path)>;
    [[nodiscard]] std::shared_ptr<CameraService::Task> start(FileWork work) const;
    bool isOver(const std::shared_ptr<CameraService::Task> &task, Status &status) const;

  private:
    Status run(const CameraTimeout &timeout, CameraService::Work work) const;

    std::string device_; // storage id
    CameraAddress address_;
    CameraPath path_;
};

// Whether further requests to the camera would fail as well for now: it is removed, busy or does
// not respond, or the caller has cancelled.
bool endsAll(const Status &status);

// Whether the camera at that address is attached: a removal is noticed before the system
// reports it. Makes a transfer; a camera that hangs is attached.
bool isThere(const CameraAddress &address, const CancellationToken &cancellation);

// `status` as it is, or MRB_ERR_DEVICE_REMOVED when that is the reason: requests to a removed
// camera fail in many ways.
Status unlessRemoved(Status status, const std::string &device);

} // namespace mrb
