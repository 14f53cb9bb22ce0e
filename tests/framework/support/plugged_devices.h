#pragma once

#include <umockdev.h>

#include <string>
#include <vector>

#include "support/own_process.h"

namespace support {

using Texts = std::vector<const char *>;

// Until no camera thread runs: the libraries it loads must not meet the end of the process.
void awaitCameraThreads();

// Tests with sticks and cameras to plug in, inside of Surroundings::DEVICES. The testbed
// takes texts by name and value in turns.
class PluggedDevices : public OwnProcess {
  public:
    PluggedDevices() = default;
    ~PluggedDevices() override;
    PluggedDevices(const PluggedDevices &) = delete;
    PluggedDevices &operator=(const PluggedDevices &) = delete;

  protected:
    std::string add(const char *subsystem, const char *name, const std::string &parent, Texts attributes,
                    Texts properties);
    std::string addUsb(const char *name = "1-2", Texts properties = {"DEVTYPE", "usb_device"});
    // A disk has no file system at first, as when the kernel has found it and udev
    // still probes it.
    std::string addDisk(const std::string &usb, const char *number = "8:16");
    std::string addPartition(const std::string &disk);
    // A camera at address 7 of bus 1, with ids that libgphoto2 has a driver for.
    std::string addCamera(const char *vendor = "04a9", const char *product = "327d");

    void event(const std::string &device, const char *action);
    void remove(const std::string &device);
    void change(const std::string &device, const char *property, const char *value);
    void changeAttribute(const std::string &device, const char *attribute, const char *value);

    // Removes and adds a device that is there a thousand times. A test failure unless each of
    // these is reported once, in order.
    void expectReplugsReported(const std::string &device);

    // Made in the child process only.
    UMockdevTestbed *testbed();
    // The folder that holds what the testbed shows as /sys and /dev.
    std::string rootFolder();

  private:
    UMockdevTestbed *testbed_ = nullptr;
};

} // namespace support
