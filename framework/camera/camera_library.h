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

// Where a camera is, and what it says it is.
struct CameraAddress {
    std::string port; // "usb:BUS,ADDRESS" with three decimal digits each; or "disk:/FOLDER", a
                      // folder that libgphoto2 shows as a camera; empty: no camera
    int vendor = 0;   // the numbers of the USB device; 0: it has none
    int product = 0;
    // Which of those that were at that port: no two in the life of a process are the same, however
    // alike they are. 0: that does not matter.
    std::uint64_t arrival = 0;

    bool operator==(const CameraAddress &) const = default;
    bool operator<(const CameraAddress &other) const {
        return std::tie(port, vendor, product, arrival) <
               std::tie(other.port, other.vendor, other.product, other.arrival);
    }
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

// A file on a camera, or a folder without a name.
struct CameraPath {
    std::string folder; // absolute, without a slash at its end unless it is "/"; exact bytes
    std::string name;

    bool operator==(const CameraPath &) const = default;
};

// What a camera says of a file without giving it.
struct CameraFileFacts {
    static constexpr std::int64_t UNSAID = -1;

    std::int64_t size = UNSAID;     // bytes
    std::int64_t modified = UNSAID; // seconds since 1970
    std::int64_t width = UNSAID;    // pixels
    std::int64_t height = UNSAID;
};

// The parts of a file that a camera can give apart from it.
enum class CameraPart : std::uint8_t {
    EXIF,    // its EXIF data, with or without what a JPEG has in front of them
    PREVIEW, // a small picture of it, mostly a JPEG of 160 x 120 pixels
    WHOLE    // all of it
};

// A camera that is claimed for this process as long as this lives. Owned by who opened
// it; one thread at a time, and each call may take seconds. Whatever a camera says may be
// wrong or hostile. MRB_ERR_DEVICE_REMOVED: it has left; but a driver may also call that a
// failed transfer, or a file or folder that is not there.
class Camera {
  public:
    Camera() = default;
    virtual ~Camera() = default;
    Camera(const Camera &) = delete;
    Camera &operator=(const Camera &) = delete;

    // Has every later call ask, as often as the camera shows that it is alive, whether to
    // end with MRB_ERR_CANCELLED.
    virtual void cancelWith(CancellationToken cancellation) = 0;

    virtual Status readSizes(CameraSizes &sizes) = 0;

    // The names of all files, or of all folders, in a folder; exact bytes.
    virtual Status listFiles(const std::string &folder, std::vector<std::string> &names) = 0;
    virtual Status listFolders(const std::string &folder, std::vector<std::string> &names) = 0;

    virtual Status readFacts(const CameraPath &file, CameraFileFacts &facts) = 0;

    // Reads up to `length` bytes from `offset` on; `got` is how many there were.
    // MRB_ERR_NOT_SUPPORTED: this camera gives whole files only.
    virtual Status readAt(const CameraPath &file, std::uint64_t offset, char *buffer, std::size_t length,
                          std::size_t &got) = 0;

    // Hands the bytes of a part to `take` in pieces; false: no more of them, which is
    // MRB_ERR_CANCELLED. MRB_ERR_NOT_SUPPORTED, MRB_ERR_NOT_FOUND: there is no such part.
    using Take = std::function<bool(std::string_view piece)>;
    virtual Status read(const CameraPath &file, CameraPart part, const Take &take) = 0;
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
    // program has it, MRB_ERR_DEVICE_REMOVED when there is none.
    virtual std::unique_ptr<Camera> open(const CameraAddress &address, Status &outcome) = 0;
};

// The process's, loaded when it is first asked for: that takes long, so not on a
// client's thread. Throws std::runtime_error when it cannot be loaded.
CameraLibrary &cameraLibrary();

// What that library exports: makes the one that is never destroyed.
using MakeCameraLibrary = CameraLibrary *();
extern "C" [[gnu::visibility("default")]] MakeCameraLibrary mrb_make_camera_library;
inline constexpr const char *MAKE_CAMERA_LIBRARY_SYMBOL = "mrb_make_camera_library";

} // namespace mrb
