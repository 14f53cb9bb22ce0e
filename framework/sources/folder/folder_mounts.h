#pragma once

#include <map>
#include <mutex>
#include <string>
#include <string_view>

#include "base/mount_identity.h"

namespace mrb {

// On which mounts a folder and those below it were when they were listed. Owned by a source;
// the thread that fills the list adds, any thread may ask.
class FolderMounts {
  public:
    // The first is the folder that the list is opened on.
    void add(int descriptor);

    // Of a folder by its path below the first, names joined with '/'; empty: the first.
    [[nodiscard]] MountIdentity of(std::string_view folder) const;

  private:
    // With lock_ held.
    [[nodiscard]] MountIdentity find(std::string_view folder) const;

    mutable std::mutex lock_; // guards what follows
    std::string root_;        // its path as the kernel has it
    // By the path of the folder from which on it holds; almost always the first one's alone.
    std::map<std::string, MountIdentity, std::less<>> mounts_;
};

} // namespace mrb
