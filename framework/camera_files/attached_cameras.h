#pragma once

#include <optional>
#include <string>

#include "camera/camera_library.h"
#include "storage/device.h"

namespace mrb {

// The attached camera with that storage id; no value: there is none.
std::optional<Device> attachedCamera(const std::string &id);

// The one at that place of the USB bus, or where both are 0 the first with that name; with
// no name either, the first one. No value: there is none.
std::optional<Device> attachedCamera(const std::string &name, int bus, int address);

// Whether the camera that came to that address at that time is still attached.
bool isAttached(const CameraAddress &address);

// Where a file on a camera is, as a URL: "ptp://", what follows "ptp:" in the camera's storage
// id, and the path on it, both percent-encoded. The same as long as the camera keeps its id.
struct CameraItem {
    std::string device; // storage id
    std::string path;   // on the camera, absolute; exact bytes
};
inline constexpr const char *CAMERA_URL_SCHEME = "ptp://";
std::string cameraUrl(const CameraItem &item);
std::optional<CameraItem> readCameraUrl(const std::string &url);

// The path in its parts. Its folder is never empty.
CameraPath cameraPathOf(const std::string &path);

} // namespace mrb
