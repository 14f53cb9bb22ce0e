#pragma once

#include <string>

#include "camera/camera_library.h"
#include "mrb/storage.h"

namespace mrb {

// The kind of a device, which decides the list that it is in.
enum class DeviceKind { USB, CAMERA, SERVER };

// What is known of one device. A plain value; texts are displayable UTF-8.
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
    int mountId = 0;         // of mountPath, distinguishes it from later mounts there; 0: none
    int fileSystem = MRB_FILE_SYSTEM_UNKNOWN;
    int index = 0; // assigned by the DeviceTable
    int address = 0;
    int bus = 0;
    int deviceClass = MRB_STORAGE_CLASS_NONE;

    bool operator==(const Device &) const = default;
};

// Two cameras of one maker may have the same id; their addresses differ.
bool isSame(const Device &one, const Device &other);

// Copies measured sizes to a device of the DeviceTable, if it is still the same device,
// mounted at the same place.
void keepSizes(Device &device, const Device &measured);

// Reads the sizes of the file system that is mounted from the device; on a failure they stay
// as they were. May block for ever on a device that hangs: a CapacityProbe adds the deadline.
// Any thread.
void measure(Device &device);

} // namespace mrb

// The handle of clients: the same under the C interface's name.
// NOLINTNEXTLINE(bugprone-reserved-identifier): the framework's own name
struct _mrb_storage_s {
    mrb::Device device;
};
