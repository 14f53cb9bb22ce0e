#pragma once

#include <utility>

#include "camera/gphoto/gphoto_library.h"

namespace mrb {

// What a code of libgphoto2's means, and its own words about `about`.
Outcome outcomeOfGphoto(int code, const std::string &about);

// A camera that libgphoto2 has claimed. Owned by who opened it; one thread at a time.
class GphotoCamera final : public Camera {
  public:
    using Handle = std::unique_ptr<::Camera, GphotoRelease>;

    explicit GphotoCamera(Handle camera) : camera_(std::move(camera)) {}
    ~GphotoCamera() override;

    Outcome readSizes(CameraSizes &sizes) override;

  private:
    const std::unique_ptr<GPContext, GphotoRelease> context_{gp_context_new()};
    const Handle camera_; // open
};

} // namespace mrb
