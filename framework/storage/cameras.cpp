#include "storage/cameras.h"

#include <cstring>
#include <set>

namespace mrb {
namespace {

constexpr const char *WORD = "camera:";

std::string keyOf(udev_device *usb) {
    const char *path = udev_device_get_syspath(usb);
    return std::string(WORD) + (path != nullptr ? path : "");
}

bool isCamera(udev_device *usb) { return udevProperty(usb, "ID_GPHOTO2") == "1"; }

std::string firstOf(const std::string &first, const std::string &second) {
    return first.empty() ? second : first;
}

Device describe(udev_device *usb) {
    Device device;
    device.kind = DeviceKind::CAMERA;
    device.deviceClass = MRB_STORAGE_CLASS_CAMERA;
    device.bus = udevNumber(firstOf(udevProperty(usb, "BUSNUM"), udevAttribute(usb, "busnum")));
    device.address = udevNumber(firstOf(udevProperty(usb, "DEVNUM"), udevAttribute(usb, "devnum")));
    device.vendor = firstOf(udevMakersText(usb, "ID_VENDOR"), udevAttribute(usb, "manufacturer"));
    device.serial = firstOf(udevProperty(usb, "ID_SERIAL_SHORT"), udevAttribute(usb, "serial"));
    const std::string model = firstOf(udevMakersText(usb, "ID_MODEL"), udevAttribute(usb, "product"));
    device.name = firstOf(model, firstOf(device.vendor, "PTP"));
    const std::string port = std::to_string(device.bus) + ',' + std::to_string(device.address);
    device.id = "ptp:" + firstOf(device.serial, "usb:" + port);
    return device;
}

} // namespace

void Cameras::addDescriptors(std::vector<pollfd> &waited) const {
    waited.push_back({udev_.number(), POLLIN, 0});
}

void Cameras::look(DeviceTable &table) {
    bool lost = !hasLooked_;
    for (const UdevDevice &usb : udev_.events(lost)) {
        const char *action = udev_device_get_action(usb.get());
        if (action != nullptr && std::strcmp(action, "remove") == 0) {
            table.remove(keyOf(usb.get()));
        } else if (isCamera(usb.get())) {
            table.set(keyOf(usb.get()), describe(usb.get()));
        }
    }
    if (lost) {
        lookAtAll(table);
        hasLooked_ = true;
    }
}

void Cameras::lookAtAll(DeviceTable &table) const {
    std::set<std::string> there;
    for (const UdevDevice &usb : udev_.devices()) {
        if (isCamera(usb.get())) {
            there.insert(keyOf(usb.get()));
            table.set(keyOf(usb.get()), describe(usb.get()));
        }
    }
    table.keep(WORD, [&there](const std::string &key) { return there.contains(key); });
}

} // namespace mrb
