#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string_view>

#include "base/cancellation.h"
#include "camera_files/camera_file.h"

namespace mrb {

// The bytes of a file on a camera, from its beginning to its end: in pieces, between which
// other requests take turns, if the camera supports partial reads; else by one request that
// occupies the camera until its end. Owned and used by one thread, which waits for the camera.
class CameraDownload {
  public:
    // `cancellation` is polled by that thread only.
    CameraDownload(CameraFile file, std::int64_t size, CancellationToken cancellation);
    ~CameraDownload();
    CameraDownload(const CameraDownload &) = delete;
    CameraDownload &operator=(const CameraDownload &) = delete;

    // Passes the next bytes to `take`; no bytes: the end of the file.
    // MRB_ERR_CANCELLED: it was cancelled.
    Status next(const std::function<void(std::string_view bytes)> &take);

  private:
    struct Flow;

    Status readPiece(std::string &bytes) const;
    void startFlow();
    Status takeFromFlow(std::string &bytes);

    const CameraFile file_;
    const std::int64_t size_; // CameraFileStatus::UNSAID: unknown until the end
    const CancellationToken cancellation_;
    std::uint64_t done_ = 0;
    std::shared_ptr<Flow> flow_;
    std::shared_ptr<CameraService::Task> task_;
};

} // namespace mrb
