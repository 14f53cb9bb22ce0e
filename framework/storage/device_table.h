#pragma once

#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "storage/device.h"

namespace mrb {

// A change of a device.
struct DeviceEvent {
    mrb_storage_event_e event;
    Device device;
};

// The attached devices, each under a key that its source chooses, and their changes.
// A source may set the same state repeatedly; only differences are changes. Owned by
// the DeviceService; one thread at a time.
class DeviceTable {
  public:
    // Adds or updates a device. While it is mounted as before it keeps its known sizes: different
    // sizes alone are no change. A new camera gets an arrival number of its own.
    void set(const std::string &key, Device device);

    [[nodiscard]] bool contains(const std::string &key) const { return devices_.contains(key); }

    // The device is gone.
    void remove(const std::string &key);

    // Removes every device whose key begins with `word` and does not satisfy `isThere`.
    template <typename IsThere>
    void keep(const std::string &word, IsThere isThere) {
        for (auto each = devices_.lower_bound(word);
             each != devices_.end() && each->first.starts_with(word);) {
            const std::string key = (each++)->first;
            if (!isThere(key)) {
                remove(key);
            }
        }
    }

    // Stores the measured sizes of a device, if it is still mounted there.
    void keepSizes(const Device &measured);

    // Stores the sizes that a camera reported, if it is still attached. A change if they differ
    // from the known ones.
    void setSizes(const CameraAddress &camera, const CameraSizes &sizes);

    // The devices of a kind, in the order of their indexes.
    [[nodiscard]] std::vector<Device> list(DeviceKind kind) const;

    // The changes since the last call, in order.
    [[nodiscard]] std::vector<DeviceEvent> drainEvents() { return std::exchange(events_, {}); }

  private:
    int takeIndex();

    std::map<std::string, Device> devices_;
    std::set<int> indexes_; // those in use
    std::vector<DeviceEvent> events_;
};

} // namespace mrb
