#include "sources/folder/folder_mounts.h"

#include <unistd.h>

#include <array>
#include <climits>

namespace mrb {
namespace {

// Empty when the system does not return it.
std::string pathOf(int descriptor) {
    std::array<char, PATH_MAX> path{};
    const std::string link = "/proc/self/fd/" + std::to_string(descriptor);
    const ssize_t length = readlink(link.c_str(), path.data(), path.size());
    std::string found(path.data(), length > 0 ? static_cast<std::size_t>(length) : 0);
    return found == "/" ? std::string() : found;
}

} // namespace

void FolderMounts::add(int descriptor) {
    const MountIdentity mount = mountIdentityOf(descriptor);
    const MutexLock guard(lock_);
    if (mounts_.empty()) {
        root_ = pathOf(descriptor);
        mounts_.emplace("", mount);
        return;
    }
    // Only the root's mount so far, and this folder is on it too.
    if (mounts_.size() == 1 && mounts_.begin()->second == mount) {
        return;
    }
    const std::string path = pathOf(descriptor);
    if (path.size() > root_.size() + 1 && path.starts_with(root_ + '/')) {
        const std::string below = path.substr(root_.size() + 1);
        if (find(below) != mount) {
            mounts_.insert_or_assign(below, mount);
        }
    }
}

MountIdentity FolderMounts::of(std::string_view folder) const {
    const MutexLock guard(lock_);
    return find(folder);
}

MountIdentity FolderMounts::find(std::string_view folder) const {
    for (;;) {
        if (const auto found = mounts_.find(folder); found != mounts_.end()) {
            return found->second;
        }
        if (folder.empty()) {
            return {};
        }
        const std::size_t slash = folder.rfind('/');
        folder = folder.substr(0, slash == std::string_view::npos ? 0 : slash);
    }
}

} // namespace mrb
