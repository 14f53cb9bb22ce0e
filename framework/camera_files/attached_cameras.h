#pragma once

#include <optional>
#include <string>

#include "camera/camera_library.h"
#include "storage/device.h"

namespace mrb {

// The attached camera with that storage id; no value: not attached.
std::optional<Device> attachedCamera(const std::string &id);

// The camera at that place of the USB bus, or where both are 0 the first with that name; with
// an empty name the first one. No value: not attached.
std::optional<Device> attachedCamera(const std::string &name, int bus, int address);

// Whether the camera with that address and arrival is still attached.
bool isAttached(const CameraAddress &address);

// The URL of a file on a camera: "ptp://", the camera's storage id without its "ptp:", and
// the path on it, both percent-encoded. The same as long as the camera keeps its id.
struct CameraItem {
    std::string device; // storage id
    std::string path;   // on the camera, absolute; exact bytes
};
inline constexpr const char *CAMERA_URL_SCHEME = "ptp://";
std::string cameraUrl(const CameraItem &item);
std::optional<CameraItem> readCameraUrl(const std::string &url);

// The folder and name of a path. The folder is never empty.
CameraPath cameraPathOf(const std::string &path);

} // namespace mrb
