#include "storage/block_device.h"

#include <blkid.h>

#include <algorithm>
#include <charconv>
#include <initializer_list>
#include <limits>
#include <memory>

#include "base/deleter.h"
#include "storage/file_systems.h"
#include "storage/udev.h"
#include "text/text.h"

namespace mrb {
namespace {

// The unit of a device's size in sysfs, whatever its own sectors are.
constexpr long long SECTOR_BYTES = 512;

udev_device *diskOf(udev_device *block) {
    udev_device *disk = udev_device_get_parent_with_subsystem_devtype(block, "block", "disk");
    return disk != nullptr ? disk : block;
}

bool isCard(udev_device *block) {
    udev_device *card = udev_device_get_parent_with_subsystem_devtype(block, "mmc", nullptr);
    // Soldered-in memory has the type "MMC".
    return card != nullptr && udevAttribute(card, "type") == "SD";
}

std::string nodeOf(udev_device *block) {
    const char *node = udev_device_get_devnode(block);
    return node != nullptr ? node : "";
}

std::string firstOf(std::initializer_list<std::string> texts) {
    for (const std::string &text : texts) {
        if (!text.empty()) {
            return text;
        }
    }
    return {};
}

long long sizeOf(udev_device *block) {
    const std::string text = udevAttribute(block, "size");
    long long sectors = 0;
    std::from_chars(text.data(), text.data() + text.size(), sectors);
    return std::clamp(sectors, 0LL, std::numeric_limits<long long>::max() / SECTOR_BYTES) * SECTOR_BYTES;
}

// What libblkid finds on a device.
struct Probed {
    std::string type;
    std::string label;
    std::string uuid;
};

Probed probe(const std::string &node) {
    const std::unique_ptr<blkid_struct_probe, Deleter<blkid_free_probe>> probe(
        node.empty() ? nullptr : blkid_new_probe_from_filename(node.c_str()));
    if (!probe) {
        return {};
    }
    blkid_probe_enable_superblocks(probe.get(), 1);
    blkid_probe_set_superblocks_flags(probe.get(), BLKID_SUBLKS_TYPE | BLKID_SUBLKS_LABEL |
                                                       BLKID_SUBLKS_UUID | BLKID_SUBLKS_USAGE);
    blkid_probe_filter_superblocks_usage(probe.get(), BLKID_FLTR_ONLYIN, BLKID_USAGE_FILESYSTEM);
    if (blkid_do_safeprobe(probe.get()) != 0) {
        return {};
    }
    const auto value = [&probe](const char *name) {
        const char *text = nullptr;
        return blkid_probe_lookup_value(probe.get(), name, &text, nullptr) == 0 && text != nullptr
                   ? displayText(text)
                   : std::string();
    };
    return {value("TYPE"), value("LABEL"), value("UUID")};
}

// Whether udev has processed the device: then a property that is not set does not exist.
bool isKnownToUdev(udev_device *block) {
    return !udevProperty(block, "ID_FS_TYPE").empty() || udev_device_get_is_initialized(block) > 0;
}

} // namespace

std::string probeFileSystem(const std::string &node) { return probe(node).type; }

bool isRemovable(udev_device *block) {
    return udevProperty(block, "ID_BUS") == "usb" || usbDeviceOf(block) != nullptr ||
           udevAttribute(diskOf(block), "removable") == "1" || isCard(block);
}

bool holdsFiles(udev_device *block) {
    if (udevProperty(block, "UDISKS_IGNORE") == "1") {
        return false;
    }
    return isKnownToUdev(block) ? udevProperty(block, "ID_FS_USAGE") == "filesystem"
                                : !probe(nodeOf(block)).type.empty();
}

Device describeBlock(udev_device *block) {
    Device device;
    const std::string node = nodeOf(block);
    const Probed probed = isKnownToUdev(block) ? Probed() : probe(node);
    device.label = firstOf({udevMakersText(block, "ID_FS_LABEL"), probed.label});
    device.vendor = udevMakersText(block, "ID_VENDOR");
    device.serial = udevProperty(block, "ID_SERIAL_SHORT");
    device.fileSystem = fileSystemNumber(firstOf({udevProperty(block, "ID_FS_TYPE"), probed.type}));
    std::string model = udevMakersText(block, "ID_MODEL");
    if (udev_device *usb = usbDeviceOf(block); usb != nullptr) {
        device.deviceClass = MRB_STORAGE_CLASS_MASS_STORAGE;
        device.bus = udevNumber(udevAttribute(usb, "busnum"));
        device.address = udevNumber(udevAttribute(usb, "devnum"));
        device.vendor = firstOf({device.vendor, udevAttribute(usb, "manufacturer")});
        device.serial = firstOf({device.serial, udevAttribute(usb, "serial")});
        model = firstOf({model, udevAttribute(usb, "product")});
    } else if (udevProperty(block, "ID_BUS") == "usb") {
        device.deviceClass = MRB_STORAGE_CLASS_MASS_STORAGE;
    }
    const std::string both = device.vendor.empty() || model.empty() ? "" : device.vendor + ' ' + model;
    device.name = firstOf({device.label, both, model, device.vendor, displayText(node)});
    device.id = firstOf({udevProperty(block, "ID_FS_UUID"), probed.uuid, "block:" + displayText(node)});
    device.total = sizeOf(block);
    return device;
}

} // namespace mrb
