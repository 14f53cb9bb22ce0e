#include "storage/udev.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstring>
#include <mutex>

#include "base/deleter.h"
#include "base/log.h"
#include "text/text.h"

namespace mrb {
namespace {

// The size of a burst of events until it is read. The system may grant less.
constexpr int BUFFER_BYTES = 8 << 20;

// The folder of udev's database.
constexpr const char *UDEV_FOLDER = "/run/udev";

// Without udev, as in many containers, nothing fails: the device lists are empty.
void sayOnceWhatIsMissing() {
    static std::once_flag said;
    std::call_once(said, [] {
        if (faccessat(AT_FDCWD, UDEV_FOLDER, R_OK | X_OK, AT_EACCESS) != 0) {
            MRB_LOG_WARNING("udev reports no devices, only mounts are known (%s: %s).", UDEV_FOLDER,
                            std::strerror(errno));
        }
    });
}

// Replaces the "\x20" escapes of a text that udev has encoded.
std::string decoded(const std::string &text) {
    std::string bytes;
    for (std::size_t at = 0; at < text.size(); ++at) {
        unsigned byte = 0;
        const char *digits = text.data() + at + 2;
        if (text[at] == '\\' && at + 3 < text.size() && text[at + 1] == 'x' &&
            std::from_chars(digits, digits + 2, byte, 16).ptr == digits + 2) {
            bytes += static_cast<char>(byte);
            at += 3;
        } else {
            bytes += text[at];
        }
    }
    return bytes;
}

// Some devices pad their texts with zeros.
std::string untilZero(const std::string &text) { return text.substr(0, text.find('\0')); }

std::string trimmed(const std::string &text) {
    const std::size_t first = text.find_first_not_of(" \t\n");
    return first == std::string::npos ? "" : text.substr(first, text.find_last_not_of(" \t\n") + 1 - first);
}

std::string shown(const char *text) { return text != nullptr ? displayText(text) : std::string(); }

} // namespace

std::string udevProperty(udev_device *device, const char *name) {
    return shown(udev_device_get_property_value(device, name));
}

std::string udevAttribute(udev_device *device, const char *name) {
    return trimmed(shown(udev_device_get_sysattr_value(device, name)));
}

std::string udevMakersText(udev_device *device, const std::string &name) {
    const char *encoded = udev_device_get_property_value(device, (name + "_ENC").c_str());
    const std::string exact = encoded != nullptr ? displayText(untilZero(decoded(encoded))) : std::string();
    return trimmed(exact.empty() ? udevProperty(device, name.c_str()) : exact);
}

int udevNumber(const std::string &text) {
    int number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

udev_device *usbDeviceOf(udev_device *device) {
    return udev_device_get_parent_with_subsystem_devtype(device, "usb", "usb_device");
}

Udev::Udev(const char *subsystem, const char *type)
    : subsystem_(subsystem), type_(type), context_(udev_new()),
      monitor_(context_ ? udev_monitor_new_from_netlink(context_.get(), "udev") : nullptr) {
    sayOnceWhatIsMissing();
    if (monitor_) {
        udev_monitor_filter_add_match_subsystem_devtype(monitor_.get(), subsystem, type);
        udev_monitor_set_receive_buffer_size(monitor_.get(), BUFFER_BYTES);
        if (udev_monitor_enable_receiving(monitor_.get()) == 0) {
            fd_ = udev_monitor_get_fd(monitor_.get());
        }
    }
    if (fd_ < 0) {
        MRB_LOG_WARNING("Devices (%s) that are added or removed will not be noticed: %s.", subsystem,
                        std::strerror(errno));
    }
}

std::vector<UdevDevice> Udev::devices() const {
    std::vector<UdevDevice> found;
    const std::unique_ptr<udev_enumerate, Deleter<udev_enumerate_unref>> search(
        context_ ? udev_enumerate_new(context_.get()) : nullptr);
    if (!search || udev_enumerate_add_match_subsystem(search.get(), subsystem_) < 0 ||
        udev_enumerate_scan_devices(search.get()) < 0) {
        return found;
    }
    for (udev_list_entry *entry = udev_enumerate_get_list_entry(search.get()); entry != nullptr;
         entry = udev_list_entry_get_next(entry)) {
        UdevDevice device(udev_device_new_from_syspath(context_.get(), udev_list_entry_get_name(entry)));
        const char *type = device ? udev_device_get_devtype(device.get()) : nullptr;
        if (device && (type_ == nullptr || (type != nullptr && std::strcmp(type, type_) == 0))) {
            found.push_back(std::move(device));
        }
    }
    return found;
}

std::vector<UdevDevice> Udev::events(bool &lost) const {
    std::vector<UdevDevice> found;
    while (fd_ >= 0) {
        errno = 0;
        UdevDevice device(udev_monitor_receive_device(monitor_.get()));
        if (device) {
            found.push_back(std::move(device));
        } else if (errno == ENOBUFS) {
            lost = true; // reported once; later events can be read
        } else if (errno != EINTR) {
            break;
        }
    }
    return found;
}

UdevDevice Udev::block(dev_t device) const {
    return UdevDevice(context_ ? udev_device_new_from_devnum(context_.get(), 'b', device) : nullptr);
}

} // namespace mrb
