#include "support/plugged_devices.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include "support/client.h"
#include "support/devices.h"

namespace support {

void awaitCameraThreads() {
    const auto works = [](const std::filesystem::directory_entry &thread) {
        std::string name;
        std::getline(std::ifstream(thread.path() / "comm"), name);
        return name.starts_with("mrb-camera") || name == "mrb-sizes";
    };
    const auto deadline = std::chrono::steady_clock::now() + LIMIT;
    while (std::ranges::any_of(std::filesystem::directory_iterator("/proc/self/task"), works)) {
        ASSERT_LT(std::chrono::steady_clock::now(), deadline) << "A camera's thread does not end.";
        std::this_thread::yield();
    }
}

PluggedDevices::~PluggedDevices() {
    awaitCameraThreads();
    g_clear_object(&testbed_);
}

void PluggedDevices::expectReplugsReported(const std::string &device) {
    constexpr std::size_t NUMBER = 1000;
    constexpr std::size_t AT_ONCE = 4; // the testbed holds no more
    DeviceObserver observer;
    for (std::size_t round = 0; round < NUMBER; ++round) {
        event(device, "remove");
        event(device, "add");
        if (round % AT_ONCE == 0) {
            observer.waitFor(2 * round + 2);
        }
    }
    const auto events = observer.waitFor(2 * NUMBER);
    ASSERT_EQ(events.size(), 2 * NUMBER);
    for (std::size_t number = 0; number < events.size(); ++number) {
        ASSERT_EQ(events[number].event, number % 2 == 0 ? MRB_STORAGE_EVENT_REMOVED : MRB_STORAGE_EVENT_ADDED)
            << number;
    }
}

UMockdevTestbed *PluggedDevices::testbed() {
    if (testbed_ == nullptr) {
        testbed_ = umockdev_testbed_new();
    }
    return testbed_;
}

std::string PluggedDevices::rootFolder() {
    gchar *path = umockdev_testbed_get_root_dir(testbed());
    std::string root = path;
    g_free(path);
    return root;
}

std::string PluggedDevices::add(const char *subsystem, const char *name, const std::string &parent,
                                Texts attributes, Texts properties) {
    attributes.push_back(nullptr);
    properties.push_back(nullptr);
    gchar *path = umockdev_testbed_add_devicev(
        testbed(), subsystem, name, parent.empty() ? nullptr : parent.c_str(),
        const_cast<gchar **>(attributes.data()), const_cast<gchar **>(properties.data()));
    std::string added = path != nullptr ? path : "";
    g_free(path);
    EXPECT_NE(added, "");
    return added;
}

std::string PluggedDevices::addUsb(const char *name, Texts properties) {
    return add("usb", name, "",
               {"busnum", "1", "devnum", "7", "manufacturer", "ACME", "product", "Key", "serial", "A1"},
               std::move(properties));
}

std::string PluggedDevices::addDisk(const std::string &usb, const char *number) {
    return add("block", "sdb", usb, {"dev", number, "size", "2048000", "removable", "1"},
               {"DEVTYPE", "disk", "DEVNAME", "/dev/sdb", "ID_BUS", "usb", "ID_PART_TABLE_TYPE", "dos",
                "MAJOR", "8", "MINOR", "16"});
}

std::string PluggedDevices::addPartition(const std::string &disk) {
    return add("block", "sdb1", disk, {"dev", "8:17", "size", "2046000", "partition", "1"},
               {"DEVTYPE",         "partition",
                "DEVNAME",         "/dev/sdb1",
                "MAJOR",           "8",
                "MINOR",           "17",
                "ID_BUS",          "usb",
                "ID_VENDOR",       "ACME",
                "ID_VENDOR_ENC",   "ACME\\x20\\x20\\x20",
                "ID_MODEL",        "Key_3000",
                "ID_MODEL_ENC",    "Key\\x203000\\x20",
                "ID_SERIAL_SHORT", "0815",
                "ID_FS_USAGE",     "filesystem",
                "ID_FS_TYPE",      "vfat",
                "ID_FS_UUID",      "1234-ABCD",
                "ID_FS_LABEL",     "HOLIDAYS_1",
                "ID_FS_LABEL_ENC", "HOLIDAYS\\x201"});
}

std::string PluggedDevices::addCamera(const char *vendor, const char *product) {
    return add("usb", "1-4", "",
               {"busnum", "1", "devnum", "7", "manufacturer", "ACME", "product", "Camera", "serial", "A1",
                "idVendor", vendor, "idProduct", product},
               {"DEVTYPE", "usb_device", "ID_GPHOTO2", "1", "ID_MODEL", "Camera_1", "ID_MODEL_ENC",
                "Camera\\x201", "BUSNUM", "001", "DEVNUM", "007"});
}

void PluggedDevices::event(const std::string &device, const char *action) {
    umockdev_testbed_uevent(testbed(), device.c_str(), action);
}

void PluggedDevices::remove(const std::string &device) {
    umockdev_testbed_remove_device(testbed(), device.c_str());
}

void PluggedDevices::change(const std::string &device, const char *property, const char *value) {
    umockdev_testbed_set_property(testbed(), device.c_str(), property, value);
}

void PluggedDevices::changeAttribute(const std::string &device, const char *attribute, const char *value) {
    umockdev_testbed_set_attribute(testbed(), device.c_str(), attribute, value);
}

} // namespace support
