#include "storage/cameras.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <set>
#include <utility>

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

// "04a9" as a number; 0 when it is not one.
int hexadecimal(const std::string &text) {
    int number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number, 16);
    return number;
}

// In libgphoto2's format.
std::string portOf(int bus, int address) {
    const auto three = [](int number) {
        const std::string digits = std::to_string(number);
        return std::string(3 - std::min<std::size_t>(digits.size(), 3), '0') + digits;
    };
    return "usb:" + three(bus) + ',' + three(address);
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
    device.camera.port = portOf(device.bus, device.address);
    device.camera.vendor =
        hexadecimal(firstOf(udevProperty(usb, "ID_VENDOR_ID"), udevAttribute(usb, "idVendor")));
    device.camera.product =
        hexadecimal(firstOf(udevProperty(usb, "ID_MODEL_ID"), udevAttribute(usb, "idProduct")));
    const std::string port = std::to_string(device.bus) + ',' + std::to_string(device.address);
    device.id = "ptp:" + firstOf(device.serial, "usb:" + port);
    return device;
}

} // namespace

void Cameras::addDescriptors(std::vector<pollfd> &waited) const {
    waited.push_back({udev_.fd(), POLLIN, 0});
    waited.push_back({names_.fd(), POLLIN, 0});
}

void Cameras::scan(DeviceTable &table) {
    bool lost = !hasScanned_;
    for (const UdevDevice &usb : udev_.events(lost)) {
        const char *action = udev_device_get_action(usb.get());
        if (action != nullptr && std::strcmp(action, "remove") == 0) {
            detach(table, keyOf(usb.get()));
        } else if (isCamera(usb.get())) {
            attach(table, usb.get());
        }
    }
    if (lost) {
        scanAll(table);
        hasScanned_ = true;
    }
    for (const CameraNames::Result &result : names_.takeResults()) {
        const auto camera = cameras_.find(result.key);
        if (camera != cameras_.end() && camera->second.camera == result.address) {
            camera->second.name = result.name;
            table.set(result.key, camera->second);
        }
    }
}

void Cameras::attach(DeviceTable &table, udev_device *usb) {
    const std::string key = keyOf(usb);
    Device device = describe(usb);
    const auto found = cameras_.find(key);
    if (found != cameras_.end() && found->second.camera == device.camera) {
        device.name = found->second.name;
    } else {
        detach(table, key); // a previous one whose removal event was lost
        names_.request(key, device.camera, device.name);
    }
    table.set(key, device);
    cameras_[key] = std::move(device);
}

void Cameras::detach(DeviceTable &table, const std::string &key) {
    cameras_.erase(key);
    table.remove(key);
}

void Cameras::scanAll(DeviceTable &table) {
    std::set<std::string> there;
    const std::vector<UdevDevice> devices = udev_.devices();
    for (const UdevDevice &usb : devices) {
        if (isCamera(usb.get())) {
            there.insert(keyOf(usb.get()));
        }
    }
    // Removals first: another camera may be attached in the same place.
    const auto isThere = [&there](const std::string &key) { return there.contains(key); };
    table.keep(WORD, isThere);
    std::erase_if(cameras_, [&isThere](const auto &camera) { return !isThere(camera.first); });
    for (const UdevDevice &usb : devices) {
        if (isCamera(usb.get())) {
            attach(table, usb.get());
        }
    }
}

} // namespace mrb
