// Copies are on their device before they are reported as done.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <mutex>
#include <set>
#include <string>

#include "support/client.h"
#include "support/folder.h"
#include "support/sharing.h"

using support::ShareEvent;
using testing::IsEmpty;

namespace {

// The files that were passed to fdatasync, and whether the device wrote them.
struct Device {
    std::mutex lock;
    std::set<ino_t> saved;
    std::atomic<bool> isBroken = false;
};

Device &device() {
    static auto &one = *new Device;
    return one;
}

ino_t inodeOf(const std::string &path) {
    struct stat info {};
    EXPECT_EQ(stat(path.c_str(), &info), 0) << path;
    return info.st_ino;
}

class ShareSync : public support::CopyTest {
  protected:
    ~ShareSync() override { device().isBroken = false; }

    void copyFiles() {
        for (unsigned number = 0; number < FILES; ++number) {
            support::writeNoise(from.path("in/" + std::to_string(number) + ".jpg"), 50'000, number);
        }
        support::selectEverything(client, from.path());
        // The inode numbers of removed files are used again.
        const std::lock_guard guard(device().lock);
        device().saved.clear();
    }

    static constexpr unsigned FILES = 20;
};

} // namespace

// Stands in front of the C library's for all libraries of this program.
// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name)
extern "C" [[gnu::visibility("default")]] int fdatasync(int file) {
    if (device().isBroken) {
        errno = EIO;
        return -1;
    }
    const auto result = static_cast<int>(syscall(SYS_fdatasync, file));
    struct stat info {};
    if (result == 0 && fstat(file, &info) == 0) {
        const std::lock_guard guard(device().lock);
        device().saved.insert(info.st_ino);
    }
    return result;
}

TEST_F(ShareSync, TheBytesOfAllFilesAreSavedBeforeTheEnd) {
    copyFiles();
    std::set<ino_t> saved;
    sharing.onEvent = [&](const ShareEvent &event) {
        if (event.event == MRB_EVENT_SHARE_DONE) {
            const std::lock_guard guard(device().lock);
            saved = device().saved;
        }
    };
    EXPECT_EQ(sharing.copyAll(client, to.path()).event, MRB_EVENT_SHARE_DONE);
    for (unsigned number = 0; number < FILES; ++number) {
        const std::string name = "in/" + std::to_string(number) + ".jpg";
        EXPECT_TRUE(saved.contains(inodeOf(to.path(name)))) << name;
    }
}

TEST_F(ShareSync, WhatTheDeviceDidNotTakeGetsNoName) {
    copyFiles();
    device().isBroken = true;
    const ShareEvent end = sharing.copyAll(client, to.path());
    EXPECT_EQ(end.event, MRB_EVENT_SHARE_FAILED);
    EXPECT_EQ(end.status.done_file_count, 0U);
    EXPECT_THAT(support::contents(to.path()), IsEmpty());
}
