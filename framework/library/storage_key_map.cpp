#include "library/storage_key_map.h"

#include <cstdlib>
#include <memory>

#include "base/deleter.h"

namespace mrb {
namespace {} // namespace

StorageKeyMap::StorageKeyMap(std::string root) : root_(std::move(root)) {
    const MallocPtr<char> real(realpath(root_.c_str(), nullptr));
    realRoot_ = real ? real.get() : root_;
    mounts_ = mountsOf(realRoot_);
    realRoot_ = realRoot_ == "/" ? "" : realRoot_;
    root_ = root_ == "/" ? "" : root_;
}

MediaKey StorageKeyMap::keyOf(const std::string &path, std::int64_t size, std::int64_t modified) const {
    const std::string real = path.starts_with(root_) ? realRoot_ + path.substr(root_.size()) : path;
    for (const Mount &mount : mounts_) {
        if (real.starts_with(mount.mountPoint + '/')) {
            return {mount.id, real.substr(mount.mountPoint.size()), size, modified};
        }
    }
    return {"", real, size, modified};
}

} // namespace mrb
