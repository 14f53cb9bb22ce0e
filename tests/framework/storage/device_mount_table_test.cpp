// How mounts and udev's devices are joined, with a table of mounts that the test writes,
// and with real mounts in a namespace of the test's own.

#include <gtest/gtest.h>
#include <sys/mount.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "storage/device_table.h"
#include "storage/local_storage.h"
#include "support/folder.h"
#include "support/plugged_devices.h"
#include "support/programs.h"

using support::Surroundings;

namespace {

class DeviceMountTable : public support::PluggedDevices {
  protected:
    std::string mounts(const std::string &lines) {
        std::ofstream(folder_.path("mounts")) << lines;
        return folder_.path("mounts");
    }

    std::vector<mrb::DeviceEvent> scan(mrb::LocalStorage &storage) {
        storage.scan(table);
        return table.drainEvents();
    }

    mrb::DeviceTable table;

  private:
    support::Folder folder_;
};

constexpr const char *STICK = "70 20 8:17 / /media/stick rw - vfat /dev/sdb1 rw\n";

} // namespace

TEST_F(DeviceMountTable, AStickIsPulledOutWhileItIsMounted) {
    if (!inside(Surroundings::DEVICES)) {
        return;
    }
    const std::string usb = addUsb();
    const std::string disk = addDisk(usb);
    const std::string partition = addPartition(disk);
    mrb::LocalStorage storage(mounts(STICK));
    ASSERT_EQ(scan(storage).size(), 1U);
    event(partition, "remove");
    for (const std::string &device : {partition, disk, usb}) {
        remove(device);
    }
    const auto events = scan(storage); // and the mount stays
    ASSERT_EQ(events.size(), 1U);
    EXPECT_EQ(events[0].event, MRB_STORAGE_EVENT_REMOVED);
    EXPECT_EQ(events[0].device.mountPath, "/media/stick");
    EXPECT_EQ(events[0].device.label, "HOLIDAYS 1");
    EXPECT_EQ(events[0].device.serial, "0815");
    EXPECT_EQ(events[0].device.address, 7);
    EXPECT_EQ(events[0].device.total, 2046000LL * 512);
    EXPECT_EQ(scan(storage).size(), 0U);
}

TEST_F(DeviceMountTable, AFuseMountHasTheFileSystemOfItsDevice) {
    if (!inside(Surroundings::DEVICES)) {
        return;
    }
    const std::string partition = addPartition(addDisk(addUsb()));
    const std::string image = rootFolder() + "/dev/sdb1";
    std::filesystem::create_directories(std::filesystem::path(image).parent_path());
    std::filesystem::remove(image);
    support::run({"truncate", "-s", "8M", image});
    support::run({"mkfs.ext4", "-q", "-F", image});
    mrb::LocalStorage storage(mounts("70 20 8:17 / /media/stick rw - fuseblk /dev/sdb1 rw\n"));
    const auto events = scan(storage);
    ASSERT_EQ(events.size(), 1U);
    EXPECT_EQ(events[0].device.fileSystem, MRB_FILE_SYSTEM_EXT4);
}

TEST_F(DeviceMountTable, AFuseMountThatCannotBeReadHasTheFileSystemOfUdev) {
    if (!inside(Surroundings::DEVICES)) {
        return;
    }
    addPartition(addDisk(addUsb()));
    mrb::LocalStorage storage(mounts("70 20 8:17 / /media/stick rw - fuseblk /dev/sdb1 rw\n"));
    const auto events = scan(storage);
    ASSERT_EQ(events.size(), 1U);
    EXPECT_EQ(events[0].device.fileSystem, MRB_FILE_SYSTEM_FAT);
    EXPECT_EQ(events[0].device.mountPath, "/media/stick");
}

TEST_F(DeviceMountTable, MountsOfNetworkFileSystemsAreNotDevices) {
    if (!inside(Surroundings::DEVICES)) {
        return;
    }
    testbed();
    mrb::LocalStorage storage(mounts("70 20 0:50 / /media/far rw - fuse.sshfs me@far: rw\n"
                                     "71 20 0:51 / /media/share rw - cifs //far/share rw\n"));
    EXPECT_EQ(scan(storage).size(), 0U);
}

TEST_F(DeviceMountTable, OfSeveralMountsItIsTheOldest) {
    if (!inside(Surroundings::DEVICES)) {
        return;
    }
    addPartition(addDisk(addUsb()));
    mrb::LocalStorage storage(
        mounts(std::string(STICK) + "71 20 8:17 / /media/again rw - vfat /dev/sdb1 rw\n"));
    const auto events = scan(storage);
    ASSERT_EQ(events.size(), 1U);
    EXPECT_EQ(events[0].device.mountPath, "/media/stick");
}

TEST_F(DeviceMountTable, AMountThatIsGoneBeforeTheScanIsNotReported) {
    if (!inside(Surroundings::MOUNTS)) {
        return;
    }
    ASSERT_EQ(mount("tmpfs", "/media", "tmpfs", 0, nullptr), 0);
    std::filesystem::create_directory("/media/stick");
    mrb::LocalStorage storage;
    EXPECT_EQ(scan(storage).size(), 0U);
    for (int round = 0; round < 100; ++round) {
        ASSERT_EQ(mount("stick", "/media/stick", "tmpfs", 0, nullptr), 0);
        ASSERT_EQ(umount2("/media/stick", 0), 0);
        ASSERT_EQ(scan(storage).size(), 0U);
    }
}

TEST_F(DeviceMountTable, AnotherMountInThePlaceOfTheFirstIsItsRemovalAndAnArrival) {
    if (!inside(Surroundings::MOUNTS)) {
        return;
    }
    ASSERT_EQ(mount("tmpfs", "/media", "tmpfs", 0, nullptr), 0);
    std::filesystem::create_directory("/media/stick");
    ASSERT_EQ(mount("first", "/media/stick", "tmpfs", 0, nullptr), 0);
    mrb::LocalStorage storage;
    ASSERT_EQ(scan(storage).size(), 1U);
    ASSERT_EQ(umount2("/media/stick", 0), 0);
    ASSERT_EQ(mount("second", "/media/stick", "tmpfs", 0, nullptr), 0);
    const auto events = scan(storage);
    ASSERT_EQ(events.size(), 2U);
    EXPECT_EQ(events[0].event, MRB_STORAGE_EVENT_REMOVED);
    EXPECT_EQ(events[0].device.id, "tmpfs:first:/media/stick");
    EXPECT_EQ(events[1].event, MRB_STORAGE_EVENT_ADDED);
    EXPECT_EQ(events[1].device.id, "tmpfs:second:/media/stick");
    EXPECT_EQ(table.list(mrb::DeviceKind::USB).size(), 1U);
}
