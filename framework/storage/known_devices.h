#pragma once

#include <map>
#include <span>
#include <vector>

#include "storage/device_table.h"

namespace mrb {

// The devices as last published by the DeviceTable: calls are answered from it during a
// scan. Owned by the DeviceService, under its lock; nothing here blocks.
class KnownDevices {
  public:
    // Applies the table's changes, after which the content is the same as the table's.
    void apply(std::span<const DeviceEvent> events);

    // The devices of a kind, in the order of their indexes.
    [[nodiscard]] std::vector<Device> list(DeviceKind kind) const;

    [[nodiscard]] bool contains(const Device &device) const;

    // Stores the measured sizes of a device, if it is still mounted there.
    void keepSizes(const Device &measured);

  private:
    std::map<int, Device> devices_; // by their indexes
};

} // namespace mrb
