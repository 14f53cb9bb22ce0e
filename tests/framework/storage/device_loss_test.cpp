// Events of udev that the system had to drop: the devices are scanned again, and no
// event is lost or doubled.

#include <gtest/gtest.h>

#include <string>

#include "storage/cameras.h"
#include "storage/device_table.h"
#include "storage/local_storage.h"
#include "support/plugged_devices.h"
#include "support/udev_loss.h"

using support::Surroundings;

namespace {

class DeviceLoss : public support::PluggedDevices {
  protected:
    // The events of the source: "+NAME ", "-NAME ", "~NAME ".
    std::string scan(mrb::DeviceSource &source) {
        source.scan(table_);
        std::string text;
        for (const mrb::DeviceEvent &event : table_.drainEvents()) {
            text += std::string(1, "+-~"[event.event]) + event.device.name + ' ';
        }
        return text;
    }

    // Many events, so that more than one is dropped.
    void loseEventsOf(const std::string &device) {
        for (const char *action : {"change", "remove", "add", "change"}) {
            event(device, action);
        }
        support::loseUdevEvents();
    }

  private:
    mrb::DeviceTable table_;
};

} // namespace

TEST_F(DeviceLoss, ALostArrivalEventIsRecovered) {
    if (!inside(Surroundings::DEVICES)) {
        return;
    }
    testbed();
    mrb::LocalStorage storage;
    EXPECT_EQ(scan(storage), "");
    loseEventsOf(addPartition(addDisk(addUsb())));
    EXPECT_EQ(scan(storage), "+HOLIDAYS 1 ");
    EXPECT_EQ(scan(storage), "");
}

TEST_F(DeviceLoss, ALostRemovalEventIsRecovered) {
    if (!inside(Surroundings::DEVICES)) {
        return;
    }
    const std::string usb = addUsb();
    const std::string disk = addDisk(usb);
    const std::string partition = addPartition(disk);
    mrb::LocalStorage storage;
    EXPECT_EQ(scan(storage), "+HOLIDAYS 1 ");
    loseEventsOf(partition);
    for (const std::string &device : {partition, disk, usb}) {
        remove(device);
    }
    EXPECT_EQ(scan(storage), "-HOLIDAYS 1 ");
    EXPECT_EQ(scan(storage), "");
}

TEST_F(DeviceLoss, DevicesThatStayAreNotReported) {
    if (!inside(Surroundings::DEVICES)) {
        return;
    }
    const std::string partition = addPartition(addDisk(addUsb()));
    mrb::LocalStorage storage;
    EXPECT_EQ(scan(storage), "+HOLIDAYS 1 ");
    for (int round = 0; round < 4; ++round) {
        loseEventsOf(partition);
        EXPECT_EQ(scan(storage), "");
    }
    event(partition, "remove");
    EXPECT_EQ(scan(storage), "-HOLIDAYS 1 ");
}

TEST_F(DeviceLoss, AStickInThePlaceOfAnotherIsItsRemovalAndAnArrival) {
    if (!inside(Surroundings::DEVICES)) {
        return;
    }
    const std::string usb = addUsb();
    const std::string partition = addPartition(addDisk(usb));
    mrb::LocalStorage storage;
    EXPECT_EQ(scan(storage), "+HOLIDAYS 1 ");
    loseEventsOf(partition);
    changeAttribute(usb, "devnum", "8");
    change(partition, "ID_FS_LABEL_ENC", "WORK");
    change(partition, "ID_FS_UUID", "5678-ABCD");
    EXPECT_EQ(scan(storage), "-HOLIDAYS 1 +WORK ");
}

TEST_F(DeviceLoss, AReformattedFileSystemIsAChange) {
    if (!inside(Surroundings::DEVICES)) {
        return;
    }
    const std::string partition = addPartition(addDisk(addUsb()));
    mrb::LocalStorage storage;
    EXPECT_EQ(scan(storage), "+HOLIDAYS 1 ");
    loseEventsOf(partition);
    change(partition, "ID_FS_LABEL_ENC", "WORK");
    EXPECT_EQ(scan(storage), "~WORK ");
}

TEST_F(DeviceLoss, ACameraInThePlaceOfAnotherIsItsRemovalAndAnArrival) {
    if (!inside(Surroundings::DEVICES)) {
        return;
    }
    const std::string camera = addCamera("0000", "0000");
    mrb::Cameras cameras;
    EXPECT_EQ(scan(cameras), "+Camera 1 ");
    loseEventsOf(camera);
    change(camera, "DEVNUM", "008");
    change(camera, "ID_MODEL_ENC", "Camera\\x202");
    EXPECT_EQ(scan(cameras), "-Camera 1 +Camera 2 ");
    loseEventsOf(camera);
    remove(camera);
    EXPECT_EQ(scan(cameras), "-Camera 2 ");
}
