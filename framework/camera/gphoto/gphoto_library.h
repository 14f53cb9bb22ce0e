#pragma once

#include <gphoto2/gphoto2.h>

#include <memory>
#include <string>

#include "base/deleter.h"
#include "base/mutex.h"
#include "camera/camera_library.h"

namespace mrb {

// Not gp_camera_unref: that leaks a camera whose opening has failed.
using GphotoHandle = std::unique_ptr<::Camera, Deleter<gp_camera_free>>;
using GphotoDrivers = std::unique_ptr<CameraAbilitiesList, Deleter<gp_abilities_list_free>>;
using GphotoPorts = std::unique_ptr<GPPortInfoList, Deleter<gp_port_info_list_free>>;
using GphotoContext = std::unique_ptr<GPContext, Deleter<gp_context_unref>>;
using GphotoList = std::unique_ptr<CameraList, Deleter<gp_list_free>>;
// The library may hold a further reference.
using GphotoFile = std::unique_ptr<CameraFile, Deleter<gp_file_unref>>;

// libgphoto2's drivers. It loads them by a library (libltdl) that has one state for the whole
// process, so every call that may load or unload one holds loading_.
//
// A camera that is slow to open or to close therefore delays the opening of others. The two
// cannot be separated: one call (gp_camera_init) loads the driver and connects to the camera,
// and while drivers open a camera they read libgphoto2's settings, which are a table of the
// process filled from a file with strtok, and have no lock either. Requests to an open camera
// delay no other.
class GphotoLibrary final : public CameraLibrary {
  public:
    // Loads the descriptions of all drivers: some ten milliseconds. Throws std::runtime_error
    // when that fails.
    GphotoLibrary();

    CameraModel modelOf(const CameraAddress &address) override;
    std::unique_ptr<Camera> open(const CameraAddress &address, Status &status) override;

  private:
    bool findDriver(const std::string &driver, CameraAbilities &abilities);

    // Look-ups only, which do not change it: any thread, without a lock.
    const GphotoDrivers drivers_;
    Mutex loading_; // see above
};

} // namespace mrb
