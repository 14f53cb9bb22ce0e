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

// A file on a ToldCamera.
struct ToldFile {
    std::string bytes;
    mrb::CameraFileFacts facts;         // what the camera says of it
    std::optional<std::string> exif;    // none: the camera has no such part of it
    std::optional<std::string> preview; // the same

    // One of which the camera says what is true, but for its pixels.
    static ToldFile of(std::string bytes);
};

// What a camera is asked about a file, or about a folder.
struct CameraQuestion {
    std::string about;        // "facts", "piece", "exif", "preview", "whole"; "list" of a folder
    std::string name;         // of the file; of a folder its path
    std::uint64_t offset = 0; // of a piece, or of what was given of the whole file so far
};

// A camera that says and gives what the test wants, however wrong, in the place of
// libgphoto2's, plugged in with the object. There is one at a time, inside of surroundings
// that have one. What is public is set before the camera is asked anything.
class ToldCamera {
  public:
    ToldCamera();
    ~ToldCamera();
    ToldCamera(const ToldCamera &) = delete;
    ToldCamera &operator=(const ToldCamera &) = delete;

    // By name; of one in a folder "FOLDER/NAME".
    std::map<std::string, ToldFile> files;
    bool givesPieces = true;
    std::size_t longestPiece = std::size_t{1} << 30; // whatever is asked for
    // Called for each question, and again for each part of a whole file, on the camera's
    // thread; anything but MRB_ERR_NONE is its answer.
    std::function<mrb::Outcome(const CameraQuestion &question)> onQuestion;

    // Called on the camera's thread when it is asked for its room. None: it says nothing of it.
    std::function<mrb::Outcome(mrb::CameraSizes &sizes)> onSizes;

    // It is pulled out, which the system has not reported yet: it cannot be opened any more, and a
    // driver that has it open answers everything with this. MRB_ERR_NONE: it says that there is
    // nothing, but for the room.
    void pullOut(mrb::Outcome answer);

    OfferedCamera place; // where it is plugged in

    // What it was asked since it was last forgotten, in order: "facts a.jpg".
    [[nodiscard]] std::vector<std::string> asked() const;
    void forgetAsked();

    struct State;

  private:
    std::shared_ptr<State> state_; // shared with the camera's thread, which may stay longer
};

} // namespace support

// What the library that is loaded in libgphoto2's place asks for its cameras.
extern "C" [[gnu::visibility("default")]] mrb::CameraLibrary *told_camera_library();
