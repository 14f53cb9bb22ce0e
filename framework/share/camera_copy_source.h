#pragma once

#include <memory>
#include <string>

#include "base/cancellation.h"
#include "camera_files/camera_download.h"
#include "session/list_session.h"
#include "share/copy_source.h"

namespace mrb {

// The items of a camera's list. Owned and called as every CopySource is.
class CameraCopySource final : public CopySource {
  public:
    // Null: the list is not one of a camera.
    static std::unique_ptr<CopySource> make(std::shared_ptr<ListSession> list);

    CameraCopySource(std::shared_ptr<ListSession> list, std::string device)
        : list_(std::move(list)), device_(std::move(device)) {}

    Status begin(const CancellationToken &cancellation) override;
    [[nodiscard]] bool isThere() override;
    Status open(const ItemInfo &item, const CancellationToken &cancellation, File &file) override;
    CopyResult copy(int destination, const std::function<bool(std::uint64_t)> &moved) override;

  private:
    const std::shared_ptr<ListSession> list_;
    const std::string device_; // the camera's storage id
    CancellationToken cancellation_;
    // Of the most recently opened file.
    std::unique_ptr<CameraDownload> download_;
    std::string name_;
    std::int64_t size_ = 0; // CameraFileStatus::UNSAID: not known
};

} // namespace mrb
