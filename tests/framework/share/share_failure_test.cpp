// Shares that are refused, and copies during which a device or a file fails.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <string>

#include "support/client.h"
#include "support/folder.h"
#include "support/own_process.h"
#include "support/programs.h"
#include "support/sharing.h"

using support::Folder;
using support::ShareEvent;
using support::tree;
using testing::ElementsAre;
using testing::IsEmpty;

namespace fs = std::filesystem;

namespace {

class ShareFailure : public support::CopyTest {
  protected:
    void makeFiles(unsigned count, std::size_t size) const {
        for (unsigned number = 0; number < count; ++number) {
            support::writeNoise(from.path(std::to_string(number) + ".jpg"), size, number);
        }
    }
    // Everything below the destination is a whole copy of a file.
    void expectWholeFiles(const std::string &destination) const {
        for (const auto &[path, bytes] : support::contents(destination)) {
            EXPECT_TRUE(support::areEqual(from.path(path), fs::path(destination) / path)) << path;
        }
    }
    // Calls `act` on the event thread as soon as the copy is under way, which then has
    // hundreds of megabytes to go.
    void whenUnderWay(const std::function<void()> &act) {
        sharing.whenStarted([act](const ShareEvent & /*event*/) { act(); });
    }
};

class ShareInOwnMounts : public ShareFailure {
  protected:
    void SetUp() override { ownMounts_ = support::commandFor(support::Surroundings::MOUNTS); }
    std::string copyInOwnMounts(const std::string &mountOptions, const std::string &action = "") const;

  private:
    std::string ownMounts_;
};

// The output of the copying program, run where `mountOptions` of a small file system are
// mounted on the destination, unseen by other processes.
std::string ShareInOwnMounts::copyInOwnMounts(const std::string &mountOptions,
                                              const std::string &action) const {
    const std::string command = ownMounts_ + " sh -c 'mount -t tmpfs -o " + mountOptions + " tmpfs " +
                                to.path() + " && exec " + support::commandOf(COPY_PROGRAM) + " " +
                                from.path() + " " + to.path() + " " + action + "'";
    FILE *pipe = popen(command.c_str(), "r");
    std::array<char, 256> line{};
    std::string said;
    while (pipe != nullptr && fgets(line.data(), line.size(), pipe) != nullptr) {
        said += line.data();
    }
    EXPECT_EQ(pclose(pipe), 0) << "this test must be allowed to mount: " << command;
    return said;
}

std::string said(int event, int done, int total, int entries, const std::string &name = "") {
    return std::to_string(event) + " " + std::to_string(done) + " " + std::to_string(total) + " " +
           std::to_string(entries) + " " + name;
}

} // namespace

TEST_F(ShareFailure, TypesThatAreNotDoneAreRefusedAndNothingIsDeleted) {
    makeFiles(2, 10);
    support::selectEverything(client, from.path());
    const auto setAll = [&](mrb_share_param_h param) {
        mrb_param_set_share_source_dev_type(param, 1);
        mrb_param_set_share_dest_dev_path(param, to.path().c_str());
    };
    for (const int type : {int{MRB_SHARE_DELETE}, 0, 3, 5, 7, 31, 33, 64, -1, INT32_MAX, INT32_MIN}) {
        sharing.handle = 0;
        EXPECT_EQ(sharing.start(type, client.handle, setAll), MRB_ERR_NOT_SUPPORTED) << type;
        EXPECT_EQ(sharing.handle, 0);
    }
    EXPECT_THAT(tree(from.path()), ElementsAre("0.jpg", "1.jpg"));
    EXPECT_THAT(tree(to.path()), IsEmpty());
    EXPECT_THAT(sharing.events(), IsEmpty());
}

TEST_F(ShareFailure, ServersAreNotCopiedToOrFrom) {
    makeFiles(1, 10);
    support::selectEverything(client, from.path());
    for (const auto setter : {mrb_param_set_share_source_dev_type, mrb_param_set_share_dest_dev_type}) {
        EXPECT_EQ(sharing.start(MRB_SHARE_COPY, client.handle,
                                [&](mrb_share_param_h param) {
                                    setter(param, MRB_SHARE_DEVICE_DLNA);
                                    mrb_param_set_share_dest_dev_path(param, to.path().c_str());
                                }),
                  MRB_ERR_NOT_SUPPORTED);
    }
}

