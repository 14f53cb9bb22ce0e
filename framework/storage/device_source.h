#pragma once

#include <poll.h>

#include <memory>
#include <vector>

#include "storage/device_table.h"

namespace mrb {

// A source of devices: the system's storage, its cameras, offered folders.
// A new one is a class next to these and a line in device_sources.cpp. Owned by the
// DeviceService, which calls it from one thread at a time.
class DeviceSource {
  public:
    virtual ~DeviceSource() = default;

    // Adds the descriptors to poll: when one of them is ready, look() has something to do.
    // They stay the same as long as the source lives.
    virtual void addDescriptors(std::vector<pollfd> &waited) const = 0;

    // Updates the source's entries in the table, without waiting for an event. Each
    // source has a key prefix of its own.
    virtual void scan(DeviceTable &table) = 0;
};

// All sources of this machine.
std::vector<std::unique_ptr<DeviceSource>> makeDeviceSources();

} // namespace mrb
