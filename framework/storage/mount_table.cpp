#include "storage/mount_table.h"

#include <algorithm>

#include "storage/storage_id.h"
#include "text/text.h"

namespace mrb {
namespace {

std::string textOrNothing(const char *text) { return text != nullptr ? text : ""; }

} // namespace

MountTable readMountTable(const char *file) {
    MountTable table(mnt_new_table());
    if (table && mnt_table_parse_file(table.get(), file) != 0) {
        table.reset();
    }
    return table;
}

libmnt_fs *mountHolding(libmnt_table *table, std::string path) {
    for (;;) {
        // Backwards: of several mounts at one mount point, the last one hides the others.
        libmnt_fs *mount = mnt_table_find_target(table, path.c_str(), MNT_ITER_BACKWARD);
        if (mount != nullptr || path.size() <= 1) {
            return mount;
        }
        path.resize(std::max<std::size_t>(path.rfind('/'), 1));
    }
}

MountEntry entryOf(libmnt_fs *mount) {
    return {mnt_fs_get_id(mount), mnt_fs_get_devno(mount), textOrNothing(mnt_fs_get_target(mount)),
            textOrNothing(mnt_fs_get_source(mount)), textOrNothing(mnt_fs_get_fstype(mount))};
}

std::string storageIdOf(const MountEntry &mount) {
    const std::string id = displayText(uuidOfDevice(mount.source));
    return id.empty() ? displayText(mount.type + ':' + mount.source + ':' + mount.mountPoint) : id;
}

bool readMountEntries(std::vector<MountEntry> &entries, const char *file) {
    const MountTable table = readMountTable(file);
    const MountIterator each(mnt_new_iter(MNT_ITER_FORWARD));
    if (!table || !each) {
        return false;
    }
    entries.clear();
    libmnt_fs *mount = nullptr;
    while (mnt_table_next_fs(table.get(), each.get(), &mount) == 0) {
        entries.push_back(entryOf(mount));
    }
    return true;
}

} // namespace mrb
