// Machines without udev or its permissions: the lists are empty, and one log line says so.

#include <gtest/gtest.h>
#include <linux/capability.h>
#include <sys/mount.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "storage/device_table.h"
#include "storage/local_storage.h"
#include "support/devices.h"
#include "support/own_process.h"

using support::DeviceObserver;
using support::listDevices;
using support::Surroundings;

namespace {

class DeviceMissing : public support::OwnProcess {
  protected:
    // Mounts empty file systems in place of udev's folders.
    static void hideDevices(const char *options) {
        for (const char *place : {"/sys", "/run", "/media"}) {
            ASSERT_EQ(mount("tmpfs", place, "tmpfs", 0, options), 0);
        }
    }
    // From now on permissions bind this thread, and those that it starts, even as root.
    static void loseRootsRights() {
        __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
        __user_cap_data_struct rights[2] = {};
        ASSERT_EQ(syscall(SYS_capget, &header, rights), 0);
        rights[0].effective &= ~((1U << CAP_DAC_OVERRIDE) | (1U << CAP_DAC_READ_SEARCH));
        ASSERT_EQ(syscall(SYS_capset, &header, rights), 0);
    }
    static void expectOnce(const std::string &log, const std::string &line) {
        EXPECT_NE(log.find(line), std::string::npos) << log;
        EXPECT_EQ(log.find(line), log.rfind(line)) << log;
    }
};

} // namespace

TEST_F(DeviceMissing, WithoutUdevListsAreEmptyAndMountsAreStillDevices) {
    if (!inside(Surroundings::MOUNTS)) {
        return;
    }
    hideDevices(nullptr);
    testing::internal::CaptureStderr();
    DeviceObserver observer;
    EXPECT_EQ(listDevices().size(), 0U);
    EXPECT_EQ(listDevices(MRB_STORAGE_KIND_PTP).size(), 0U);
    std::filesystem::create_directory("/media/stick");
    ASSERT_EQ(mount("stick", "/media/stick", "tmpfs", 0, nullptr), 0);
    observer.waitFor(1);
    EXPECT_EQ(listDevices().size(), 1U);
    expectOnce(testing::internal::GetCapturedStderr(),
               "udev reports no devices, only mounts are known (/run/udev: No such file or directory).");
}

TEST_F(DeviceMissing, WithoutPermissionListsAreEmptyAndThereIsOneLogLine) {
    if (!inside(Surroundings::MOUNTS)) {
        return;
    }
    hideDevices("mode=0000");
    loseRootsRights();
    testing::internal::CaptureStderr();
    const DeviceObserver observer;
    for (int round = 0; round < 100; ++round) {
        EXPECT_EQ(listDevices().size(), 0U);
        EXPECT_EQ(listDevices(MRB_STORAGE_KIND_PTP).size(), 0U);
    }
    expectOnce(testing::internal::GetCapturedStderr(),
               "udev reports no devices, only mounts are known (/run/udev: Permission denied).");
}

TEST_F(DeviceMissing, AMountThatMayNotBeEnteredIsADeviceOfUnknownSize) {
    if (!inside(Surroundings::MOUNTS)) {
        return;
    }
    hideDevices(nullptr);
    std::filesystem::create_directory("/media/stick");
    ASSERT_EQ(mount("stick", "/media/stick", "tmpfs", 0, nullptr), 0);
    std::filesystem::permissions("/media", std::filesystem::perms::none);
    loseRootsRights();
    const std::vector<support::Record> devices = listDevices();
    ASSERT_EQ(devices.size(), 1U);
    EXPECT_EQ(devices[0].mountPath, "/media/stick");
    EXPECT_EQ(devices[0].total, 0);
    EXPECT_EQ(devices[0].available, 0);
}

TEST_F(DeviceMissing, WithoutATableOfMountsNothingIsMountedAndThereIsOneLogLine) {
    if (!inside(Surroundings::PLAIN)) {
        return;
    }
    testing::internal::CaptureStderr();
    mrb::LocalStorage storage("/nowhere/mounts");
    mrb::DeviceTable table;
    for (int round = 0; round < 100; ++round) {
        storage.scan(table);
    }
    const std::string log = testing::internal::GetCapturedStderr();
    const std::string line = "The table of mounts cannot be opened: No such file or directory.";
    expectOnce(log, line);
    for (const mrb::DeviceEvent &event : table.drainEvents()) {
        EXPECT_EQ(event.device.mountPath, "");
    }
}
