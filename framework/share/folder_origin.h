#pragma once

#include "share/local_origin.h"

namespace mrb {

// The files below the folder that a list was opened on. Owned and called as every Origin is.
class FolderOrigin final : public LocalOrigin {
  public:
    // `root` is the absolute path of the list's folder.
    explicit FolderOrigin(std::string root) : LocalOrigin(std::move(root)) {}

    Outcome open(const ItemFacts &item, const Stopped &isStopped, File &file) override;
};

} // namespace mrb
