#pragma once

#include <memory>
#include <optional>
#include <string>

#include "sources/source.h"
#include "storage/device.h"

namespace mrb {

// A list source: a folder on a PTP camera with everything in it. Owned and called as every Source
// is.
class PtpSource final : public Source {
  public:
    // `request.bus` and `request.device`, or `request.modelName`, identify the camera, and
    // `request.folderId` the folder: its path on the camera, or its URL or media id.
    static Status make(const ListRequest &request, std::unique_ptr<Source> &source);

    FillResult fill(ItemSink &sink) override;
    [[nodiscard]] ItemLocation locationOf(const ItemInfo &item) const override;
    [[nodiscard]] Status checkAvailable(const ItemInfo &item) const override;
    [[nodiscard]] const Device *device() const override { return &camera_; }
    [[nodiscard]] std::string filePath(const ItemInfo &item) const override;
    [[nodiscard]] std::optional<ItemInfo> findByMediaId(const std::string &mediaId) const override;

  private:
    PtpSource(Device camera, std::string root);

    // The absolute path on the camera.
    [[nodiscard]] std::string pathOf(const ItemInfo &item) const;

    const Device camera_;
    const std::string root_; // without a trailing slash; empty for "/"
};

} // namespace mrb
