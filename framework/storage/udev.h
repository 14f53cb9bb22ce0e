#pragma once

#include <libudev.h>

#include <memory>
#include <string>
#include <vector>

#include "base/deleter.h"

namespace mrb {

using UdevDevice = std::unique_ptr<udev_device, Deleter<udev_device_unref>>;

// A property or attribute as displayable text; empty when the device has none.
std::string udevProperty(udev_device *device, const char *name);
std::string udevAttribute(udev_device *device, const char *name);

// A text that the device's maker set: its exact form NAME_ENC where there is one, without
// blanks at its ends.
std::string udevMakersText(udev_device *device, const std::string &name);

// A decimal text as a number; 0 when it is not one.
int udevNumber(const std::string &text);

// The USB device that the device belongs to, or null; valid as long as `device`.
udev_device *usbDeviceOf(udev_device *device);

// udev's devices and events of one subsystem. Owned by a DeviceSource; one thread at a
// time. Where the system has no udev there are no devices, and a warning is logged.
class Udev {
  public:
    // Of the type only, such as "usb_device", when one is given.
    explicit Udev(const char *subsystem, const char *type = nullptr);

    // Becomes readable when an event arrives; -1 when the monitor could not be started.
    [[nodiscard]] int fd() const { return fd_; }

    // The devices that exist now.
    [[nodiscard]] std::vector<UdevDevice> devices() const;

    // The devices with events since the last call, each in its state at the event, in order.
    // `lost` is set when events were dropped because the buffer was full.
    [[nodiscard]] std::vector<UdevDevice> events(bool &lost) const;

    // The block device with that number, or null.
    [[nodiscard]] UdevDevice block(dev_t device) const;

  private:
    const char *subsystem_;
    const char *type_;
    std::unique_ptr<udev, Deleter<udev_unref>> context_;
    std::unique_ptr<udev_monitor, Deleter<udev_monitor_unref>> monitor_;
    int fd_ = -1;
};

} // namespace mrb
