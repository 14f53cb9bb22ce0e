#pragma once

#include <memory>

#include "session/opening.h"
#include "share/local_origin.h"

namespace mrb {

// The files below the folder that a list was opened on. Owned and called as every Origin is.
class FolderOrigin final : public LocalOrigin {
  public:
    explicit FolderOrigin(std::shared_ptr<Opening> list)
        : LocalOrigin(list->filesRoot()), list_(std::move(list)) {}

    Outcome open(const ItemFacts &item, const Stopped &isStopped, File &file) override;

  private:
    [[nodiscard]] MountIdentity mountOfRoot() const override;

    const std::shared_ptr<Opening> list_;
};

} // namespace mrb
