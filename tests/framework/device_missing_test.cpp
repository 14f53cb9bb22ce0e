// Machines that tell nothing of devices: the lists are empty, and the log says so once.

#include <gtest/gtest.h>
#include <sys/mount.h>

#include <filesystem>
#include <string>

#include "storage/device_table.h"
#include "storage/local_storage.h"
#include "support/devices.h"
#include "support/own_process.h"

using support::DeviceListener;
using support::listDevices;
using support::Surroundings;

namespace {

class DeviceMissing : public support::OwnProcess {};

} // namespace

TEST_F(DeviceMissing, WithoutUdevListsAreEmptyAndMountsAreStillDevices) {
    if (!inside(Surroundings::MOUNTS)) {
        return;
    }
    for (const char *place : {"/sys", "/run", "/media"}) {
        ASSERT_EQ(mount("tmpfs", place, "tmpfs", 0, nullptr), 0);
    }
    DeviceListener listener;
    EXPECT_EQ(listDevices().size(), 0U);
    EXPECT_EQ(listDevices(MRB_STORAGE_KIND_PTP).size(), 0U);
    std::filesystem::create_directory("/media/stick");
    ASSERT_EQ(mount("stick", "/media/stick", "tmpfs", 0, nullptr), 0);
    listener.waitFor(1);
    EXPECT_EQ(listDevices().size(), 1U);
}

TEST_F(DeviceMissing, WithoutATableOfMountsNothingIsMountedAndTheLogSaysSoOnce) {
    if (!inside(Surroundings::PLAIN)) {
        return;
    }
    testing::internal::CaptureStderr();
    mrb::LocalStorage storage("/nowhere/mounts");
    mrb::DeviceTable table;
    for (int round = 0; round < 100; ++round) {
        storage.look(table);
    }
    const std::string log = testing::internal::GetCapturedStderr();
    const std::string line = "The system does not tell what is mounted: No such file or directory.";
    EXPECT_NE(log.find(line), std::string::npos) << log;
    EXPECT_EQ(log.find(line), log.rfind(line)) << log;
    for (const mrb::Notice &notice : table.takeNotices()) {
        EXPECT_EQ(notice.device.mountPath, "");
    }
}
