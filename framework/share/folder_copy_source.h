#pragma once

#include <memory>

#include "base/cancellation.h"
#include "session/list_session.h"
#include "share/local_copy_source.h"

namespace mrb {

// The files below a list's folder. Owned and called as every CopySource is.
class FolderCopySource final : public LocalCopySource {
  public:
    explicit FolderCopySource(std::shared_ptr<ListSession> list)
        : LocalCopySource(list->source().watchedRoot()), list_(std::move(list)) {}

    Status open(const ItemInfo &item, const CancellationToken &cancellation, File &file) override;

  private:
    [[nodiscard]] MountIdentity mountOfRoot() const override;

    const std::shared_ptr<ListSession> list_;
};

} // namespace mrb
