#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "camera/camera_library.h"
#include "support/cameras.h"

namespace support {

// A file on a ScriptedCamera.
struct ScriptedFile {
    std::string bytes;
    mrb::CameraFileStatus fileStatus;   // as the camera reports them
    std::optional<std::string> exif;    // nullopt: the camera has no such part
    std::optional<std::string> preview; // the same

    // A file whose size the camera reports as it is.
    static ScriptedFile of(std::string bytes);
};

// A request to the camera, about a file or a folder.
struct CameraRequest {
    std::string kind;         // "status", "piece", "exif", "preview", "whole"; "list" of a folder
    std::string name;         // the file's; the path of a folder
    std::uint64_t offset = 0; // of a partial read, or the bytes of the whole file sent so far
};

// A camera whose answers a test writes, invalid ones included. It stands in for libgphoto2's
// cameras and is plugged in with the object. One at a time, inside of Surroundings that have
// one. Public members are set before the first request.
class ScriptedCamera {
  public:
    ScriptedCamera();
    ~ScriptedCamera();
    ScriptedCamera(const ScriptedCamera &) = delete;
    ScriptedCamera &operator=(const ScriptedCamera &) = delete;

    // By name, or by "FOLDER/NAME".
    std::map<std::string, ScriptedFile> files;
    bool givesPieces = true;
    std::size_t longestPiece = std::size_t{1} << 30; // at most, whatever length is requested
    // Called for each request, and again for each part of a whole file, on the camera's
    // thread; anything but MRB_ERR_NONE is returned to the driver's caller.
    std::function<mrb::Status(const CameraRequest &request)> onRequest;

    // Called on the camera's thread when its sizes are requested. Empty: it returns none.
    std::function<mrb::Status(mrb::CameraSizes &sizes)> onSizes;

    // Pulls it out before the system reports that: it cannot be opened any more, and a driver
    // that has it open returns `answer` for every request. MRB_ERR_NONE: empty results, and an
    // error for the sizes only.
    void pullOut(mrb::Status answer);

    OfferedCamera place; // where it is plugged in

    // The requests since clearRequests, in order: "status a.jpg".
    [[nodiscard]] std::vector<std::string> requests() const;
    void clearRequests();

    struct State;

  private:
    std::shared_ptr<State> state_; // shared with the camera's thread, which may stay longer
};

} // namespace support

// Makes the cameras of the library that is loaded in libgphoto2's place.
extern "C" [[gnu::visibility("default")]] mrb::CameraLibrary *scripted_camera_library();
