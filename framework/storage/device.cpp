#include "storage/device.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>

#include <algorithm>
#include <cstdint>
#include <limits>

#include "base/descriptor.h"

namespace mrb {
namespace {

// Whether `folder` still belongs to the device: after an unmount it is on another file system.
bool isMountedStill(int folder, const Device &device) {
    struct statx status {};
    return device.mountId == 0 ||
           (statx(folder, "", AT_EMPTY_PATH | AT_STATX_DONT_SYNC, STATX_MNT_ID, &status) == 0 &&
            ((status.stx_mask & STATX_MNT_ID) == 0 ||
             status.stx_mnt_id == static_cast<std::uint64_t>(device.mountId)));
}

// Their product, limited to the signed range.
long long bytes(std::uint64_t blocks, std::uint64_t size) {
    constexpr auto MOST = static_cast<std::uint64_t>(std::numeric_limits<long long>::max());
    return static_cast<long long>(size == 0 ? 0 : std::min(blocks, MOST / size) * size);
}

} // namespace

bool isSame(const Device &one, const Device &other) {
    return one.kind == other.kind && one.id == other.id && one.camera == other.camera;
}

void keepSizes(Device &device, const Device &measured) {
    if (device.index == measured.index && device.id == measured.id &&
        device.mountPath == measured.mountPath && device.mountId == measured.mountId) {
        device.available = measured.available;
        device.total = measured.total;
    }
}

void measure(Device &device) {
    if (device.mountPath.empty()) {
        return;
    }
    const Descriptor folder(open(device.mountPath.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    struct statvfs sizes {};
    if (folder && isMountedStill(folder.fd(), device) && fstatvfs(folder.fd(), &sizes) == 0) {
        device.available = bytes(sizes.f_bavail, sizes.f_frsize);
        device.total = bytes(sizes.f_blocks, sizes.f_frsize);
    }
}

} // namespace mrb
