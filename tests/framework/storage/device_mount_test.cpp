// Devices that are mounted, in a namespace of the test's own, and offered folders.

#include <gtest/gtest.h>
#include <linux/capability.h>
#include <sys/mount.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "storage/offered_folders.h"
#include "support/devices.h"
#include "support/folder.h"
#include "support/own_process.h"
#include "support/programs.h"

using support::DeviceObserver;
using support::listDevices;
using support::listUntil;
using support::Surroundings;
namespace fs = std::filesystem;

namespace {

class DeviceMount : public support::OwnProcess {
  protected:
    // A /media of the test's own with a folder in it.
    static std::string place(const std::string &name) {
        if (!fs::exists("/media/.mine")) {
            EXPECT_EQ(mount("tmpfs", "/media", "tmpfs", 0, nullptr), 0);
            std::ofstream("/media/.mine");
        }
        std::string path = "/media/" + name;
        fs::create_directory(path);
        return path;
    }

    static void mountAt(const std::string &path) {
        ASSERT_EQ(mount("stick", path.c_str(), "tmpfs", 0, "size=1m"), 0);
    }

    static void unmount(const std::string &path) { ASSERT_EQ(umount2(path.c_str(), MNT_DETACH), 0); }
};

} // namespace

TEST_F(DeviceMount, WhatIsMountedBelowMediaIsADeviceUntilItIsUnmounted) {
    if (!inside(Surroundings::MOUNTS)) {
        return;
    }
    const std::string path = place("stick");
    EXPECT_EQ(listDevices().size(), 0U);
    DeviceObserver observer;
    mountAt(path);
    observer.waitFor(1);
    unmount(path);
    const auto events = observer.waitFor(2);
    ASSERT_EQ(events.size(), 2U);
    EXPECT_EQ(events[0].event, MRB_STORAGE_EVENT_ADDED);
    EXPECT_EQ(events[1].event, MRB_STORAGE_EVENT_REMOVED);
    for (const auto &each : events) {
        EXPECT_EQ(each.record.name, "stick");
        EXPECT_EQ(each.record.mountPath, path);
        EXPECT_EQ(each.record.fileSystem, MRB_FILE_SYSTEM_TMPFS);
        EXPECT_EQ(each.record.total, 1 << 20);
        EXPECT_EQ(each.record.available, 1 << 20);
        EXPECT_EQ(each.record.id, "tmpfs:stick:/media/stick");
    }
}

