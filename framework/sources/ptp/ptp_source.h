#pragma once

#include <memory>
#include <optional>
#include <string>

#include "sources/source.h"
#include "storage/device.h"

namespace mrb {

// A camera that speaks PTP: a folder on it with everything in it. Owned and called as every
// Source is.
class PtpSource final : public Source {
  public:
    // The camera is named by `request.bus` and `request.device`, or by `request.modelName`;
    // the folder by `request.folderId`: its path on the camera, or its URL or media id.
    static Status make(const ListRequest &request, std::unique_ptr<Source> &source);

    FillResult fill(ItemSink &sink) override;
    [[nodiscard]] ItemLocation locate(const ItemFacts &item) const override;
    [[nodiscard]] Status reach(const ItemFacts &item) const override;
    [[nodiscard]] const Device *device() const override { return &camera_; }
    [[nodiscard]] std::string filePath(const ItemFacts &item) const override;
    [[nodiscard]] std::optional<ItemFacts> identify(const std::string &mediaId) const override;

  private:
    PtpSource(Device camera, std::string root);

    // On the camera; absolute.
    [[nodiscard]] std::string pathOf(const ItemFacts &item) const;

    const Device camera_;
    const std::string root_; // without a slash at its end; empty for "/"
};

} // namespace mrb
