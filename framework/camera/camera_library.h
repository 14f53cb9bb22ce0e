#pragma once

#include <memory>
#include <string>

#include "base/result.h"

namespace mrb {

// Where a camera is, and what it says it is.
struct CameraAddress {
    std::string port; // "usb:BUS,ADDRESS" with three decimal digits each; or "disk:/FOLDER", a
                      // folder that libgphoto2 shows as a camera; empty: no camera
    int vendor = 0;   // the numbers of the USB device; 0: it has none
    int product = 0;

    bool operator==(const CameraAddress &) const = default;
};

// How a camera's model is called; texts are UTF-8.
struct CameraModel {
    std::string driver; // the library's own name of what speaks with it; empty: nothing does
    std::string name;   // empty: of no particular name
};

// Free and whole space of what a camera keeps its pictures on, in bytes.
struct CameraSizes {
    long long available = 0;
    long long total = 0;
};

// A camera that is claimed for this process as long as this lives. Owned by who opened
// it; one thread at a time, and each call may take seconds.
class Camera {
  public:
    Camera() = default;
    virtual ~Camera() = default;
    Camera(const Camera &) = delete;
    Camera &operator=(const Camera &) = delete;

    virtual Outcome readSizes(CameraSizes &sizes) = 0;
};

// The drivers for cameras. Any thread.
class CameraLibrary {
  public:
    CameraLibrary() = default;
    virtual ~CameraLibrary() = default;
    CameraLibrary(const CameraLibrary &) = delete;
    CameraLibrary &operator=(const CameraLibrary &) = delete;

    // By its numbers; what they do not tell is taken for one of no particular name.
    virtual CameraModel modelOf(const CameraAddress &address) = 0;

    // Claims the camera. Null, with the reason in `outcome`: MRB_ERR_BUSY when another
    // program has it, MRB_ERR_NOT_FOUND when there is none.
    virtual std::unique_ptr<Camera> open(const CameraAddress &address, Outcome &outcome) = 0;
};

// The process's, loaded when it is first asked for: that takes long, so not on a
// client's thread. Throws std::runtime_error when it cannot be loaded.
CameraLibrary &cameraLibrary();

// What that library exports: makes the one that is never destroyed.
using MakeCameraLibrary = CameraLibrary *();
extern "C" [[gnu::visibility("default")]] MakeCameraLibrary mrb_make_camera_library;
inline constexpr const char *MAKE_CAMERA_LIBRARY_SYMBOL = "mrb_make_camera_library";

} // namespace mrb
