#pragma once

#include <string>
#include <vector>

#include "base/result.h"

namespace mrb {

// The id of the storage that holds the existing absolute `path`: the UUID of its
// file system where the system knows one, else "TYPE:SOURCE:MOUNTPOINT" of its mount,
// as in "tmpfs:tmpfs:/run". Any thread.
Status readStorageId(const std::string &path, std::string &id);

// The same for a call that must not block: the path may lead through a file system that hangs.
// MRB_ERR_TIMEOUT: no result within 100 ms. Until that request ends, further ones for the path
// return MRB_ERR_TIMEOUT at once. Throws std::system_error when no thread can be started.
Status readStorageIdInTime(const std::string &path, std::string &id);

// The folder in which the system keeps a link from each UUID to its device.
inline constexpr const char *UUID_FOLDER = "/dev/disk/by-uuid";

// The UUID under which `folder` has a link to `device`, or to another file of the same
// block device; empty when it has none.
std::string uuidOfDevice(const std::string &device, const std::string &folder = UUID_FOLDER);

// A mount point, and the id of the storage that is mounted there.
struct Mount {
    std::string mountPoint; // absolute, without a trailing slash; empty for "/"
    std::string id;
};

// The mount that holds the existing, real path `folder`, and those below it; the
// longest paths first. Empty when the table of mounts cannot be read. Any thread.
std::vector<Mount> mountsOf(const std::string &folder);

} // namespace mrb
