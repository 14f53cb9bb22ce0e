#pragma once

#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "storage/device.h"

namespace mrb {

// Something that happened to a device.
struct Notice {
    mrb_storage_event_e event;
    Device device;
};

// The devices that are there, each under a key that its source chooses, and what
// happened to them. However often a source says the same, it happens once. Owned by
// the DeviceService; one thread at a time.
class DeviceTable {
  public:
    // The device is there, and like this. Where it is mounted as before it keeps the sizes that
    // are known: that sizes differ is no change. A new camera has an arrival of its own.
    void set(const std::string &key, Device device);

    [[nodiscard]] bool contains(const std::string &key) const { return devices_.contains(key); }

    // It is not there any more.
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

    // What was measured of a device, if it is still mounted there.
    void keepSizes(const Device &measured);

    // What a camera answered, if it is still there; which is a change where nothing, or something
    // else, was known of it.
    void setSizes(const CameraAddress &camera, const CameraSizes &sizes);

    // Those of a kind, in the order of their indexes.
    [[nodiscard]] std::vector<Device> list(DeviceKind kind) const;

    // What happened since the last call, in order.
    [[nodiscard]] std::vector<Notice> takeNotices() { return std::exchange(notices_, {}); }

  private:
    int takeIndex();

    std::map<std::string, Device> devices_;
    std::set<int> indexes_; // those in use
    std::vector<Notice> notices_;
};

} // namespace mrb
