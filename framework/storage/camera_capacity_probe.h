#pragma once

#include <memory>
#include <span>
#include <vector>

#include "camera/camera_library.h"
#include "storage/device.h"

namespace mrb {

// Requests the capacities of cameras on the cameras' own threads, without waiting for the
// results. Owned by the DeviceService; any thread.
class CameraCapacityProbe {
  public:
    struct Result {
        CameraAddress camera;
        CameraSizes sizes;
    };

    CameraCapacityProbe();

    // Becomes readable when there are results; -1 when the system had no descriptor left.
    [[nodiscard]] int fd() const;

    // Sends a request to each of the cameras (all that are attached) whose last request ended some
    // time ago, since it claims the camera, and lists may be created many times a second. A camera
    // with a request under way gets no second one. A failure is logged.
    void request(std::span<const Device> cameras);

    // The results since the last call.
    std::vector<Result> takeResults();

  private:
    struct Mailbox;

    const std::shared_ptr<Mailbox> mailbox_; // shared with the requests under way
};

} // namespace mrb
