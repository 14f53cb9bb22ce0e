#include "base/mount_identity.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <cerrno>

namespace mrb {
namespace {

// STATX_MNT_ID_UNIQUE (Linux 6.8) and STATX_MNT_ID (5.8), which the headers of an older C
// library lack. Both ids are returned in the same field.
constexpr unsigned UNIQUE_MOUNT = 0x4000;
constexpr unsigned ANY_MOUNT = 0x1000;

MountIdentity identityOf(int folder, const char *path, int flags) {
    struct statx status {};
    if (statx(folder, path, flags | AT_NO_AUTOMOUNT | AT_STATX_DONT_SYNC, ANY_MOUNT | UNIQUE_MOUNT,
              &status) != 0) {
        return {};
    }
    const bool hasMount = (status.stx_mask & (ANY_MOUNT | UNIQUE_MOUNT)) != 0;
    return {gnu_dev_makedev(status.stx_dev_major, status.stx_dev_minor), hasMount ? status.stx_mnt_id : 0,
            true};
}

} // namespace

MountIdentity mountIdentityOf(int descriptor) { return identityOf(descriptor, "", AT_EMPTY_PATH); }

MountIdentity mountIdentityAt(const std::string &path) { return identityOf(AT_FDCWD, path.c_str(), 0); }

int openFolderOf(const std::string &path, const MountIdentity &mount, Descriptor &folder) {
    const std::string name = path.substr(0, path.rfind('/') + 1);
    folder = Descriptor(open(name.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!folder) {
        return errno;
    }
    return mount.isKnown && mountIdentityOf(folder.fd()) != mount ? ENODEV : 0;
}

int lookUp(const std::string &path, const MountIdentity &mount) {
    Descriptor folder;
    if (const int error = openFolderOf(path, mount, folder); error != 0) {
        return error;
    }
    const char *name = lastNameOf(path);
    struct statx status {};
    const int flags = AT_NO_AUTOMOUNT | AT_STATX_DONT_SYNC;
    return statx(folder.fd(), *name == '\0' ? "." : name, flags, 0, &status) == 0 ? 0 : errno;
}

const char *lastNameOf(const std::string &path) { return path.c_str() + (path.rfind('/') + 1); }

} // namespace mrb
