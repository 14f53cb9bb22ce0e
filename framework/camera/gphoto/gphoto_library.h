#pragma once

#include <gphoto2/gphoto2.h>

#include <memory>
#include <mutex>
#include <string>

#include "camera/camera_library.h"

namespace mrb {

struct GphotoRelease {
    // Not gp_camera_unref: that keeps a camera whose opening failed for ever.
    void operator()(::Camera *camera) const { gp_camera_free(camera); }
    void operator()(CameraAbilitiesList *list) const { gp_abilities_list_free(list); }
    void operator()(GPPortInfoList *list) const { gp_port_info_list_free(list); }
    void operator()(GPContext *context) const { gp_context_unref(context); }
    void operator()(CameraList *list) const { gp_list_free(list); }
    // The library may keep it for the next time.
    void operator()(CameraFile *file) const { gp_file_unref(file); }
};

// libgphoto2's drivers. It loads them by a library that has one state for the whole
// process, so all that may load or unload one is done by one thread at a time.
class GphotoLibrary final : public CameraLibrary {
  public:
    // Loads what all drivers say of themselves: some ten milliseconds. Throws
    // std::runtime_error when that fails.
    GphotoLibrary();

    CameraModel modelOf(const CameraAddress &address) override;
    std::unique_ptr<Camera> open(const CameraAddress &address, Outcome &outcome) override;

  private:
    bool findDriver(const std::string &driver, CameraAbilities &abilities);

    const std::unique_ptr<CameraAbilitiesList, GphotoRelease> drivers_;
    std::mutex loading_; // see above
};

} // namespace mrb
