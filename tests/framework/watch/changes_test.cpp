// A folder that changes under its open list: what is reported, how often, and what is not.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "support/change_events.h"
#include "support/client.h"
#include "support/folder.h"

using support::changeCount;
using support::Client;
using support::Event;
using support::Folder;
using support::waitForAllChanges;
using support::waitForChange;

namespace fs = std::filesystem;

namespace {

// The list of a folder with two levels, and room for a witness next to it.
class Changes : public testing::Test {
  protected:
    Changes() {
        for (const char *name : {"a.jpg", "b.jpg", "sub/c.jpg", "sub/deeper/d.jpg", "notes.txt"}) {
            library.file(std::string("library/") + name, 5);
        }
        support::instanceIsFree();
        client.list(path());
    }
    [[nodiscard]] std::string path(const std::string &name = "") const {
        return library.path(name.empty() ? "library" : "library/" + name);
    }
    void file(const std::string &name) const { library.file("library/" + name, 7); }

    const Folder library;
    Client client;
};

} // namespace

TEST_F(Changes, AnAddedFileIsReported) {
    file("new.jpg");
    EXPECT_EQ(waitForChange(client), MRB_EVENT_LIST_CHANGED);
}

TEST_F(Changes, ARemovedFileIsReportedAndItsItemCanStillBeRead) {
    fs::remove(path("a.jpg"));
    EXPECT_EQ(waitForChange(client), MRB_EVENT_LIST_CHANGED);
    EXPECT_EQ(client.item(0)["name"], "a.jpg");
    EXPECT_EQ(client.item(0)["size"], 5);
}

TEST_F(Changes, ARenamedFileIsReported) {
    fs::rename(path("a.jpg"), path("z.jpg"));
    EXPECT_EQ(waitForChange(client), MRB_EVENT_LIST_CHANGED);
}

TEST_F(Changes, AFileMovedInFromElsewhereIsReported) {
    library.file("elsewhere.jpg");
    fs::rename(library.path("elsewhere.jpg"), path("here.jpg"));
    EXPECT_EQ(waitForChange(client), MRB_EVENT_LIST_CHANGED);
}

TEST_F(Changes, AnAddedFolderIsReported) {
    fs::create_directory(path("new"));
    EXPECT_EQ(waitForChange(client), MRB_EVENT_LIST_CHANGED);
}

TEST_F(Changes, ARenamedFolderIsReported) {
    fs::rename(path("sub"), path("other"));
    EXPECT_EQ(waitForChange(client), MRB_EVENT_LIST_CHANGED);
}

TEST_F(Changes, AChangeFarDownIsReported) {
    file("sub/deeper/e.jpg");
    EXPECT_EQ(waitForChange(client), MRB_EVENT_LIST_CHANGED);
}

TEST_F(Changes, ALongerFileIsReported) {
    std::ofstream(path("sub/c.jpg"), std::ios::app) << "more";
    EXPECT_EQ(waitForChange(client), MRB_EVENT_LIST_CHANGED);
}

TEST_F(Changes, AFileRewrittenAtTheSameSizeIsReported) {
    std::ofstream(path("sub/c.jpg")) << "yyyyy";
    EXPECT_EQ(waitForChange(client), MRB_EVENT_LIST_CHANGED);
}

TEST_F(Changes, TheEventHoldsTheNumberOfItems) {
    file("new.jpg");
    waitForChange(client);
    const Event event = client.events().back();
    EXPECT_EQ(event.data.getMemberNames(), std::vector<std::string>{"item_count"});
    EXPECT_EQ(event.data["item_count"], 6);
    EXPECT_EQ(event.agent, client.handle);
}

TEST_F(Changes, ChangesThatTheListDoesNotShowAreNotReported) {
    file("more.txt");
    file(".hidden.jpg");
    fs::create_directory(path(".folder"));
    fs::create_directory(path("$RECYCLE.BIN"));
    fs::remove(path("notes.txt"));
    waitForAllChanges(library);
    EXPECT_EQ(changeCount(client), 0U);
}

TEST_F(Changes, AListOfAContentTypeReportsItsOwnFilesOnly) {
    Client music;
    music.list({.path = path(), .contentType = "MUSIC"});
    file("new.jpg");
    EXPECT_EQ(waitForChange(client), MRB_EVENT_LIST_CHANGED);
    EXPECT_EQ(changeCount(music), 0U);
    file("new.mp3");
    EXPECT_EQ(waitForChange(music), MRB_EVENT_LIST_CHANGED);
}

TEST_F(Changes, ReadingIsNotReported) {
    for (const char *name : {"a.jpg", "sub/c.jpg", "sub/deeper/d.jpg"}) {
        std::ifstream file(path(name));
        std::string text;
        EXPECT_TRUE(file >> text);
    }
    Client other;
    other.list(path());
    waitForAllChanges(library);
    EXPECT_EQ(changeCount(client), 0U);
}

