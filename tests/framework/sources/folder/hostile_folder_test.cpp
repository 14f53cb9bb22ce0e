// Folders that change, cannot be read, or have no end.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <functional>
#include <thread>

#include "sources/folder/folder_scan.h"
#include "support/client.h"
#include "support/folder.h"

using support::Client;
using support::Folder;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

// Receives what a scan finds, and lets a test change the disk at chosen moments.
class Meddler final : public mrb::ItemSink {
  public:
    std::function<void()> beforeFile = [] {};
    std::function<void()> beforeFolders = [] {};
    std::vector<std::string> names;

    bool wants(std::uint8_t /*type*/) const override {
        beforeFile();
        return true;
    }
    const mrb::CancellationToken &cancellation() const override { return cancellation_; }
    void setExpectedTotal(std::int64_t /*total*/) override {}
    std::int32_t addFolder(std::int32_t /*parent*/, std::string_view /*name*/) override { return ++folders_; }
    bool add(std::span<const mrb::SourceItem> items) override {
        for (const mrb::SourceItem &item : items) {
            names.emplace_back(item.name);
        }
        beforeFolders();
        return true;
    }

  private:
    const mrb::CancellationToken cancellation_;
    std::int32_t folders_ = 0;
};

mrb::Descriptor openFolder(const std::string &path) {
    return mrb::Descriptor(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
}

mrb::FillResult scan(Meddler &meddler, const std::string &path) {
    return mrb::FolderScan(meddler, path).run(openFolder(path));
}

// The last event of a list that is opened without a privilege to read everything.
support::Event listUnprivileged(Client &client, const Folder &folder) {
    const support::UnprivilegedFiles unprivileged;
    return client.list(folder.path());
}

} // namespace

TEST(HostileFolder, AnUnreadableFolderIsListedAndCountedAndCostsOnlyItsContents) {
    const Folder folder;
    folder.file("locked/inside.jpg");
    folder.file("open/inside.jpg");
    ASSERT_EQ(chmod(folder.path("locked").c_str(), 0), 0);
    Client client;
    const support::Event last = listUnprivileged(client, folder);
    chmod(folder.path("locked").c_str(), 0755);
    EXPECT_EQ(last.event, MRB_EVENT_LIST_READY);
    EXPECT_EQ(last.data["unreadable"], 1);
    EXPECT_THAT(client.all("name"), ElementsAre("locked", "open", "inside.jpg"));
}

TEST(HostileFolder, AFolderWhoseFilesCannotBeReachedCountsAsUnreadableOnce) {
    const Folder folder;
    folder.file("names/a.jpg");
    folder.file("names/b.jpg");
    ASSERT_EQ(chmod(folder.path("names").c_str(), 0444), 0);
    Client client;
    const support::Event last = listUnprivileged(client, folder);
    chmod(folder.path("names").c_str(), 0755);
    EXPECT_EQ(last.data["unreadable"], 1);
    EXPECT_THAT(client.all("name"), ElementsAre("names"));
}

TEST(HostileFolder, AFileThatVanishesAfterItsNameWasReadIsSkipped) {
    const Folder folder;
    folder.file("gone.jpg");
    Meddler meddler;
    meddler.beforeFile = [&] { unlink(folder.path("gone.jpg").c_str()); };
    const mrb::FillResult result = scan(meddler, folder.path());
    EXPECT_EQ(result.status.code, MRB_ERR_NONE);
    EXPECT_EQ(result.unreadable, 0);
    EXPECT_THAT(meddler.names, IsEmpty());
}

TEST(HostileFolder, AFolderThatVanishesBeforeItIsEnteredIsSkipped) {
    const Folder folder;
    folder.file("a.jpg");
    folder.folder("gone");
    Meddler meddler;
    meddler.beforeFolders = [&] { rmdir(folder.path("gone").c_str()); };
    const mrb::FillResult result = scan(meddler, folder.path());
    EXPECT_EQ(result.status.code, MRB_ERR_NONE);
    EXPECT_EQ(result.unreadable, 0);
    EXPECT_THAT(meddler.names, ElementsAre("a.jpg"));
}

TEST(HostileFolder, AFolderThatTurnsIntoALinkIsNotEntered) {
    const Folder folder;
    const Folder outside;
    outside.file("secret.jpg");
    folder.file("a.jpg");
    folder.folder("trap");
    Meddler meddler;
    meddler.beforeFolders = [&] {
        if (rmdir(folder.path("trap").c_str()) == 0) {
            folder.link(outside.path(), "trap");
        }
    };
    scan(meddler, folder.path());
    EXPECT_THAT(meddler.names, ElementsAre("a.jpg"));
}

TEST(HostileFolder, TheScannedFolderVanishingFailsTheScanByName) {
    Meddler meddler;
    std::string path;
    mrb::Descriptor opened;
    {
        const Folder folder;
        path = folder.path();
        opened = openFolder(path);
    }
    const mrb::FillResult result = mrb::FolderScan(meddler, path).run(std::move(opened));
    EXPECT_EQ(result.status.code, MRB_ERR_NOT_FOUND);
    EXPECT_THAT(result.status.message, testing::HasSubstr(path));
}

TEST(HostileFolder, FilesDeletedDuringTheScanNeverFailIt) {
    const Folder folder;
    folder.pictures(100, 50);
    std::thread deleter([&] {
        for (int index = 100; index > 0; --index) {
            std::filesystem::remove_all(folder.path(std::to_string(index)));
        }
    });
    Client client;
    const support::Event last = client.list(folder.path());
    deleter.join();
    EXPECT_EQ(last.event, MRB_EVENT_LIST_READY);
    EXPECT_EQ(last.data["unreadable"], 0);
    EXPECT_LE(client.count(), 5100);
    Client again;
    again.list(folder.path());
    EXPECT_EQ(again.count(), 0);
}

TEST(HostileFolder, AVeryDeepTreeIsReadToItsBoundAndTheRestIsCounted) {
    const Folder folder;
    folder.chain("d", 150);
    Client client;
    const support::Event last = client.list(folder.path());
    EXPECT_EQ(last.event, MRB_EVENT_LIST_READY);
    EXPECT_EQ(last.data["too_deep"], 1);
    EXPECT_EQ(client.count(MRB_ITEM_TYPE_FOLDER), mrb::FolderScan::MAX_LEVEL + 1);
}

TEST(HostileFolder, PathsLongerThanTheSystemOpensAreListedWhole) {
    const Folder folder;
    const std::string name(200, 'n');
    folder.chain(name, 50);
    Client client;
    client.list(folder.path());
    EXPECT_EQ(client.count(), 50);
    EXPECT_EQ(client.item(49)["path"].asString().size(), folder.path().size() + 50 * 201);
}

TEST(HostileFolder, ADeepTreeNeedsFewDescriptors) {
    const Folder folder;
    folder.chain("d", 90);
    Meddler meddler;
    int most = 0;
    meddler.beforeFolders = [&] {
        int open = 0;
        for (const auto &entry : std::filesystem::directory_iterator("/proc/self/fd")) {
            open += entry.is_symlink() ? 1 : 0;
        }
        most = std::max(most, open);
    };
    int before = 0;
    for (const auto &entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        before += entry.is_symlink() ? 1 : 0;
    }
    scan(meddler, folder.path());
    EXPECT_EQ(meddler.names.size(), 90U);
    EXPECT_LE(most - before, 4);
}
