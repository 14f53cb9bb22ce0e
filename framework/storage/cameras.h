#pragma once

#include "storage/device_source.h"
#include "storage/udev.h"

namespace mrb {

// Cameras and players that speak PTP, known by the mark that gphoto's rules give them.
// Owned by the DeviceService; one thread at a time.
class Cameras final : public DeviceSource {
  public:
    void addDescriptors(std::vector<pollfd> &waited) const override;
    void look(DeviceTable &table) override;

  private:
    void lookAtAll(DeviceTable &table) const;

    Udev udev_{"usb", "usb_device"};
    bool hasLooked_ = false;
};

} // namespace mrb
