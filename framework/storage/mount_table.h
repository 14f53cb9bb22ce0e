#pragma once

#include <libmount.h>
#include <sys/types.h>

#include <memory>
#include <string>
#include <vector>

#include "base/deleter.h"

namespace mrb {

using MountTable = std::unique_ptr<libmnt_table, Deleter<mnt_unref_table>>;
using MountIterator = std::unique_ptr<libmnt_iter, Deleter<mnt_free_iter>>;

inline constexpr const char *MOUNT_TABLE_FILE = "/proc/self/mountinfo";

// The mounts of this process, or those of a file in the same format; null when it cannot be
// read. Any thread.
MountTable readMountTable(const char *file = MOUNT_TABLE_FILE);

// The mount that holds the absolute, normal path, or null. Reads the table alone: a file
// system that hangs does not block it.
libmnt_fs *mountHolding(libmnt_table *table, std::string path);

// A line of the table.
struct MountEntry {
    int id = 0;
    dev_t device = 0;
    std::string mountPoint; // absolute, exact bytes
    std::string source;     // such as "/dev/sdb1"; arbitrary without a device
    std::string type;       // the kernel's name
};

// The entry of a mount, and the id of the storage that is mounted there (see
// readStorageId).
MountEntry entryOf(libmnt_fs *mount);
std::string storageIdOf(const MountEntry &mount);

// All lines, the oldest first; false when the table cannot be read.
bool readMountEntries(std::vector<MountEntry> &entries, const char *file = MOUNT_TABLE_FILE);

} // namespace mrb
