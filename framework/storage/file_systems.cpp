#include "storage/file_systems.h"

#include "mrb/storage.h"

namespace mrb {
namespace {

struct Entry {
    const char *name;
    int number;
};

constexpr Entry FILE_SYSTEMS[] = {
    {"vfat", MRB_FILE_SYSTEM_FAT},          {"msdos", MRB_FILE_SYSTEM_FAT},
    {"exfat", MRB_FILE_SYSTEM_EXFAT},       {"fuse.exfat", MRB_FILE_SYSTEM_EXFAT},
    {"ntfs", MRB_FILE_SYSTEM_NTFS},         {"ntfs3", MRB_FILE_SYSTEM_NTFS},
    {"fuse.ntfs-3g", MRB_FILE_SYSTEM_NTFS}, {"ext2", MRB_FILE_SYSTEM_EXT2},
    {"ext3", MRB_FILE_SYSTEM_EXT3},         {"ext4", MRB_FILE_SYSTEM_EXT4},
    {"btrfs", MRB_FILE_SYSTEM_BTRFS},       {"xfs", MRB_FILE_SYSTEM_XFS},
    {"f2fs", MRB_FILE_SYSTEM_F2FS},         {"hfs", MRB_FILE_SYSTEM_HFS},
    {"hfsplus", MRB_FILE_SYSTEM_HFS},       {"apfs", MRB_FILE_SYSTEM_APFS},
    {"iso9660", MRB_FILE_SYSTEM_ISO9660},   {"udf", MRB_FILE_SYSTEM_UDF},
    {"tmpfs", MRB_FILE_SYSTEM_TMPFS},
};

} // namespace

int fileSystemNumber(const std::string &name) {
    for (const Entry &entry : FILE_SYSTEMS) {
        if (name == entry.name) {
            return entry.number;
        }
    }
    return MRB_FILE_SYSTEM_UNKNOWN;
}

} // namespace mrb