TEST_F(ShareFailure, WhatCannotBeginIsRefusedAtOnce) {
    makeFiles(1, 10);
    to.file("file", 1);
    support::selectEverything(client, from.path());
    EXPECT_EQ(sharing.copy(client, ""), MRB_ERR_INVALID_PARAMETER);
    EXPECT_EQ(sharing.copy(client, "relative/path"), MRB_ERR_INVALID_PARAMETER);
    EXPECT_EQ(sharing.copy(client, "file://elsewhere/tmp"), MRB_ERR_INVALID_PARAMETER);
    EXPECT_EQ(sharing.copy(client, to.path("missing")), MRB_ERR_NOT_FOUND);
    EXPECT_EQ(sharing.copy(client, to.path("file")), MRB_ERR_NOT_A_FOLDER);
    mrb_deselect_all_v2(client.handle);
    EXPECT_EQ(sharing.copy(client, to.path()), MRB_ERR_NOT_FOUND);
    EXPECT_EQ(sharing.start(MRB_SHARE_COPY, 0, nullptr), MRB_ERR_INVALID_HANDLE);
    EXPECT_EQ(sharing.start(MRB_SHARE_LOCK, 0, nullptr), MRB_ERR_INVALID_HANDLE);
    EXPECT_THAT(sharing.events(), IsEmpty());
}

TEST_F(ShareFailure, NullArgumentsAreInvalidAndTheUserDataIsReleased) {
    mrb_share_param_h param = nullptr;
    mrb_share_handler_h handle = 0;
    ASSERT_EQ(mrb_create_share_param(&param), MRB_ERR_NONE);
    const auto userData = [] {
        mrb_share_user_data_param_h made = nullptr;
        EXPECT_EQ(mrb_create_share_user_data_param(&made), MRB_ERR_NONE);
        return made;
    };
    // The leak checker of the sanitised build checks that the objects were released.
    EXPECT_EQ(mrb_batch_process_v2(MRB_SHARE_COPY, nullptr, 1, userData(), &handle),
              MRB_ERR_INVALID_PARAMETER);
    EXPECT_EQ(mrb_batch_process_v2(MRB_SHARE_COPY, param, 1, nullptr, &handle), MRB_ERR_INVALID_PARAMETER);
    EXPECT_EQ(mrb_batch_process_v2(MRB_SHARE_COPY, param, 1, userData(), nullptr), MRB_ERR_INVALID_PARAMETER);
    // Without a callback the result could not be delivered.
    EXPECT_EQ(mrb_batch_process_v2(MRB_SHARE_COPY, param, 1, userData(), &handle), MRB_ERR_INVALID_PARAMETER);
    EXPECT_EQ(mrb_destroy_share_param(param), MRB_ERR_NONE);
}

TEST_F(ShareFailure, AFolderThatMayNotBeWrittenIsRefused) {
    makeFiles(1, 10);
    support::selectEverything(client, from.path());
    chmod(to.path().c_str(), 0555);
    const support::UnprivilegedFiles unprivileged;
    EXPECT_EQ(sharing.copy(client, to.path()), MRB_ERR_PERMISSION_DENIED);
}

TEST_F(ShareInOwnMounts, AReadOnlyDestinationIsRefused) {
    makeFiles(1, 10);
    EXPECT_EQ(copyInOwnMounts("ro"), std::to_string(MRB_ERR_PERMISSION_DENIED));
}

