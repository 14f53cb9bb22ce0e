// Devices that udev tells of, attached and pulled out through a testbed.

#include <gtest/gtest.h>
#include <umockdev.h>

#include <string>
#include <vector>

#include "support/devices.h"
#include "support/own_process.h"

using support::DeviceListener;
using support::listDevices;
using support::Surroundings;

namespace {

using Texts = std::vector<const char *>;

// Sticks and cameras to plug in. The testbed keeps texts by name and value in turns.
class DeviceUdev : public support::OwnProcess {
  protected:
    std::string add(const char *subsystem, const char *name, const std::string &parent, Texts attributes,
                    Texts properties) {
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

    std::string addUsb(const char *name = "1-2", Texts properties = {"DEVTYPE", "usb_device"}) {
        return add("usb", name, "",
                   {"busnum", "1", "devnum", "7", "manufacturer", "ACME", "product", "Key", "serial", "A1"},
                   std::move(properties));
    }

    // What is without a file system at first, as when the kernel has found it and udev
    // is still looking.
    std::string addDisk(const std::string &usb, const char *number = "8:16") {
        return add("block", "sdb", usb, {"dev", number, "size", "2048000", "removable", "1"},
                   {"DEVTYPE", "disk", "DEVNAME", "/dev/sdb", "ID_BUS", "usb", "ID_PART_TABLE_TYPE", "dos",
                    "MAJOR", "8", "MINOR", "16"});
    }

    std::string addPartition(const std::string &disk) {
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

    void event(const std::string &device, const char *action) {
        umockdev_testbed_uevent(testbed(), device.c_str(), action);
    }

    void remove(const std::string &device) { umockdev_testbed_remove_device(testbed(), device.c_str()); }

    // Made in the child process only.
    UMockdevTestbed *testbed() {
        if (testbed_ == nullptr) {
            testbed_ = umockdev_testbed_new();
        }
        return testbed_;
    }

    ~DeviceUdev() override { g_clear_object(&testbed_); }

  private:
    UMockdevTestbed *testbed_ = nullptr;
};

} // namespace

TEST_F(DeviceUdev, AStickThatIsAttachedIsListed) {
    if (!inside(Surroundings::DEVICES)) {
        return;
    }
    addPartition(addDisk(addUsb()));
    const auto devices = listDevices();
    ASSERT_EQ(devices.size(), 1U);
    EXPECT_EQ(devices[0].id, "1234-ABCD");
    EXPECT_EQ(devices[0].name, "HOLIDAYS 1");
    EXPECT_EQ(devices[0].label, "HOLIDAYS 1");
    EXPECT_EQ(devices[0].vendor, "ACME");
    EXPECT_EQ(devices[0].serial, "0815");
    EXPECT_EQ(devices[0].bus, 1);
    EXPECT_EQ(devices[0].address, 7);
    EXPECT_EQ(devices[0].deviceClass, MRB_STORAGE_CLASS_MASS_STORAGE);
    EXPECT_EQ(devices[0].fileSystem, MRB_FILE_SYSTEM_FAT);
    EXPECT_EQ(devices[0].total, 2046000LL * 512);
    EXPECT_EQ(devices[0].mountPath, "");
    EXPECT_EQ(listDevices(MRB_STORAGE_KIND_PTP).size(), 0U);
}

TEST_F(DeviceUdev, AStickArrivesAndLeavesWithTheRecordItHad) {
    if (!inside(Surroundings::DEVICES)) {
        return;
    }
    testbed();
    DeviceListener listener;
    const std::string usb = addUsb();
    const std::string disk = addDisk(usb);
    const std::string partition = addPartition(disk);
    for (const std::string &device : {usb, disk, partition}) {
        event(device, "add");
    }
    listener.waitFor(1);
    event(partition, "remove");
    for (const std::string &device : {partition, disk, usb}) {
        remove(device);
    }
    const auto events = listener.waitFor(2);
    ASSERT_EQ(events.size(), 2U);
    EXPECT_EQ(events[0].event, MRB_STORAGE_EVENT_ADDED);
    EXPECT_EQ(events[1].event, MRB_STORAGE_EVENT_REMOVED);
    for (const auto &heard : events) {
        EXPECT_EQ(heard.record.id, "1234-ABCD");
        EXPECT_EQ(heard.record.label, "HOLIDAYS 1");
        EXPECT_EQ(heard.record.vendor, "ACME");
        EXPECT_EQ(heard.record.serial, "0815");
        EXPECT_EQ(heard.record.bus, 1);
        EXPECT_EQ(heard.record.address, 7);
    }
    EXPECT_EQ(listDevices().size(), 0U);
}

TEST_F(DeviceUdev, WhatIsSaidTwiceHappensOnce) {
    if (!inside(Surroundings::DEVICES)) {
        return;
    }
    const std::string partition = addPartition(addDisk(addUsb()));
    umockdev_testbed_set_property(testbed(), partition.c_str(), "ID_FS_USAGE", "other");
    DeviceListener listener;
    umockdev_testbed_set_property(testbed(), partition.c_str(), "ID_FS_USAGE", "filesystem");
    for (const char *action : {"add", "add", "change", "remove", "remove", "change", "remove"}) {
        event(partition, action);
    }
    const auto events = listener.waitFor(4);
    ASSERT_EQ(events.size(), 4U);
    EXPECT_EQ(events[0].event, MRB_STORAGE_EVENT_ADDED);
    EXPECT_EQ(events[1].event, MRB_STORAGE_EVENT_REMOVED);
    EXPECT_EQ(events[2].event, MRB_STORAGE_EVENT_ADDED);
    EXPECT_EQ(events[3].event, MRB_STORAGE_EVENT_REMOVED);
}

TEST_F(DeviceUdev, AFileSystemThatIsMadeAnewIsAChange) {
    if (!inside(Surroundings::DEVICES)) {
        return;
    }
    const std::string partition = addPartition(addDisk(addUsb()));
    DeviceListener listener;
    umockdev_testbed_set_property(testbed(), partition.c_str(), "ID_FS_TYPE", "exfat");
    event(partition, "change");
    const auto events = listener.waitFor(1);
    EXPECT_EQ(events.at(0).event, MRB_STORAGE_EVENT_CHANGED);
    EXPECT_EQ(events.at(0).record.fileSystem, MRB_FILE_SYSTEM_EXFAT);
    EXPECT_EQ(listDevices().at(0).fileSystem, MRB_FILE_SYSTEM_EXFAT);
}

TEST_F(DeviceUdev, DisksOfTheMachineAreNoDevices) {
    if (!inside(Surroundings::DEVICES)) {
        return;
    }
    add("block", "sda1", "", {"dev", "8:1", "size", "2048", "removable", "0"},
        {"DEVTYPE", "disk", "DEVNAME", "/dev/sda1", "ID_FS_USAGE", "filesystem", "ID_FS_TYPE", "ext4",
         "MAJOR", "8", "MINOR", "1"});
    EXPECT_EQ(listDevices().size(), 0U);
}

TEST_F(DeviceUdev, ACardInASlotIsADevice) {
    if (!inside(Surroundings::DEVICES)) {
        return;
    }
    const std::string card = add("mmc", "mmc0:0001", "", {"type", "SD"}, {});
    add("block", "mmcblk0", card, {"dev", "179:0", "size", "2048", "removable", "0"},
        {"DEVTYPE", "disk", "DEVNAME", "/dev/mmcblk0", "ID_FS_USAGE", "filesystem", "ID_FS_TYPE", "exfat",
         "MAJOR", "179", "MINOR", "0"});
    const auto devices = listDevices();
    ASSERT_EQ(devices.size(), 1U);
    EXPECT_EQ(devices[0].name, "/dev/mmcblk0");
    EXPECT_EQ(devices[0].deviceClass, MRB_STORAGE_CLASS_NONE);
}

TEST_F(DeviceUdev, ACameraIsInAListOfItsOwnAndToldToTheSameCallback) {
    if (!inside(Surroundings::DEVICES)) {
        return;
    }
    testbed();
    DeviceListener listener;
    const std::string camera =
        addUsb("1-4", {"DEVTYPE", "usb_device", "ID_GPHOTO2", "1", "ID_MODEL", "Camera_1", "ID_MODEL_ENC",
                       "Camera\\x201", "BUSNUM", "001", "DEVNUM", "007"});
    event(camera, "add");
    listener.waitFor(1);
    const auto cameras = listDevices(MRB_STORAGE_KIND_PTP);
    ASSERT_EQ(cameras.size(), 1U);
    EXPECT_EQ(cameras[0].name, "Camera 1");
    EXPECT_EQ(cameras[0].vendor, "ACME");
    EXPECT_EQ(cameras[0].bus, 1);
    EXPECT_EQ(cameras[0].address, 7);
    EXPECT_EQ(cameras[0].deviceClass, MRB_STORAGE_CLASS_CAMERA);
    EXPECT_EQ(cameras[0].id, "ptp:A1");
    EXPECT_EQ(listDevices().size(), 0U);
    event(camera, "remove");
    remove(camera);
    const auto events = listener.waitFor(2);
    EXPECT_EQ(events.at(1).event, MRB_STORAGE_EVENT_REMOVED);
    EXPECT_EQ(events.at(1).record.id, "ptp:A1");
}

TEST_F(DeviceUdev, AThousandArrivalsAndRemovalsAreEachToldOnce) {
    if (!inside(Surroundings::DEVICES)) {
        return;
    }
    constexpr std::size_t NUMBER = 1000;
    constexpr std::size_t AT_ONCE = 4; // The testbed holds no more, and gives up when it must.
    const std::string partition = addPartition(addDisk(addUsb()));
    event(partition, "add");
    DeviceListener listener;
    for (std::size_t round = 0; round < NUMBER; ++round) {
        event(partition, "remove");
        event(partition, "add");
        if (round % AT_ONCE == 0) {
            listener.waitFor(2 * round + 2);
        }
    }
    const auto events = listener.waitFor(2 * NUMBER);
    ASSERT_EQ(events.size(), 2 * NUMBER);
    for (std::size_t round = 0; round < NUMBER; ++round) {
        ASSERT_EQ(events[2 * round].event, MRB_STORAGE_EVENT_REMOVED) << round;
        ASSERT_EQ(events[2 * round + 1].event, MRB_STORAGE_EVENT_ADDED) << round;
    }
}
