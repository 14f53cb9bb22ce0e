#pragma once

#include <map>
#include <string>

#include "storage/camera_names.h"
#include "storage/device_source.h"
#include "storage/udev.h"

namespace mrb {

// PTP cameras and players, recognised by the property that gphoto's udev rules set, and
// named as libgphoto2 names them as soon as the name is known. Owned by the
// DeviceService; one thread at a time.
class Cameras final : public DeviceSource {
  public:
    void addDescriptors(std::vector<pollfd> &waited) const override;
    void scan(DeviceTable &table) override;

  private:
    void attach(DeviceTable &table, udev_device *usb);
    void detach(DeviceTable &table, const std::string &key);
    void scanAll(DeviceTable &table);

    Udev udev_{"usb", "usb_device"};
    bool hasScanned_ = false;
    std::map<std::string, Device> cameras_; // as they are in the table, by their keys
    CameraNames names_;
};

} // namespace mrb
