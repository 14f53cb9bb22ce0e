#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "base/descriptor.h"
#include "storage/device_source.h"
#include "storage/mount_table.h"
#include "storage/udev.h"

namespace mrb {

// Removable storage: the block devices that udev reports, with their mount points, and
// other file systems that are mounted where removable media are. Owned by the
// DeviceService; one thread at a time.
class LocalStorage final : public DeviceSource {
  public:
    // `mounts` is the path of the table of mounts, in the kernel's format.
    explicit LocalStorage(std::string mounts = MOUNT_TABLE_FILE);
    void addDescriptors(std::vector<pollfd> &waited) const override;
    void scan(DeviceTable &table) override;

  private:
    using Blocks = std::map<dev_t, Device>;

    bool readMounts();
    void handleEvent(DeviceTable &table, udev_device *block);
    void scanAll(DeviceTable &table);
    void attach(DeviceTable &table, udev_device *block);
    void setBlock(DeviceTable &table, dev_t number, Device device) const;
    void setMounts(DeviceTable &table);

    const std::string mountTable_;
    Udev udev_{"block"};
    bool hasScanned_ = false;
    Blocks blocks_; // udev's devices that are in the table
    // The last event's sequence number by device path: events may arrive out of order.
    std::map<std::string, unsigned long long> lastWords_;

    // Two, because each descriptor reports a change once, to the first that polls it: one
    // for the service's poll and one for look().
    Descriptor mountsToWaitFor_;
    Descriptor mountsToRead_;
    std::vector<MountEntry> mounts_;
    std::map<dev_t, std::size_t> mountOf_; // the oldest mount of a device, in mounts_
};

} // namespace mrb
