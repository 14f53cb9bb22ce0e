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

// Storage that can be carried away: the block devices that udev tells of, with the
// place where they are mounted, and what else is mounted where removable media are.
// Owned by the DeviceService; one thread at a time.
class LocalStorage final : public DeviceSource {
  public:
    // `mounts` names the table of mounts, of the form that the kernel gives it.
    explicit LocalStorage(std::string mounts = MOUNT_TABLE_FILE);
    void addDescriptors(std::vector<pollfd> &waited) const override;
    void look(DeviceTable &table) override;

  private:
    using Blocks = std::map<dev_t, Device>;

    bool readMounts();
    void hear(DeviceTable &table, udev_device *block);
    void lookAtAll(DeviceTable &table);
    void attach(DeviceTable &table, udev_device *block);
    void setBlock(DeviceTable &table, dev_t number, Device device) const;
    void setMounts(DeviceTable &table);

    const std::string mountTable_;
    Udev udev_{"block"};
    bool hasLooked_ = false;
    Blocks blocks_; // those of udev's that are in the table
    // When udev last said something of a device; its words may overtake each other.
    std::map<std::string, unsigned long long> lastWords_;

    // Two, because each tells of a change once, to whoever asks: one for those who
    // wait and one for look().
    Descriptor mountsToWaitFor_;
    Descriptor mountsToAsk_;
    std::vector<MountEntry> mounts_;
    std::map<dev_t, std::size_t> mountOf_; // the oldest mount of a device, in mounts_
};

} // namespace mrb
