#pragma once

#include <string>
#include <vector>

#include "base/result.h"

namespace mrb {

// The id of the storage that holds the existing absolute `path`: the UUID of its
// file system where the system knows one, else "TYPE:SOURCE:PLACE" of its mount,
// as in "tmpfs:tmpfs:/run". Any thread.
Status readStorageId(const std::string &path, std::string &id);

// The same for a call that must not wait: the path may lead through a file system that hangs.
// MRB_ERR_TIMEOUT: it has not answered within 100 ms. As long as it does not, that path is
// MRB_ERR_TIMEOUT at once. Throws std::system_error when the system has no room for a thread.
Status readStorageIdInTime(const std::string &path, std::string &id);

// The folder in which the system keeps a link from each UUID to its device.
inline constexpr const char *UUID_FOLDER = "/dev/disk/by-uuid";

// The UUID under which `folder` has a link to `device`, or to anything that is the
// same block device; empty when there is none.
std::string uuidOfDevice(const std::string &device, const std::string &folder = UUID_FOLDER);

// A place where a storage is mounted, and the storage's id.
struct Mount {
    std::string place; // absolute, without a slash at its end; empty for "/"
    std::string id;
};

// The mount that holds the existing, real path `folder`, and those below it; the
// longest places first. Empty when the system does not tell. Any thread.
std::vector<Mount> mountsOf(const std::string &folder);

} // namespace mrb
