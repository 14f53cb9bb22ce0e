#pragma once

#include <string>

#include "camera/camera_library.h"
#include "mrb/storage.h"

namespace mrb {

// What a device is, and with that which list it is in.
enum class DeviceKind { USB, CAMERA, SERVER };

// What is known of one device. A plain value; texts are UTF-8 that can be shown.
struct Device {
    DeviceKind kind = DeviceKind::USB;
    std::string id;
    std::string name;
    std::string mountPath; // exact bytes; empty: not mounted
    std::string serial;
    std::string vendor;
    std::string label;
    std::string ip;          // of a server
    CameraAddress camera;    // of a camera
    long long available = 0; // bytes
    long long total = 0;     // bytes; both 0: not known, or not yet
    int mountId = 0;         // of mountPath, to know it from what is mounted there later; 0: none
    int fileSystem = MRB_FILE_SYSTEM_UNKNOWN;
    int index = 0; // the DeviceTable's
    int address = 0;
    int bus = 0;
    int deviceClass = MRB_STORAGE_CLASS_NONE;

    bool operator==(const Device &) const = default;
};

// Two cameras of one maker may have the same id; they are at different places.
bool isSame(const Device &one, const Device &other);

// Gives a device of the DeviceTable the sizes that were measured of it, if it is still the same
// that is mounted at the same place.
void keepSizes(Device &device, const Device &measured);

// Asks the file system that the device is mounted with for its sizes;
// what it does not answer stays as it was. May wait for the device, for ever when it is dying: a
// SizeGauge asks in time. Any thread.
void measure(Device &device);

} // namespace mrb

// What clients hold: the same under the name that C knows.
// NOLINTNEXTLINE(bugprone-reserved-identifier): the framework's own name
struct _mrb_storage_s {
    mrb::Device device;
};
