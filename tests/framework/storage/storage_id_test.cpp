// The ids of storages: mounts and their devices.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <filesystem>
#include <string>

#include "mrb/agent.h"
#include "storage/storage_id.h"
#include "support/devices.h"
#include "support/folder.h"
#include "support/own_process.h"

using support::Folder;
using support::storageId;

TEST(StorageId, OfAMountWithoutADeviceNamesTypeSourceAndPlace) {
    const auto [code, id] = storageId("/proc");
    EXPECT_EQ(code, MRB_ERR_NONE);
    // The source of a mount without a device is whatever it was mounted with.
    EXPECT_TRUE(id.starts_with("proc:") && id.ends_with(":/proc")) << id;
}

TEST(StorageId, OfAPathInsideAMountIsTheMounts) {
    EXPECT_EQ(storageId("/proc/self/status").second, storageId("/proc").second);
    EXPECT_EQ(storageId("/proc/../proc/./").second, storageId("/proc").second);
    const Folder folder;
    folder.link("/proc", "link");
    EXPECT_EQ(storageId(folder.path("link")).second, storageId("/proc").second);
}

TEST(StorageId, EveryMountOfTheMachineHasOne) {
    EXPECT_EQ(storageId("/").first, MRB_ERR_NONE);
    EXPECT_NE(storageId("/").second, "");
    EXPECT_NE(storageId("/").second, storageId("/proc").second);
}

TEST(StorageId, OfWhatIsNotThereIsNotFound) {
    EXPECT_EQ(storageId("/nowhere/at/all").first, MRB_ERR_NOT_FOUND);
    for (const char *path : {"", "usb", "./usb", "file:///proc"}) {
        EXPECT_EQ(storageId(path).first, MRB_ERR_INVALID_PARAMETER) << path;
    }
    char *text = nullptr;
    EXPECT_EQ(mrb_get_storage_id_v2(nullptr, &text), MRB_ERR_INVALID_PARAMETER);
    EXPECT_EQ(mrb_get_storage_id_v2("/proc", nullptr), MRB_ERR_INVALID_PARAMETER);
}

TEST(StorageId, ADevicesUuidIsTheNameOfItsLink) {
    const Folder folder;
    const Folder uuids;
    std::string device;
    for (const auto &entry : std::filesystem::directory_iterator("/dev")) {
        device = entry.is_block_file() ? entry.path().string() : device;
    }
    if (device.empty()) {
        if (support::isSkippedWithout("block-devices")) {
            return;
        }
        device = folder.path("disk");
        ASSERT_EQ(mknod(device.c_str(), S_IFBLK | 0600, makedev(8, 0)), 0);
    }
    uuids.link("/dev/null", "other");
    EXPECT_EQ(mrb::uuidOfDevice(device, uuids.path()), "");
    uuids.link(device, "1234-ABCD");
    EXPECT_EQ(mrb::uuidOfDevice(device, uuids.path()), "1234-ABCD");
}

TEST(StorageId, OnlyBlockDevicesHaveAUuid) {
    const Folder folder;
    folder.link("/dev/null", "1234-ABCD");
    EXPECT_EQ(mrb::uuidOfDevice("/dev/null", folder.path()), "");
    EXPECT_EQ(mrb::uuidOfDevice("/nowhere", folder.path()), "");
    EXPECT_EQ(mrb::uuidOfDevice("/dev/null", folder.path("missing")), "");
}
