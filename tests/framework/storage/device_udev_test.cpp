// Devices that udev reports, attached and pulled out through a testbed.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/devices.h"
#include "support/plugged_devices.h"

using support::DeviceObserver;
using support::listDevices;
using support::Surroundings;

namespace {

class DeviceUdev : public support::PluggedDevices {};

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
    DeviceObserver observer;
    const std::string usb = addUsb();
    const std::string disk = addDisk(usb);
    const std::string partition = addPartition(disk);
    for (const std::string &device : {usb, disk, partition}) {
        event(device, "add");
    }
    observer.waitFor(1);
    event(partition, "remove");
    for (const std::string &device : {partition, disk, usb}) {
        remove(device);
    }
    const auto events = observer.waitFor(2);
    ASSERT_EQ(events.size(), 2U);
    EXPECT_EQ(events[0].event, MRB_STORAGE_EVENT_ADDED);
    EXPECT_EQ(events[1].event, MRB_STORAGE_EVENT_REMOVED);
    for (const auto &each : events) {
        EXPECT_EQ(each.record.id, "1234-ABCD");
        EXPECT_EQ(each.record.label, "HOLIDAYS 1");
        EXPECT_EQ(each.record.vendor, "ACME");
        EXPECT_EQ(each.record.serial, "0815");
        EXPECT_EQ(each.record.bus, 1);
        EXPECT_EQ(each.record.address, 7);
    }
    EXPECT_EQ(listDevices().size(), 0U);
}

TEST_F(DeviceUdev, AnEventThatIsSentTwiceIsReportedOnce) {
    if (!inside(Surroundings::DEVICES)) {
        return;
    }
    const std::string partition = addPartition(addDisk(addUsb()));
    change(partition, "ID_FS_USAGE", "other");
    DeviceObserver observer;
    change(partition, "ID_FS_USAGE", "filesystem");
    for (const char *action : {"add", "add", "change", "remove", "remove", "change", "remove"}) {
        event(partition, action);
    }
    const auto events = observer.waitFor(4);
    ASSERT_EQ(events.size(), 4U);
    EXPECT_EQ(events[0].event, MRB_STORAGE_EVENT_ADDED);
    EXPECT_EQ(events[1].event, MRB_STORAGE_EVENT_REMOVED);
    EXPECT_EQ(events[2].event, MRB_STORAGE_EVENT_ADDED);
    EXPECT_EQ(events[3].event, MRB_STORAGE_EVENT_REMOVED);
}

TEST_F(DeviceUdev, AReformattedFileSystemIsAChange) {
    if (!inside(Surroundings::DEVICES)) {
        return;
    }
    const std::string partition = addPartition(addDisk(addUsb()));
    DeviceObserver observer;
    change(partition, "ID_FS_TYPE", "exfat");
    event(partition, "change");
    const auto events = observer.waitFor(1);
    EXPECT_EQ(events.at(0).event, MRB_STORAGE_EVENT_CHANGED);
    EXPECT_EQ(events.at(0).record.fileSystem, MRB_FILE_SYSTEM_EXFAT);
    EXPECT_EQ(listDevices().at(0).fileSystem, MRB_FILE_SYSTEM_EXFAT);
}

TEST_F(DeviceUdev, InternalDisksAreNotDevices) {
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

TEST_F(DeviceUdev, ACameraIsInAListOfItsOwnAndReportedToTheSameCallback) {
    if (!inside(Surroundings::DEVICES)) {
        return;
    }
    testbed();
    DeviceObserver observer;
    const std::string camera =
        addUsb("1-4", {"DEVTYPE", "usb_device", "ID_GPHOTO2", "1", "ID_MODEL", "Camera_1", "ID_MODEL_ENC",
                       "Camera\\x201", "BUSNUM", "001", "DEVNUM", "007"});
    event(camera, "add");
    observer.waitFor(1);
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
    const auto events = observer.waitFor(2);
    EXPECT_EQ(events.at(1).event, MRB_STORAGE_EVENT_REMOVED);
    EXPECT_EQ(events.at(1).record.id, "ptp:A1");
}

TEST_F(DeviceUdev, AThousandArrivalsAndRemovalsAreEachReportedOnce) {
    if (!inside(Surroundings::DEVICES)) {
        return;
    }
    const std::string partition = addPartition(addDisk(addUsb()));
    event(partition, "add");
    expectReplugsReported(partition);
}
