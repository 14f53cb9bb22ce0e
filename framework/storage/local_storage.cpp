#include "storage/local_storage.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "base/log.h"
#include "storage/block_device.h"
#include "storage/file_systems.h"
#include "text/text.h"

namespace mrb {
namespace {

constexpr const char *BLOCK = "block:";
constexpr const char *MOUNT = "mount:";

// Desktops mount removable media below these.
constexpr const char *PLACES[] = {"/media/", "/run/media/"};

// Maximum of sequence numbers kept; beyond it most are of devices long removed.
constexpr std::size_t MAX_WORDS = 4096;

std::string keyOf(dev_t number) {
    return BLOCK + std::to_string(major(number)) + ':' + std::to_string(minor(number));
}

// Distinguishes a mount from a later one at the same mount point; the mount id is not enough, since
// the kernel reuses it.
std::string keyOf(const MountEntry &mount) {
    return MOUNT + std::to_string(mount.id) + ':' + std::to_string(mount.device) + ':' + mount.type + ':' +
           mount.source + ':' + mount.mountPoint;
}

// The number of the mounted block device; 0 when it is not one. Some file systems have a
// device number of their own, and only their source leads to the block device.
dev_t deviceOf(const MountEntry &mount) {
    if (major(mount.device) != 0) {
        return mount.device;
    }
    struct stat source {};
    return mount.source.starts_with("/dev/") && stat(mount.source.c_str(), &source) == 0 &&
                   S_ISBLK(source.st_mode)
               ? source.st_rdev
               : 0;
}

// Does not compare the file system, which may be reformatted. A new attachment changes the address.
bool isSameStick(const Device &one, const Device &other) {
    return one.bus == other.bus && one.address == other.address && one.serial == other.serial &&
           one.vendor == other.vendor;
}

bool isInAPlaceForMedia(const MountEntry &mount) {
    return std::ranges::any_of(PLACES,
                               [&mount](const char *folder) { return mount.mountPoint.starts_with(folder); });
}

// The type of a FUSE mount does not say which file system it is; the device does.
int fileSystemOf(const MountEntry &mount) {
    return fileSystemNumber(mount.type == "fuseblk" ? probeFileSystem(mount.source) : mount.type);
}

void describeMount(Device &device, const MountEntry &mount) {
    device.mountPath = mount.mountPoint;
    device.mountId = mount.id;
    if (const int fileSystem = fileSystemOf(mount); fileSystem != MRB_FILE_SYSTEM_UNKNOWN) {
        device.fileSystem = fileSystem;
    }
}

Device deviceOfMount(const MountEntry &mount) {
    Device device;
    device.id = storageIdOf(mount);
    device.name = displayText(mount.mountPoint.substr(mount.mountPoint.rfind('/') + 1));
    describeMount(device, mount);
    return device;
}

Descriptor openMounts(const std::string &table) {
    return Descriptor(open(table.c_str(), O_RDONLY | O_CLOEXEC));
}

} // namespace

LocalStorage::LocalStorage(std::string mounts)
    : mountTable_(std::move(mounts)), mountsToWaitFor_(openMounts(mountTable_)),
      mountsToRead_(openMounts(mountTable_)) {
    if (!mountsToWaitFor_ || !mountsToRead_) {
        MRB_LOG_WARNING("The table of mounts cannot be opened: %s.", std::strerror(errno));
    }
}

void LocalStorage::addDescriptors(std::vector<pollfd> &waited) const {
    waited.push_back({udev_.fd(), POLLIN, 0});
    waited.push_back({mountsToWaitFor_.fd(), POLLPRI, 0});
}

void LocalStorage::scan(DeviceTable &table) {
    // In this order: a mounted device was attached before, and udev has reported that.
    const bool mountsChanged = readMounts();
    bool lost = !hasScanned_;
    const std::vector<UdevDevice> events = udev_.events(lost);
    for (const UdevDevice &block : events) {
        handleEvent(table, block.get());
    }
    if (lost) {
        scanAll(table);
        hasScanned_ = true;
    }
    if (mountsChanged || lost || !events.empty()) {
        setMounts(table);
    }
}

bool LocalStorage::readMounts() {
    pollfd mounts{mountsToRead_.fd(), POLLPRI, 0};
    const bool isNews = poll(&mounts, 1, 0) > 0;
    if ((hasScanned_ && !isNews) || !readMountEntries(mounts_, mountTable_.c_str())) {
        return false;
    }
    mountOf_.clear();
    for (std::size_t index = 0; index < mounts_.size(); ++index) {
        if (const dev_t number = deviceOf(mounts_[index]); number != 0) {
            mountOf_.try_emplace(number, index);
        }
    }
    return true;
}

void LocalStorage::handleEvent(DeviceTable &table, udev_device *block) {
    const char *path = udev_device_get_devpath(block);
    const char *action = udev_device_get_action(block);
    if (path == nullptr || action == nullptr) {
        return;
    }
    if (lastWords_.size() >= MAX_WORDS) {
        lastWords_.clear();
    }
    const unsigned long long word = udev_device_get_seqnum(block);
    unsigned long long &last = lastWords_[path];
    if (word < last) {
        return;
    }
    last = word;
    const dev_t number = udev_device_get_devnum(block);
    if (std::strcmp(action, "remove") != 0 && isRemovable(block) && holdsFiles(block)) {
        attach(table, block);
    } else if (blocks_.erase(number) > 0) {
        table.remove(keyOf(number));
    }
}

void LocalStorage::attach(DeviceTable &table, udev_device *block) {
    const dev_t number = udev_device_get_devnum(block);
    Device device = describeBlock(block);
    // Its removal event may have been lost, when the buffer was full.
    if (const auto known = blocks_.find(number);
        known != blocks_.end() && !isSameStick(known->second, device)) {
        table.remove(keyOf(number));
    }
    setBlock(table, number, device);
    blocks_[number] = std::move(device);
}

void LocalStorage::scanAll(DeviceTable &table) {
    std::vector<UdevDevice> devices = udev_.devices();
    std::erase_if(devices, [](const UdevDevice &block) {
        return !isRemovable(block.get()) || !holdsFiles(block.get());
    });
    std::set<dev_t> there;
    for (const UdevDevice &block : devices) {
        there.insert(udev_device_get_devnum(block.get()));
    }
    // Removals first, as they happened.
    for (auto each = blocks_.begin(); each != blocks_.end();) {
        if (const dev_t number = (each++)->first; !there.contains(number)) {
            table.remove(keyOf(number));
            blocks_.erase(number);
        }
    }
    for (const UdevDevice &block : devices) {
        attach(table, block.get());
    }
}

void LocalStorage::setBlock(DeviceTable &table, dev_t number, Device device) const {
    if (const auto mount = mountOf_.find(number); mount != mountOf_.end()) {
        describeMount(device, mounts_[mount->second]);
    }
    table.set(keyOf(number), std::move(device));
}

// Updates the table from the mounts: the mount points of udev's devices, and mounts of
// devices that udev does not report.
void LocalStorage::setMounts(DeviceTable &table) {
    std::set<std::string> there;
    for (const auto &[number, device] : blocks_) {
        there.insert(keyOf(number));
        setBlock(table, number, device);
    }
    std::vector<std::pair<std::string, Device>> found; // mounts beyond udev's devices
    for (const MountEntry &mount : mounts_) {
        const dev_t number = deviceOf(mount);
        if (number == 0) {
            if (isInAPlaceForMedia(mount) && fileSystemNumber(mount.type) != MRB_FILE_SYSTEM_UNKNOWN) {
                const std::string key = keyOf(mount);
                // The entry of a known mount cannot have changed.
                if (there.insert(key).second && !table.contains(key)) {
                    found.emplace_back(key, deviceOfMount(mount));
                }
            }
            continue;
        }
        if (there.contains(keyOf(number))) {
            continue;
        }
        // A device that was pulled out stays mounted, but udev has no entry for it.
        const UdevDevice block = udev_.block(number);
        if (block && (isInAPlaceForMedia(mount) || isRemovable(block.get()))) {
            there.insert(keyOf(number));
            Device device = isRemovable(block.get()) ? describeBlock(block.get()) : deviceOfMount(mount);
            describeMount(device, mount);
            found.emplace_back(keyOf(number), std::move(device));
        }
    }
    // Removals first: another device may be in the same place.
    const auto isThere = [&there](const std::string &key) { return there.contains(key); };
    table.keep(BLOCK, isThere);
    table.keep(MOUNT, isThere);
    for (auto &[key, device] : found) {
        table.set(key, std::move(device));
    }
}

} // namespace mrb
