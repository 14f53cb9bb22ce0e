#pragma once

#include <memory>
#include <string>
#include <vector>

#include "camera/camera_library.h"

namespace mrb {

// Looks up the names of cameras, on threads that end with the result: libgphoto2, which
// knows the names, is loaded with the first camera. Owned by Cameras; one thread at a time.
class CameraNames {
  public:
    struct Result {
        std::string key;
        CameraAddress address;
        std::string name; // never empty
    };

    CameraNames();

    // Becomes readable when there are results; -1 when there will be none.
    [[nodiscard]] int fd() const;

    // `name` is for the log. A camera that the library does not know has no result.
    void request(const std::string &key, const CameraAddress &address, const std::string &name);

    // The results since the last call.
    std::vector<Result> takeResults();

  private:
    struct Mailbox;
    static void scan(Mailbox &mailbox, const std::string &key, const CameraAddress &address,
                     const std::string &name);

    const std::shared_ptr<Mailbox> mailbox_; // shared with the look-ups under way
};

} // namespace mrb
