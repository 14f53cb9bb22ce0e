// What watching folders costs and withstands: bounds, descriptors, threads, and
// commands while everything changes.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <list>
#include <random>
#include <thread>

#include "support/accept_all.h"
#include "support/client.h"
#include "support/folder.h"
#include "watch/folder_watch.h"

using support::AcceptAll;
using support::Client;
using support::Folder;

namespace fs = std::filesystem;

namespace {

std::size_t entriesOf(const char *folder) {
    return static_cast<std::size_t>(std::distance(fs::directory_iterator(folder), {}));
}

// How many events the kernel keeps for a watch.
std::size_t queueLength() {
    std::size_t length = 0;
    std::ifstream("/proc/sys/fs/inotify/max_queued_events") >> length;
    return length;
}

bool isReadable(int descriptor) {
    pollfd polled{descriptor, POLLIN, 0};
    return poll(&polled, 1, 0) == 1;
}

void aboutToRead(mrb::FolderWatch &watch, std::int32_t number, const std::string &path) {
    const mrb::Descriptor folder(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    watch.aboutToRead(number, folder.fd());
}

} // namespace

TEST(WatchLimits, AHundredListsLeakNoDescriptorAndNoThread) {
    const Folder folder;
    folder.pictures(5, 5);
    Client().list(folder.path());
    std::size_t files = 0;
    std::size_t threads = 0;
    // The first list is being cleaned up: wait until the counts are stable.
    ASSERT_TRUE(support::waitUntil([&] {
        const std::size_t before = files;
        files = entriesOf("/proc/self/fd");
        threads = entriesOf("/proc/self/task");
        Client again;
        again.list(folder.path());
        return files == before;
    }));
    for (int round = 0; round < 100; ++round) {
        Client client;
        ASSERT_EQ(client.open(folder.path()), MRB_ERR_NONE);
        if (round % 3 != 0) {
            client.waitForEnd();
        }
    }
    EXPECT_TRUE(support::waitUntil([&] { return entriesOf("/proc/self/fd") <= files; }));
    // A worker that is done is joined when the next one starts, and the kernel may
    // still show for a moment what was joined.
    EXPECT_TRUE(support::waitUntil([&] {
        Client().list(folder.path());
        return entriesOf("/proc/self/task") <= threads + 1;
    }));
}

TEST(WatchLimits, MoreListsThanAreWatchedWorkAllTheSame) {
    const Folder folder;
    folder.file("a.jpg");
    ASSERT_TRUE(support::instanceIsFree());
    std::list<Client> clients(80);
    for (Client &client : clients) {
        EXPECT_EQ(client.list(folder.path()).event, MRB_EVENT_LIST_READY);
    }
    folder.file("b.jpg");
    clients.front().waitFor([](const auto &events) { return events.back().event == MRB_EVENT_LIST_CHANGED; });
    EXPECT_EQ(clients.back().count(), 1);
}

TEST(WatchLimits, BeyondTheMaximumOfFoldersOnlyTheRootIsWatched) {
    const Folder folder;
    folder.folder("sub");
    ASSERT_TRUE(support::instanceIsFree());
    mrb::FolderWatch watch(folder.path());
    ASSERT_GE(watch.fd(), 0);
    aboutToRead(watch, mrb::ROOT_FOLDER, folder.path());
    aboutToRead(watch, 1, folder.path("sub"));
    for (std::int32_t number = 2; number <= static_cast<std::int32_t>(mrb::FolderWatch::MAX_FOLDERS);
         ++number) {
        const std::string name = std::to_string(number);
        folder.folder(name);
        aboutToRead(watch, number, folder.path(name));
    }
    // The folders made for the purpose are changes too, also those reported to the
    // instance that was closed.
    EXPECT_EQ(watch.read(AcceptAll()), mrb::Change::CHANGED);
    while (isReadable(watch.fd())) {
        static_cast<void>(watch.read(AcceptAll()));
    }
    folder.file("sub/a.jpg");
    while (isReadable(watch.fd())) {
        EXPECT_EQ(watch.read(AcceptAll()), mrb::Change::NONE);
    }
    folder.file("b.jpg");
    // The kernel may still send events of the watches that were closed.
    EXPECT_TRUE(support::waitUntil(
        [&] { return isReadable(watch.fd()) && watch.read(AcceptAll()) == mrb::Change::CHANGED; }));
}

TEST(WatchLimits, AnOverflowOfTheQueueIsAChange) {
    const Folder folder;
    folder.file("a.txt");
    ASSERT_TRUE(support::instanceIsFree());
    mrb::FolderWatch watch(folder.path());
    ASSERT_GE(watch.fd(), 0);
    aboutToRead(watch, mrb::ROOT_FOLDER, folder.path());
    // None of it is listed, so that only the overflow can be the change. Two names
    // in turn, since the kernel merges events that are alike.
    for (std::size_t number = 0; number <= queueLength(); ++number) {
        const bool back = number % 2 == 1;
        fs::rename(folder.path(back ? "b.txt" : "a.txt"), folder.path(back ? "a.txt" : "b.txt"));
    }
    mrb::Change change = mrb::Change::NONE;
    // A read takes part of a long queue only.
    while (change == mrb::Change::NONE && isReadable(watch.fd())) {
        change = watch.read(AcceptAll());
    }
    EXPECT_EQ(change, mrb::Change::CHANGED);
}

TEST(WatchLimits, AThousandRandomCommandsWhileTheFolderChanges) {
    const Folder folder;
    folder.pictures(20, 20);
    std::atomic<bool> over = false;
    std::thread changer([&] {
        std::minstd_rand random(7);
        std::error_code ignored;
        while (!over) {
            const std::string name =
                std::to_string(random() % 22) + "/" + std::to_string(random() % 40) + ".jpg";
            switch (random() % 5) {
            case 0:
                fs::remove(folder.path(name), ignored);
                break;
            case 1:
                fs::rename(folder.path(name), folder.path(std::to_string(random() % 20) + ".jpg"), ignored);
                break;
            case 2:
                fs::remove_all(folder.path(std::to_string(random() % 22)), ignored);
                break;
            default:
                folder.file(name, random() % 9);
            }
        }
    });
    std::list<Client> clients(4);
    std::minstd_rand random(1);
    for (int command = 0; command < 1000; ++command) {
        Client &client = *std::next(clients.begin(), static_cast<std::ptrdiff_t>(random() % clients.size()));
        const int index = static_cast<int>(random() % 450);
        char *text = nullptr;
        int number = 0;
        switch (random() % 8) {
        case 0:
        case 1:
            EXPECT_EQ(client.open(folder.path()), MRB_ERR_NONE);
            break;
        case 2:
            mrb_cancel_request_list_v2(client.handle);
            break;
        case 3:
            mrb_disconnect_v2(std::exchange(client.handle, 0));
            break;
        case 4:
            mrb_move_to_index_v2(client.handle, index);
            break;
        case 5:
            mrb_get_item_count_by_type_v2(client.handle, MRB_ITEM_TYPE_IMAGE, &number);
            break;
        default:
            if (mrb_get_item_v2(client.handle, index, &text) == MRB_ERR_NONE) {
                EXPECT_FALSE(support::parse(text)["name"].asString().empty());
            }
            std::free(text);
        }
    }
    over = true;
    changer.join();
}
