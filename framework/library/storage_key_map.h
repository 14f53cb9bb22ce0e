#pragma once

#include <string>
#include <vector>

#include "library/cache.h"
#include "storage/storage_id.h"

namespace mrb {

// Maps files below one folder to the storage on which they lie, wherever that is mounted. Created
// once for an open list, and then read by any thread; a later mount is not noticed.
class StorageKeyMap {
  public:
    // `root`: an existing folder; absolute, without a slash at its end unless it is "/".
    explicit StorageKeyMap(std::string root);

    // The key of a file below the root. `path` begins with the root as given to the constructor.
    [[nodiscard]] MediaKey keyOf(const std::string &path, std::int64_t size, std::int64_t modified) const;

  private:
    std::string root_; // empty for "/"
    std::string realRoot_;
    std::vector<Mount> mounts_; // the longest mount points first
};

} // namespace mrb
