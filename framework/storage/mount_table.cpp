#include "storage/mount_table.h"

#include "storage/storage_id.h"
#include "text/text.h"

namespace mrb {
namespace {

std::string textOrNothing(const char *text) { return text != nullptr ? text : ""; }

} // namespace

MountTable readMountTable() {
    MountTable table(mnt_new_table());
    if (table && mnt_table_parse_file(table.get(), MOUNT_TABLE_FILE) != 0) {
        table.reset();
    }
    return table;
}

MountEntry entryOf(libmnt_fs *mount) {
    return {mnt_fs_get_id(mount), mnt_fs_get_devno(mount), textOrNothing(mnt_fs_get_target(mount)),
            textOrNothing(mnt_fs_get_source(mount)), textOrNothing(mnt_fs_get_fstype(mount))};
}

std::string storageIdOf(const MountEntry &mount) {
    const std::string id = displayText(uuidOfDevice(mount.source));
    return id.empty() ? displayText(mount.type + ':' + mount.source + ':' + mount.place) : id;
}

bool readMountEntries(std::vector<MountEntry> &entries) {
    const MountTable table = readMountTable();
    const std::unique_ptr<libmnt_iter, MountRelease> each(mnt_new_iter(MNT_ITER_FORWARD));
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
