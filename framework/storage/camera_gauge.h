#pragma once

#include <memory>
#include <span>
#include <vector>

#include "camera/camera_library.h"
#include "storage/device.h"

namespace mrb {

// Asks cameras what they have room for, on the cameras' own threads: nothing waits for the
// answers, which come when they come. Owned by the DeviceService; any thread.
class CameraGauge {
  public:
    struct Answer {
        CameraAddress camera;
        CameraSizes sizes;
    };

    CameraGauge();

    // Becomes readable when there are answers; -1 when the system had no descriptor left.
    [[nodiscard]] int number() const;

    // Asks those of the cameras, which are all that are attached, whose last answer was some time
    // ago: asking claims a camera, and lists may be made many times a second. One that has not
    // answered yet is not asked again. A failure is a line in the log.
    void ask(std::span<const Device> cameras);

    // Those that came since the last call.
    std::vector<Answer> answers();

  private:
    struct Mailbox;
    static void start(const std::shared_ptr<Mailbox> &mailbox, const Device &camera);

    const std::shared_ptr<Mailbox> mailbox_; // shared with what is asked of cameras
};

} // namespace mrb
