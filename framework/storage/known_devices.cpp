#include "storage/known_devices.h"

#include <algorithm>

namespace mrb {

void KnownDevices::apply(std::span<const DeviceEvent> events) {
    for (const auto &[event, device] : events) {
        if (event == MRB_STORAGE_EVENT_REMOVED) {
            devices_.erase(device.index);
        } else {
            devices_[device.index] = device;
        }
    }
}

std::vector<Device> KnownDevices::list(DeviceKind kind) const {
    std::vector<Device> devices;
    for (const auto &[index, device] : devices_) {
        if (device.kind == kind) {
            devices.push_back(device);
        }
    }
    return devices;
}

bool KnownDevices::contains(const Device &device) const {
    return std::ranges::any_of(devices_, [&device](const auto &each) { return isSame(each.second, device); });
}

void KnownDevices::keepSizes(const Device &measured) {
    if (const auto known = devices_.find(measured.index); known != devices_.end()) {
        mrb::keepSizes(known->second, measured);
    }
}

} // namespace mrb
