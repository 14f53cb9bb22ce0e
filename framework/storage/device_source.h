#pragma once

#include <poll.h>

#include <memory>
#include <vector>

#include "storage/device_table.h"

namespace mrb {

// A place that devices come from: the system's storage, its cameras, offered folders.
// A new one is a class beside this and a line in device_sources.cpp. Owned by the
// DeviceService, which calls it from one thread at a time.
class DeviceSource {
  public:
    virtual ~DeviceSource() = default;

    // Adds what to wait for: when one of them is ready, look() has something to do.
    // They stay the same as long as the source lives.
    virtual void addDescriptors(std::vector<pollfd> &waited) const = 0;

    // Brings the source's entries of the table up to date, without waiting for
    // anything to happen. Every key begins with a word that is this source's.
    virtual void look(DeviceTable &table) = 0;
};

// All sources of this machine.
std::vector<std::unique_ptr<DeviceSource>> makeDeviceSources();

} // namespace mrb
