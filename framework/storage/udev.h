#pragma once

#include <libudev.h>

#include <memory>
#include <string>
#include <vector>

#include "base/deleter.h"

namespace mrb {

using UdevDevice = std::unique_ptr<udev_device, Deleter<udev_device_unref>>;

// A property or attribute as text that can be shown; empty when there is none.
std::string udevProperty(udev_device *device, const char *name);
std::string udevAttribute(udev_device *device, const char *name);

// A text of the device's own maker: its exact form NAME_ENC where there is one, without
// blanks at its ends.
std::string udevMakersText(udev_device *device, const std::string &name);

// A decimal text as a number; 0 when it is none.
int udevNumber(const std::string &text);

// The USB device that the device belongs to, or null; lives as long as `device`.
udev_device *usbDeviceOf(udev_device *device);

// What udev says of the devices of one subsystem. Owned by a DeviceSource; one thread
// at a time. Where the system has no udev there are no devices, and the log says so.
class Udev {
  public:
    // Of the type only, such as "usb_device", when one is given.
    explicit Udev(const char *subsystem, const char *type = nullptr);

    // Becomes readable when something happens; -1 when nothing can be heard.
    [[nodiscard]] int number() const { return number_; }

    // Those that are there.
    [[nodiscard]] std::vector<UdevDevice> devices() const;

    // Those that something happened to since the last call, each as it was then and in
    // order. `lost` tells that some are missing because there were too many.
    [[nodiscard]] std::vector<UdevDevice> events(bool &lost) const;

    // The block device with that number, or null.
    [[nodiscard]] UdevDevice block(dev_t device) const;

  private:
    const char *subsystem_;
    const char *type_;
    std::unique_ptr<udev, Deleter<udev_unref>> context_;
    std::unique_ptr<udev_monitor, Deleter<udev_monitor_unref>> monitor_;
    int number_ = -1;
};

} // namespace mrb
