#pragma once

#include <map>
#include <span>
#include <vector>

#include "storage/device_table.h"

namespace mrb {

// The devices as the DeviceTable last had them: what calls are answered from while a look goes
// on. Owned by the DeviceService, under its lock; nothing here waits.
class KnownDevices {
  public:
    // Does what the table did, which is the same table afterwards.
    void apply(std::span<const Notice> notices);

    // Those of a kind, in the order of their indexes.
    [[nodiscard]] std::vector<Device> list(DeviceKind kind) const;

    [[nodiscard]] bool contains(const Device &device) const;

    // What was measured of one of them, if it is still mounted there.
    void keepSizes(const Device &measured);

  private:
    std::map<int, Device> devices_; // by their indexes
};

} // namespace mrb
