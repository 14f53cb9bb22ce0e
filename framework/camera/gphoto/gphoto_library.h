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

// libgphoto2's drivers. It loads them by a library (libltdl) that has one state for the whole
// process, so all that may load or unload one is done by one thread at a time.
//
// A camera that is slow to open or to let go therefore holds up others that are to be opened.
// That cannot be had apart: to load a driver and to speak with the camera is one call
// (gp_camera_init), and while drivers open a camera they read libgphoto2's settings, which
// are a table of the process filled from a file with strtok, and have no lock either. What
// is asked of a camera that is open holds up nobody.
class GphotoLibrary final : public CameraLibrary {
  public:
    // Loads what all drivers say of themselves: some ten milliseconds. Throws
    // std::runtime_error when that fails.
    GphotoLibrary();

    CameraModel modelOf(const CameraAddress &address) override;
    std::unique_ptr<Camera> open(const CameraAddress &address, Status &outcome) override;

  private:
    bool findDriver(const std::string &driver, CameraAbilities &abilities);

    // Only looked up in, which changes nothing in it: any thread, without a lock.
    const std::unique_ptr<CameraAbilitiesList, GphotoRelease> drivers_;
    std::mutex loading_; // see above
};

} // namespace mrb
