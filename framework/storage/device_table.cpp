#include "storage/device_table.h"

#include <algorithm>
#include <atomic>
#include <cstdint>

namespace mrb {
namespace {

// Arrival numbers of cameras, unique over all tables of the process.
std::atomic<std::uint64_t> arrivals = 0;

} // namespace

void DeviceTable::set(const std::string &key, Device device) {
    const auto [entry, isNew] = devices_.try_emplace(key);
    Device &current = entry->second;
    if (isNew) {
        device.index = takeIndex();
        device.camera.arrival = device.camera.port.empty() ? 0 : ++arrivals;
        current = std::move(device);
        events_.push_back({MRB_STORAGE_EVENT_ADDED, current});
        return;
    }
    device.index = current.index;
    device.camera.arrival = current.camera.arrival;
    if (device.mountPath == current.mountPath && device.mountId == current.mountId) {
        device.available = current.available;
        device.total = current.total;
    }
    if (device != current) {
        current = std::move(device);
        events_.push_back({MRB_STORAGE_EVENT_CHANGED, current});
    }
}

void DeviceTable::remove(const std::string &key) {
    const auto found = devices_.find(key);
    if (found != devices_.end()) {
        indexes_.erase(found->second.index);
        events_.push_back({MRB_STORAGE_EVENT_REMOVED, std::move(found->second)});
        devices_.erase(found);
    }
}

void DeviceTable::keepSizes(const Device &measured) {
    for (auto &[key, device] : devices_) {
        mrb::keepSizes(device, measured);
    }
}

void DeviceTable::setSizes(const CameraAddress &camera, const CameraSizes &sizes) {
    for (auto &[key, device] : devices_) {
        if (device.camera == camera && (device.available != sizes.available || device.total != sizes.total)) {
            device.available = sizes.available;
            device.total = sizes.total;
            events_.push_back({MRB_STORAGE_EVENT_CHANGED, device});
        }
    }
}

std::vector<Device> DeviceTable::list(DeviceKind kind) const {
    std::vector<Device> devices;
    for (const auto &[key, device] : devices_) {
        if (device.kind == kind) {
            devices.push_back(device);
        }
    }
    std::ranges::sort(devices, {}, &Device::index);
    return devices;
}

// Takes the lowest index that no other device has.
int DeviceTable::takeIndex() {
    int index = 0;
    for (const int taken : indexes_) {
        if (taken != index) {
            break;
        }
        ++index;
    }
    indexes_.insert(index);
    return index;
}

} // namespace mrb
