#pragma once

#include <cstdint>
#include <string>

#include "base/descriptor.h"

namespace mrb {

// A file system as it is mounted at a place, so that what a list found there can be told
// from another one that is mounted there later. A plain value.
struct MountIdentity {
    std::uint64_t device = 0;
    // Linux gives no two mounts the same number from version 6.8 on, and before that none
    // at the same time; 0: it gives none (before 5.8).
    std::uint64_t mount = 0;
    bool isKnown = false;

    bool operator==(const MountIdentity &) const = default;
};

// Of an open file or folder, and of a path, whose last link is followed. Not known where the
// system does not tell.
MountIdentity mountIdentityOf(int descriptor);
MountIdentity mountIdentityAt(const std::string &path);

// Opens the folder that holds the file `path`, as a place to open the file from, if it is on
// `mount`; an errno, ENODEV when it is on another one. One that is not known will do.
int openFolderOf(const std::string &path, const MountIdentity &mount, Descriptor &folder);

// Looks whether there is something at `path`, in a folder that is on `mount`; an errno, as
// above. Waits for no other machine.
int lookUp(const std::string &path, const MountIdentity &mount);

// The last name of a path.
const char *lastNameOf(const std::string &path);

} // namespace mrb