TEST_F(ShareInOwnMounts, ADestinationThatIsTooSmallIsNotWrittenTo) {
    makeFiles(4, 500'000);
    for (const char *options : {"size=1m", "nr_inodes=3"}) {
        EXPECT_EQ(copyInOwnMounts(options), said(MRB_EVENT_SHARE_NO_SPACE, 0, 4, 0)) << options;
    }
}

TEST_F(ShareInOwnMounts, ADestinationThatFillsUpDuringTheCopyEndsItWithoutPartialFiles) {
    makeFiles(3, 1000);
    // Larger than the list knows, so that the check of the space passes.
    EXPECT_EQ(copyInOwnMounts("size=1m", "grow 1.jpg"), said(MRB_EVENT_SHARE_FAILED, 0, 3, 0, "1.jpg"));
}

TEST_F(ShareInOwnMounts, ADestinationThatIsUnmountedEndsIt) {
    makeFiles(8, 60'000'000);
    const std::string end = copyInOwnMounts("size=600m", "unmount");
    EXPECT_EQ(end.substr(0, 3), std::to_string(MRB_EVENT_DEVICE_REMOVED) + " ") << end;
    EXPECT_THAT(tree(to.path()), IsEmpty());
}

TEST_F(ShareFailure, ADestinationThatIsRemovedEndsIt) {
    makeFiles(8, 30'000'000);
    support::selectEverything(client, from.path());
    const std::string target = to.path("target");
    to.folder("target");
    whenUnderWay([&] { fs::remove_all(target); });
    EXPECT_EQ(sharing.copyAll(client, target).event, MRB_EVENT_DEVICE_REMOVED);
    EXPECT_THAT(tree(to.path()), IsEmpty());
}

TEST_F(ShareFailure, ADestinationThatIsRenamedKeepsWholeFilesOnly) {
    makeFiles(8, 30'000'000);
    support::selectEverything(client, from.path());
    to.folder("target");
    whenUnderWay([&] { fs::rename(to.path("target"), to.path("moved")); });
    EXPECT_EQ(sharing.copyAll(client, to.path("target")).event, MRB_EVENT_DEVICE_REMOVED);
    expectWholeFiles(to.path("moved"));
}

TEST_F(ShareFailure, ASourceThatIsRemovedEndsIt) {
    const std::string source = from.path("source");
    from.folder("source");
    for (unsigned number = 0; number < 8; ++number) {
        support::writeNoise(source + "/" + std::to_string(number) + ".jpg", 30'000'000, number);
    }
    support::selectEverything(client, source);
    // The folder first, at once: files that are missing before it is gone count as failed.
    whenUnderWay([&] {
        fs::rename(source, from.path("gone"));
        fs::remove_all(from.path("gone"));
    });
    const ShareEvent end = sharing.copyAll(client, to.path());
    EXPECT_EQ(end.event, MRB_EVENT_DEVICE_REMOVED);
    EXPECT_EQ(tree(to.path()).size(), end.status.done_file_count);
    for (const auto &[path, bytes] : support::contents(to.path())) {
        EXPECT_EQ(bytes.size(), 30'000'000U) << path;
    }
}

TEST_F(ShareFailure, ASourceThatWasGoneBeforeEndsIt) {
    makeFiles(1, 10);
    support::selectEverything(client, from.path());
    fs::remove_all(from.path());
    EXPECT_EQ(sharing.copyAll(client, to.path()).event, MRB_EVENT_DEVICE_REMOVED);
    EXPECT_EQ(sharing.events().front().event, MRB_EVENT_SHARE_STARTED);
}

TEST_F(ShareFailure, AFileThatIsGoneIsLeftOutAndNamed) {
    makeFiles(3, 1000);
    support::selectEverything(client, from.path());
    fs::remove(from.path("1.jpg"));
    const ShareEvent end = sharing.copyAll(client, to.path());
    EXPECT_EQ(end.event, MRB_EVENT_SHARE_FAILED);
    EXPECT_EQ(end.name(), "1.jpg");
    EXPECT_EQ(end.status.total_file_count, 3U);
    EXPECT_EQ(end.status.done_file_count, 2U);
    EXPECT_EQ(end.status.success_file_size, 2000U);
    EXPECT_THAT(tree(to.path()), ElementsAre("0.jpg", "2.jpg"));
}

TEST_F(ShareFailure, WhatHasBecomeAPipeOrAFolderIsLeftOut) {
    makeFiles(3, 1000);
    support::selectEverything(client, from.path());
    fs::remove(from.path("0.jpg"));
    fs::remove(from.path("1.jpg"));
    ASSERT_EQ(mkfifo(from.path("0.jpg").c_str(), 0600), 0);
    from.folder("1.jpg");
    EXPECT_EQ(sharing.copyAll(client, to.path()).event, MRB_EVENT_SHARE_FAILED);
    EXPECT_THAT(tree(to.path()), ElementsAre("2.jpg"));
}

TEST_F(ShareFailure, AFolderThatHasBecomeALinkIsNotFollowed) {
    const Folder secret;
    secret.file("a.jpg", 10);
    from.file("in/a.jpg", 10);
    from.file("b.jpg", 10);
    support::selectEverything(client, from.path());
    fs::remove_all(from.path("in"));
    from.link(secret.path(), "in");
    EXPECT_EQ(sharing.copyAll(client, to.path()).event, MRB_EVENT_SHARE_FAILED);
    EXPECT_THAT(tree(to.path()), ElementsAre("b.jpg"));
}

TEST_F(ShareFailure, AFileThatHasChangedIsCopiedAsItIs) {
    makeFiles(1, 1000);
    support::selectEverything(client, from.path());
    support::writeNoise(from.path("0.jpg"), 5000, 9);
    const ShareEvent end = sharing.copyAll(client, to.path());
    EXPECT_EQ(end.event, MRB_EVENT_SHARE_DONE);
    EXPECT_EQ(end.status.total_file_size, 5000U);
    EXPECT_EQ(end.status.success_file_size, 5000U);
    expectWholeFiles(to.path());
}
