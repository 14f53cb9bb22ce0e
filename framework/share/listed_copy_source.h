#pragma once

#include <memory>
#include <string>

#include "base/cancellation.h"
#include "session/list_session.h"
#include "share/local_copy_source.h"

namespace mrb {

// The files of a list that may lie anywhere on this machine, as those of playlists do. Those that
// do not exist, or lie on another machine, fail one by one. Owned and called as every CopySource is.
class ListedCopySource final : public LocalCopySource {
  public:
    explicit ListedCopySource(std::shared_ptr<ListSession> list)
        : LocalCopySource("/"), list_(std::move(list)) {}

    Status open(const ItemInfo &item, const CancellationToken &cancellation, File &file) override;
    CopyResult copy(int destination, const std::function<bool(std::uint64_t)> &moved) override;

    // The entries of a playlist lie in a folder with its name, but without the extension: the
    // copied playlist itself has the whole name.
    [[nodiscard]] std::string pathOf(std::string path) const override;

  private:
    const std::shared_ptr<ListSession> list_;
};

} // namespace mrb
