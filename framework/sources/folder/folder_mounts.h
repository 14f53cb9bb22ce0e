#pragma once

#include <map>
#include <string>
#include <string_view>

#include "base/mount_identity.h"
#include "base/mutex.h"

namespace mrb {

// Remembers on which mounts a folder and its sub-folders were when they were listed. Owned by a
// source; the thread that fills the list adds folders, any thread may query it.
class FolderMounts {
  public:
    // The first folder is the one on which the list is opened.
    void add(int descriptor);

    // The mount of a folder, by its path below the first, names joined with '/'; empty: the
    // first.
    [[nodiscard]] MountIdentity of(std::string_view folder) const;

  private:
    [[nodiscard]] MountIdentity find(std::string_view folder) const MRB_REQUIRES(lock_);

    mutable Mutex lock_;
    std::string root_ MRB_GUARDED_BY(lock_); // its path in the kernel's spelling
    // By the path of the topmost folder on the mount; almost always the first folder only.
    std::map<std::string, MountIdentity, std::less<>> mounts_ MRB_GUARDED_BY(lock_);
};

} // namespace mrb
