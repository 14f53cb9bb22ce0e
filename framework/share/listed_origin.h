#pragma once

#include <memory>
#include <string>

#include "base/cancellation.h"
#include "session/list_session.h"
#include "share/local_origin.h"

namespace mrb {

// The files that a list names wherever on this machine they lie, as one of playlists does.
// Those that are not there, or on another machine, fail one by one. Owned and called as
// every Origin is.
class ListedOrigin final : public LocalOrigin {
  public:
    explicit ListedOrigin(std::shared_ptr<ListSession> list) : LocalOrigin("/"), list_(std::move(list)) {}

    Status open(const ItemFacts &item, const CancellationToken &cancellation, File &file) override;
    End copy(int destination, const std::function<bool(std::uint64_t)> &moved) override;

    // Below playlists, the entries of one lie in a folder that is called as it is, without
    // its extension: the playlist itself has the whole name.
    [[nodiscard]] std::string pathOf(std::string path) const override;

  private:
    const std::shared_ptr<ListSession> list_;
};

} // namespace mrb
