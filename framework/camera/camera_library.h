#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "base/cancellation.h"
#include "base/result.h"

namespace mrb {

// The port of a camera, and its USB identity.
struct CameraAddress {
    std::string port; // "usb:BUS,ADDRESS" with three decimal digits each; or "disk:/FOLDER", a
                      // folder that libgphoto2 shows as a camera; empty: no camera
    int vendor = 0;   // the ids of the USB device; 0: it has none
    int product = 0;
    // Distinguishes the cameras that were attached to that port: unique in the life of a process,
    // even for identical cameras. 0: any of them.
    std::uint64_t arrival = 0;

    bool operator==(const CameraAddress &) const = default;
    bool operator<(const CameraAddress &other) const {
        return std::tie(port, vendor, product, arrival) <
               std::tie(other.port, other.vendor, other.product, other.arrival);
    }
};

// The model of a camera; texts are UTF-8.
struct CameraModel {
    std::string driver; // libgphoto2's name of its driver; empty: no driver
    std::string name;   // empty: unknown
};

// Free and total bytes of a camera's storage.
struct CameraSizes {
    long long available = 0;
    long long total = 0;
};

// A file on a camera, or a folder without a name.
struct CameraPath {
    std::string folder; // absolute, without a slash at its end unless it is "/"; exact bytes
    std::string name;

    bool operator==(const CameraPath &) const = default;
};

// What a camera reports of a file without transferring it.
struct CameraFileStatus {
    static constexpr std::int64_t UNSAID = -1;

    std::int64_t size = UNSAID;     // bytes
    std::int64_t modified = UNSAID; // seconds since 1970
    std::int64_t width = UNSAID;    // pixels
    std::int64_t height = UNSAID;
};

// The parts of a file that a camera may transfer separately.
enum class CameraPart : std::uint8_t {
    EXIF,    // its EXIF data, with or without the header of the JPEG segment
    PREVIEW, // its thumbnail, mostly a JPEG of 160 x 120 pixels
    WHOLE    // the whole file
};

// A camera, claimed for this process during the object's life. Owned by its opener; one
// thread at a time, and each call may take seconds. All data of a camera may be wrong or
// hostile. MRB_ERR_DEVICE_REMOVED: it was removed; but a driver may also report that as a
// failed transfer, or as a missing file or folder.
class Camera {
  public:
    Camera() = default;
    virtual ~Camera() = default;
    Camera(const Camera &) = delete;
    Camera &operator=(const Camera &) = delete;

    // Sets the token that every later call polls, as often as the camera shows that it is alive;
    // a cancellation ends the call with MRB_ERR_CANCELLED.
    virtual void cancelWith(CancellationToken cancellation) = 0;

    virtual Status readSizes(CameraSizes &sizes) = 0;

    // The names of all files, or of all folders, in a folder; exact bytes.
    virtual Status listFiles(const std::string &folder, std::vector<std::string> &names) = 0;
    virtual Status listFolders(const std::string &folder, std::vector<std::string> &names) = 0;

    virtual Status readStatus(const CameraPath &file, CameraFileStatus &fileStatus) = 0;

    // Reads up to `length` bytes from `offset` on; `got` is the number of bytes read.
    // MRB_ERR_NOT_SUPPORTED: this camera transfers whole files only.
    virtual Status readAt(const CameraPath &file, std::uint64_t offset, char *buffer, std::size_t length,
                          std::size_t &got) = 0;

    // Passes the bytes of a part to `take` in pieces; when it returns false, the transfer ends
    // with MRB_ERR_CANCELLED. MRB_ERR_NOT_SUPPORTED, MRB_ERR_NOT_FOUND: no such part.
    using Consumer = std::function<bool(std::string_view piece)>;
    virtual Status read(const CameraPath &file, CameraPart part, const Consumer &take) = 0;
};

// The drivers for cameras. Any thread.
class CameraLibrary {
  public:
    CameraLibrary() = default;
    virtual ~CameraLibrary() = default;
    CameraLibrary(const CameraLibrary &) = delete;
    CameraLibrary &operator=(const CameraLibrary &) = delete;

    // Looked up by the USB ids; unknown ids are those of a generic PTP camera without a name.
    virtual CameraModel modelOf(const CameraAddress &address) = 0;

    // Claims the camera. Null, with the reason in `status`: MRB_ERR_BUSY when another
    // program has claimed it, MRB_ERR_DEVICE_REMOVED when it is not attached.
    virtual std::unique_ptr<Camera> open(const CameraAddress &address, Status &status) = 0;
};

// The library of the process, loaded on first use: that takes long, so not on a client's
// thread. Throws std::runtime_error when it cannot be loaded.
CameraLibrary &cameraLibrary();

// Exported by that library: creates the one that is never destroyed.
using MakeCameraLibrary = CameraLibrary *();
extern "C" [[gnu::visibility("default")]] MakeCameraLibrary mrb_make_camera_library;
inline constexpr const char *MAKE_CAMERA_LIBRARY_SYMBOL = "mrb_make_camera_library";

} // namespace mrb
