#include "storage/storage_id.h"

#include <libmount.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <memory>

#include "text/text.h"

namespace mrb {
namespace {

struct Release {
    void operator()(libmnt_table *table) const { mnt_unref_table(table); }
    void operator()(char *text) const { std::free(text); }
};
using MountTable = std::unique_ptr<libmnt_table, Release>;

std::string textOrNothing(const char *text) { return text != nullptr ? text : ""; }

} // namespace

std::string uuidOfDevice(const std::string &device, const std::string &folder) {
    struct stat wanted {};
    if (stat(device.c_str(), &wanted) != 0 || !S_ISBLK(wanted.st_mode)) {
        return {};
    }
    std::error_code failure;
    std::filesystem::directory_iterator link(folder, failure);
    for (; !failure && link != std::filesystem::directory_iterator(); link.increment(failure)) {
        struct stat found {};
        if (stat(link->path().c_str(), &found) == 0 && S_ISBLK(found.st_mode) &&
            found.st_rdev == wanted.st_rdev) {
            return link->path().filename().string();
        }
    }
    return {};
}

Outcome readStorageId(const std::string &path, std::string &id) {
    if (!path.starts_with('/')) {
        return {MRB_ERR_INVALID_PARAMETER, "The mount path \"" + path + "\" is not absolute."};
    }
    const std::unique_ptr<char, Release> real(realpath(path.c_str(), nullptr));
    if (!real) {
        return outcomeOfErrno(errno, path);
    }
    const MountTable table(mnt_new_table());
    if (!table) {
        return {MRB_ERR_OUT_OF_MEMORY, "There is not enough memory for the table of mounts."};
    }
    if (mnt_table_parse_file(table.get(), "/proc/self/mountinfo") != 0) {
        return {MRB_ERR_IO, "The table of mounts cannot be read."};
    }
    // Backwards: of several mounts at one place, the last one covers the others.
    libmnt_fs *mount = mnt_table_find_mountpoint(table.get(), real.get(), MNT_ITER_BACKWARD);
    if (mount == nullptr) {
        return {MRB_ERR_NOT_FOUND, "No mount holds \"" + path + "\"."};
    }
    const std::string source = textOrNothing(mnt_fs_get_source(mount));
    id = displayText(uuidOfDevice(source));
    if (id.empty()) {
        id = displayText(textOrNothing(mnt_fs_get_fstype(mount)) + ':' + source + ':' +
                         textOrNothing(mnt_fs_get_target(mount)));
    }
    return {};
}

} // namespace mrb
