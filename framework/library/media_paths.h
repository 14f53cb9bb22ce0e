#pragma once

#include <string>
#include <vector>

#include "library/cache.h"
#include "storage/storage_id.h"

namespace mrb {

// Tells on which storage the files below one folder lie, wherever that is mounted.
// Made once for an open list, and then read by any thread; a mount that comes later
// is not noticed.
class MediaPaths {
  public:
    // `root`: an existing folder; absolute, without a slash at its end unless it is "/".
    explicit MediaPaths(std::string root);

    // The key of a file below the root. `path` begins with the root as it was given.
    [[nodiscard]] MediaKey keyOf(const std::string &path, std::int64_t size, std::int64_t modified) const;

  private:
    std::string root_; // empty for "/"
    std::string realRoot_;
    std::vector<Mount> mounts_; // the longest places first
};

} // namespace mrb