TEST_F(Changes, PermissionsAndOpeningForWritingAreNotReported) {
    // Within a few milliseconds a file's time does not distinguish before from after.
    fs::last_write_time(path("a.jpg"), fs::file_time_type::clock::now() - std::chrono::hours(1));
    Client fresh;
    fresh.list(path());
    ASSERT_EQ(chmod(path("a.jpg").c_str(), 0600), 0);
    const int file = open(path("a.jpg").c_str(), O_WRONLY | O_CLOEXEC);
    ASSERT_GE(file, 0);
    close(file);
    waitForAllChanges(library);
    EXPECT_EQ(changeCount(fresh), 0U);
}

TEST_F(Changes, ManyChangesAreReportedOnce) {
    for (int number = 0; number < 500; ++number) {
        file("sub/" + std::to_string(number) + ".jpg");
    }
    EXPECT_EQ(waitForChange(client), MRB_EVENT_LIST_CHANGED);
    file("sub/another.jpg");
    fs::remove(path("a.jpg"));
    waitForAllChanges(library);
    EXPECT_EQ(changeCount(client), 1U);
}

TEST_F(Changes, AReopenedListReportsChangesAgain) {
    file("first.jpg");
    EXPECT_EQ(waitForChange(client), MRB_EVENT_LIST_CHANGED);
    ASSERT_EQ(client.open(path()), MRB_ERR_NONE);
    EXPECT_EQ(client.waitForEnd(2).data["item_count"], 7);
    waitForAllChanges(library);
    EXPECT_EQ(changeCount(client), 1U);
    file("second.jpg");
    EXPECT_EQ(waitForChange(client), MRB_EVENT_LIST_CHANGED);
    EXPECT_EQ(changeCount(client), 2U);
}

TEST_F(Changes, EveryListOfAFolderIsNotified) {
    Client second;
    Client inside;
    second.list(path());
    inside.list(path("sub"));
    file("sub/new.jpg");
    for (Client *each : {&client, &second, &inside}) {
        EXPECT_EQ(waitForChange(*each), MRB_EVENT_LIST_CHANGED);
    }
}

TEST_F(Changes, TheScannedFoldersRemovalIsReported) {
    fs::remove_all(path());
    EXPECT_EQ(waitForChange(client), MRB_EVENT_DEVICE_REMOVED);
    EXPECT_EQ(client.events().back().data["item_count"], 6);
    EXPECT_EQ(client.item(5)["name"], "d.jpg");
    waitForAllChanges(library);
    EXPECT_EQ(changeCount(client), 1U);
}

TEST_F(Changes, TheScannedFoldersNewNameIsItsRemoval) {
    fs::rename(path(), library.path("elsewhere"));
    EXPECT_EQ(waitForChange(client), MRB_EVENT_DEVICE_REMOVED);
}

TEST_F(Changes, ARemovalAfterAChangeIsReportedToo) {
    file("new.jpg");
    EXPECT_EQ(waitForChange(client), MRB_EVENT_LIST_CHANGED);
    fs::remove_all(path());
    client.waitFor([](const auto &events) { return events.back().event == MRB_EVENT_DEVICE_REMOVED; });
    EXPECT_EQ(changeCount(client), 2U);
}

TEST_F(Changes, ACancelledOrFailedListIsNotWatched) {
    library.pictures(100, 50);
    Event last;
    // A scan may be over before the cancel on a busy machine; the first that was not counts.
    while (last.event != MRB_EVENT_LIST_CANCELLED) {
        Client cancelled;
        ASSERT_EQ(cancelled.open(library.path()), MRB_ERR_NONE);
        ASSERT_EQ(mrb_cancel_request_list_v2(cancelled.handle), MRB_ERR_NONE);
        last = cancelled.waitForEnd();
        if (last.event == MRB_EVENT_LIST_CANCELLED) {
            library.file("1/new.jpg");
            waitForAllChanges(library);
            EXPECT_EQ(changeCount(cancelled), 0U);
        }
    }
}

TEST_F(Changes, NothingIsReportedAfterADisconnect) {
    for (int round = 0; round < 20; ++round) {
        Client leaving;
        leaving.list(path());
        file("sub/" + std::to_string(round) + ".jpg");
        if (round % 4 == 0) {
            waitForChange(leaving);
        }
        EXPECT_EQ(mrb_disconnect_v2(std::exchange(leaving.handle, 0)), MRB_ERR_NONE);
        const std::size_t before = leaving.events().size();
        fs::remove(path("sub/" + std::to_string(round) + ".jpg"));
        if (round % 10 == 9) {
            waitForAllChanges(library);
        }
        EXPECT_EQ(leaving.events().size(), before);
    }
}

TEST_F(Changes, AChangeDuringTheScanIsReportedAfterItsEnd) {
    library.pictures(100, 50);
    for (int round = 0; round < 10; ++round) {
        Client scanning;
        ASSERT_EQ(scanning.open(library.path()), MRB_ERR_NONE);
        int count = 0;
        while (count < 100) {
            mrb_get_item_count_v2(scanning.handle, &count);
        }
        // The first folder's files are there, so it is read and watched.
        library.file("1/during" + std::to_string(round) + ".jpg");
        EXPECT_EQ(waitForChange(scanning), MRB_EVENT_LIST_CHANGED);
        const std::vector<Event> events = scanning.events();
        EXPECT_EQ(events.at(events.size() - 2).event, MRB_EVENT_LIST_READY);
    }
}