TEST_F(DeviceMount, ListsFollowMountsAndShowWhatIsFreeNow) {
    if (!inside(Surroundings::MOUNTS)) {
        return;
    }
    const std::string path = place("stick");
    DeviceObserver observer;
    for (int round = 0; round < 50; ++round) {
        mountAt(path);
        listUntil([](const auto &devices) { return devices.size() == 1; });
        std::ofstream(path + "/a") << std::string(100'000, 'a');
        listUntil([](const auto &devices) { return devices.at(0).available == (1 << 20) - 102'400; });
        unmount(path);
        listUntil([](const auto &devices) { return devices.empty(); });
    }
    EXPECT_EQ(observer.waitFor(100).size(), 100U);
}

TEST_F(DeviceMount, OtherMountsAreNotDevices) {
    if (!inside(Surroundings::MOUNTS)) {
        return;
    }
    place("stick");
    support::Folder folder;
    mountAt(folder.path());
    ASSERT_EQ(mount("proc", "/media/stick", "devpts", 0, nullptr), 0);
    EXPECT_EQ(listDevices().size(), 0U);
}

TEST_F(DeviceMount, AThousandMountsAndUnmountsAreEachReportedOnce) {
    if (!inside(Surroundings::MOUNTS)) {
        return;
    }
    constexpr std::size_t NUMBER = 1000;
    for (std::size_t number = 0; number < NUMBER; ++number) {
        place(std::to_string(number));
    }
    DeviceObserver observer;
    for (std::size_t number = 0; number < NUMBER; ++number) {
        mountAt("/media/" + std::to_string(number));
    }
    observer.waitFor(NUMBER);
    for (std::size_t number = 0; number < NUMBER; ++number) {
        unmount("/media/" + std::to_string(number));
    }
    const auto events = observer.waitFor(2 * NUMBER);
    ASSERT_EQ(events.size(), 2 * NUMBER);
    std::map<std::string, int> seen;
    std::set<int> indexes;
    for (std::size_t number = 0; number < events.size(); ++number) {
        const bool arrives = number < NUMBER;
        EXPECT_EQ(events[number].event, arrives ? MRB_STORAGE_EVENT_ADDED : MRB_STORAGE_EVENT_REMOVED);
        ++seen[std::to_string(events[number].event) + events[number].record.mountPath];
        indexes.insert(events[number].record.index);
    }
    EXPECT_EQ(seen.size(), 2 * NUMBER);
    EXPECT_EQ(indexes.size(), NUMBER);
    EXPECT_EQ(listDevices().size(), 0U);
}

namespace {

// Some containers keep root from mounting files, which nothing but another machine can
// change: there these tests do not exist.
std::vector<const char *> fileSystemsOfFiles() {
    std::ifstream status("/proc/self/status");
    unsigned long long rights = 0;
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with("CapEff:")) {
            rights = std::stoull(line.substr(7), nullptr, 16);
        }
    }
    const bool mayMount = (rights >> CAP_SYS_ADMIN & 1) != 0;
    if (mayMount && geteuid() == 0 && access("/dev/loop-control", R_OK | W_OK) == 0) {
        return {"ext4"};
    }
    return {};
}

class DeviceOfAFile : public DeviceMount, public testing::WithParamInterface<const char *> {};
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(DeviceOfAFile);
INSTANTIATE_TEST_SUITE_P(, DeviceOfAFile, testing::ValuesIn(fileSystemsOfFiles()));

} // namespace

TEST_P(DeviceOfAFile, ItIsADeviceWhereMediaAreMounted) {
    if (!inside(Surroundings::LOOPS)) {
        return;
    }
    const std::string path = place("loop");
    support::Folder folder;
    support::run({"truncate", "-s", "8M", folder.path("image")});
    support::run({std::string("mkfs.") + GetParam(), "-q", "-L", "PICTURES", folder.path("image")});
    DeviceObserver observer;
    support::run({"mount", "-o", "loop", folder.path("image"), path});
    observer.waitFor(1);
    unmount(path);
    const auto events = observer.waitFor(2);
    EXPECT_EQ(events.at(0).event, MRB_STORAGE_EVENT_ADDED);
    EXPECT_EQ(events.at(0).record.fileSystem, MRB_FILE_SYSTEM_EXT4);
    EXPECT_EQ(events.at(0).record.mountPath, path);
    EXPECT_GT(events.at(0).record.total, 4 << 20);
    EXPECT_EQ(events.at(1).event, MRB_STORAGE_EVENT_REMOVED);
}

namespace {

// Folders that stand for devices.
class OfferedFolder : public support::OwnProcess {
  protected:
    static void offer(const std::string &folders) { setenv(mrb::OFFERED_FOLDERS, folders.c_str(), 1); }
};

} // namespace

TEST_F(OfferedFolder, IsADeviceThatStatesWhatItIs) {
    if (!inside(Surroundings::MOUNTS)) {
        return;
    }
    support::Folder folder;
    ASSERT_EQ(mount("tmpfs", folder.path().c_str(), "tmpfs", 0, nullptr), 0);
    fs::create_directory(folder.path("pictures"));
    offer(folder.path("pictures/"));
    const auto devices = listDevices();
    ASSERT_EQ(devices.size(), 1U);
    EXPECT_EQ(devices[0].id, "folder:" + folder.path("pictures"));
    EXPECT_EQ(devices[0].name, "pictures (folder offered as a device)");
    EXPECT_EQ(devices[0].mountPath, folder.path("pictures"));
    EXPECT_EQ(devices[0].deviceClass, MRB_STORAGE_CLASS_FOLDER);
    EXPECT_EQ(devices[0].fileSystem, MRB_FILE_SYSTEM_TMPFS);
    EXPECT_GT(devices[0].total, 0);
    umount2(folder.path().c_str(), MNT_DETACH);
}

TEST_F(OfferedFolder, ComesAndGoesWithAnyFolderThatHoldsIt) {
    if (!inside(Surroundings::PLAIN)) {
        return;
    }
    support::Folder folder;
    const std::string path = folder.path("a/b/c");
    offer(path);
    DeviceObserver observer;
    std::size_t events = 0;
    const auto next = [&](mrb_storage_event_e event) {
        EXPECT_EQ(observer.waitFor(++events).back().event, event);
        EXPECT_EQ(observer.events().size(), events);
    };
    fs::create_directories(path);
    next(MRB_STORAGE_EVENT_ADDED);
    fs::rename(folder.path("a"), folder.path("z"));
    next(MRB_STORAGE_EVENT_REMOVED);
    fs::rename(folder.path("z"), folder.path("a"));
    next(MRB_STORAGE_EVENT_ADDED);
    fs::remove_all(folder.path("a"));
    next(MRB_STORAGE_EVENT_REMOVED);
    fs::create_directories(path);
    next(MRB_STORAGE_EVENT_ADDED);
}

TEST_F(OfferedFolder, MayBeSeveralAndARelativePathIsIgnored) {
    if (!inside(Surroundings::PLAIN)) {
        return;
    }
    support::Folder folder;
    fs::create_directory(folder.path("a:1"));
    fs::create_directory(folder.path("b"));
    offer(folder.path("a:1") + "\nrelative\n\n" + folder.path("b") + "\n" + folder.path("missing"));
    const auto devices = listDevices();
    ASSERT_EQ(devices.size(), 2U);
    EXPECT_EQ(devices[0].mountPath, folder.path("a:1"));
    EXPECT_EQ(devices[1].mountPath, folder.path("b"));
    EXPECT_EQ(devices[1].index, 1);
}
