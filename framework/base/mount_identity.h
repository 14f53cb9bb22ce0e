#pragma once

#include <cstdint>
#include <string>

#include "base/descriptor.h"

namespace mrb {

// Identifies a mounted file system, so that the items of a list are not mistaken for those
// of another file system that is mounted at the same place later. A plain value.
struct MountIdentity {
    std::uint64_t device = 0;
    // The mount's id. Linux never reuses one from version 6.8 on; before that an id may be
    // reused after an unmount. 0: the kernel reports none (before 5.8).
    std::uint64_t mount = 0;
    bool isKnown = false;

    bool operator==(const MountIdentity &) const = default;
};

// Of an open file or folder, and of a path, whose last link is followed. Not known where the
// system does not report it.
MountIdentity mountIdentityOf(int descriptor);
MountIdentity mountIdentityAt(const std::string &path);

// Opens the folder of the file `path`, to open the file from it, if it is on `mount`; returns
// an errno, ENODEV when it is on another mount. An unknown `mount` matches every one.
int openFolderOf(const std::string &path, const MountIdentity &mount, Descriptor &folder);

// Checks whether `path` exists, in a folder that is on `mount`; returns an errno, as above.
// Does not wait for a server of a network file system.
int lookUp(const std::string &path, const MountIdentity &mount);

// The last component of a path.
const char *lastNameOf(const std::string &path);

} // namespace mrb
