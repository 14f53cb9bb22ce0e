// Copying a selection: what arrives where, what is reported on the way, and how it is stopped.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <future>
#include <random>

#include "support/client.h"
#include "support/folder.h"
#include "support/sharing.h"

using support::Client;
using support::Folder;
using support::select;
using support::ShareEvent;
using support::Sharing;
using support::tree;
using testing::ElementsAre;
using testing::IsEmpty;

namespace fs = std::filesystem;

namespace {

timespec modifiedOf(const std::string &path) {
    struct stat status {};
    EXPECT_EQ(stat(path.c_str(), &status), 0) << path;
    return status.st_mtim;
}

// 2,000 small files in 20 folders.
void makeSmallFiles(const Folder &folder) {
    for (unsigned number = 0; number < 2000; ++number) {
        support::writeNoise(folder.path(std::to_string(number / 100) + "/" + std::to_string(number) + ".jpg"),
                            1000 + number, number);
    }
}

// A copy that waits at its first event, so that a test can act while it runs.
class Held {
  public:
    explicit Held(Sharing &sharing) {
        sharing.whenStarted([this](const ShareEvent & /*event*/) {
            started_.set_value();
            release_.get_future().wait();
        });
    }
    void waitUntilStarted() { started_.get_future().wait(); }
    void release() { release_.set_value(); }

  private:
    std::promise<void> started_;
    std::promise<void> release_;
};

class Copy : public support::CopyTest {};

} // namespace

TEST_F(Copy, OneFileArrivesInTheDestinationItself) {
    support::writeNoise(from.path("DCIM/100/a.jpg"), 70'000, 1);
    from.file("b.jpg", 10);
    client.list(from.path());
    select(client, {"a.jpg"});
    const ShareEvent end = sharing.copyAll(client, to.path());
    EXPECT_EQ(end.event, MRB_EVENT_SHARE_DONE);
    EXPECT_THAT(tree(to.path()), ElementsAre("a.jpg"));
    EXPECT_TRUE(support::areEqual(from.path("DCIM/100/a.jpg"), to.path("a.jpg")));
    EXPECT_EQ(end.status.total_file_count, 1U);
    EXPECT_EQ(end.status.done_file_count, 1U);
    EXPECT_EQ(end.status.total_file_size, 70'000U);
    EXPECT_EQ(end.status.success_file_size, 70'000U);
}

TEST_F(Copy, FilesKeepTheirFoldersBelowTheOneThatAllLieIn) {
    from.files({"DCIM/100/a.jpg", "DCIM/101/a.jpg", "DCIM/c.jpg", "d.jpg"}, 5);
    client.list(from.path());
    // Both files called "a.jpg", by their places in the list, and "c.jpg".
    const std::vector<std::string> names = client.all("name");
    for (std::size_t index = 0; index < names.size(); ++index) {
        if (names[index] == "a.jpg" || names[index] == "c.jpg") {
            mrb_toggle_select_v2(client.handle, static_cast<int>(index));
        }
    }
    EXPECT_EQ(sharing.copyAll(client, to.path()).event, MRB_EVENT_SHARE_DONE);
    EXPECT_THAT(tree(to.path()), ElementsAre("100", "100/a.jpg", "101", "101/a.jpg", "c.jpg"));
}

TEST_F(Copy, ASelectedFolderArrivesWithWhatTheListHoldsInIt) {
    from.files({"x/in/a.jpg", "x/in/deep/b.mp3", "x/in/notes.txt", "x/out.jpg"}, 5);
    from.folder("x/in/empty");
    client.list(from.path());
    select(client, {"in"});
    const ShareEvent end = sharing.copyAll(client, to.path());
    EXPECT_EQ(end.event, MRB_EVENT_SHARE_DONE);
    EXPECT_EQ(end.status.total_file_count, 2U);
    EXPECT_THAT(tree(to.path()), ElementsAre("in", "in/a.jpg", "in/deep", "in/deep/b.mp3", "in/empty"));
}

TEST_F(Copy, AFilteredFolderArrivesFiltered) {
    from.file("in/a.jpg", 5);
    from.file("in/b.mp3", 5);
    client.list({.path = from.path(), .contentType = "MUSIC"});
    EXPECT_EQ(mrb_set_navigation_v2(client.handle, MRB_NAVIGATION_FOLDER), MRB_ERR_NONE);
    select(client, {"in"});
    EXPECT_EQ(sharing.copyAll(client, to.path()).event, MRB_EVENT_SHARE_DONE);
    EXPECT_THAT(tree(to.path()), ElementsAre("in", "in/b.mp3"));
}

TEST_F(Copy, AFileSelectedTogetherWithItsFolderArrivesOnce) {
    from.file("in/a.jpg", 5);
    support::selectEverything(client, from.path());
    const ShareEvent end = sharing.copyAll(client, to.path());
    EXPECT_EQ(end.status.total_file_count, 1U);
    EXPECT_THAT(tree(to.path()), ElementsAre("in", "in/a.jpg"));
}

TEST_F(Copy, TwoThousandSmallFilesArriveByteForByte) {
    makeSmallFiles(from);
    support::selectEverything(client, from.path());
    const ShareEvent end = sharing.copyAll(client, to.path());
    EXPECT_EQ(end.event, MRB_EVENT_SHARE_DONE);
    EXPECT_EQ(end.status.done_file_count, 2000U);
    EXPECT_EQ(end.status.success_file_size, end.status.total_file_size);
    EXPECT_TRUE(support::contents(from.path()) == support::contents(to.path()));
}

TEST_F(Copy, ALargeFileArrivesByteForByteAndItsProgressIsReported) {
    constexpr std::size_t SIZE = 300'000'007;
    support::writeNoise(from.path("film.mp4"), SIZE, 1);
    support::selectEverything(client, from.path());
    const ShareEvent end = sharing.copyAll(client, to.path());
    EXPECT_EQ(end.event, MRB_EVENT_SHARE_DONE);
    EXPECT_TRUE(support::areEqual(from.path("film.mp4"), to.path("film.mp4")));
    for (const ShareEvent &event : sharing.events()) {
        EXPECT_EQ(event.status.total_file_size, SIZE);
        EXPECT_LE(event.status.success_file_size + event.status.progress_file_size, SIZE);
        if (event.event == MRB_EVENT_SHARE_PROGRESS && event.status.done_file_count == 0) {
            EXPECT_EQ(event.name(), "film.mp4");
            EXPECT_EQ(event.status.current_file_size, SIZE);
        }
    }
}

TEST_F(Copy, TimeStampsAreKept) {
    from.file("old.jpg", 10);
    from.setModified("old.jpg", 1'000'000'000);
    support::selectEverything(client, from.path());
    sharing.copyAll(client, to.path());
    EXPECT_EQ(modifiedOf(to.path("old.jpg")).tv_sec, 1'000'000'000);
}

TEST_F(Copy, TimeStampsAfter2038AreKept) {
    constexpr std::int64_t IN_2300 = 10'413'792'000;
    from.file("late.jpg", 10);
    from.setModified("late.jpg", IN_2300);
    ASSERT_EQ(modifiedOf(from.path("late.jpg")).tv_sec, IN_2300)
        << "the file system of the temporary folder keeps no such times; set TMPDIR to another one";
    support::selectEverything(client, from.path());
    sharing.copyAll(client, to.path());
    EXPECT_EQ(modifiedOf(to.path("late.jpg")).tv_sec, IN_2300);
}

TEST_F(Copy, ACopyKeepsReadPermissionsAndIsNotExecutable) {
    from.file("open.jpg", 1);
    from.file("private.jpg", 1);
    chmod(from.path("open.jpg").c_str(), 0755);
    chmod(from.path("private.jpg").c_str(), 0600);
    support::selectEverything(client, from.path());
    const mode_t mask = umask(022);
    sharing.copyAll(client, to.path());
    umask(mask);
    EXPECT_EQ(fs::status(to.path("open.jpg")).permissions(), fs::perms(0644));
    EXPECT_EQ(fs::status(to.path("private.jpg")).permissions(), fs::perms(0600));
}

TEST_F(Copy, NamesThatAreTakenGetANumberAndNothingIsReplaced) {
    from.file("a.jpg", 3);
    from.file("noext.tar.mp3", 3);
    to.file("a.jpg", 7);
    to.file("a (1).jpg", 8);
    to.folder("noext.tar.mp3");
    support::selectEverything(client, from.path());
    EXPECT_EQ(sharing.copyAll(client, to.path()).event, MRB_EVENT_SHARE_DONE);
    EXPECT_THAT(tree(to.path()),
                ElementsAre("a (1).jpg", "a (2).jpg", "a.jpg", "noext.tar (1).mp3", "noext.tar.mp3"));
    EXPECT_EQ(fs::file_size(to.path("a.jpg")), 7U);
    EXPECT_EQ(fs::file_size(to.path("a (1).jpg")), 8U);
    EXPECT_EQ(fs::file_size(to.path("a (2).jpg")), 3U);
}

TEST_F(Copy, AFolderThatIsThereIsFilled) {
    from.file("in/a.jpg", 3);
    to.file("in/a.jpg", 7);
    to.file("in/other.txt", 7);
    support::selectEverything(client, from.path());
    EXPECT_EQ(sharing.copyAll(client, to.path()).event, MRB_EVENT_SHARE_DONE);
    EXPECT_THAT(tree(to.path()), ElementsAre("in", "in/a (1).jpg", "in/a.jpg", "in/other.txt"));
}

TEST_F(Copy, LinksInTheDestinationAreNotFollowed) {
    const Folder elsewhere;
    from.file("in/a.jpg", 3);
    from.file("b.jpg", 3);
    to.link(elsewhere.path(), "in");
    to.link(elsewhere.path("stolen.jpg"), "b.jpg");
    support::selectEverything(client, from.path());
    EXPECT_EQ(sharing.copyAll(client, to.path()).event, MRB_EVENT_SHARE_DONE);
    EXPECT_THAT(tree(elsewhere.path()), IsEmpty());
    EXPECT_TRUE(fs::exists(to.path("in (1)/a.jpg")));
    EXPECT_TRUE(fs::exists(to.path("b (1).jpg")));
}

TEST_F(Copy, AFileInTheWayOfAFolderStays) {
    from.file("in/a.jpg", 3);
    to.file("in", 7);
    support::selectEverything(client, from.path());
    EXPECT_EQ(sharing.copyAll(client, to.path()).event, MRB_EVENT_SHARE_DONE);
    EXPECT_THAT(tree(to.path()), ElementsAre("in", "in (1)", "in (1)/a.jpg"));
}

TEST_F(Copy, NamesOfAnyBytesArrive) {
    from.files({"caf\xC3\xA9.jpg", "\xFF\xFE.jpg", "new\nline.jpg", "-rf.jpg", "a\\b:c*?.jpg"}, 3);
    support::selectEverything(client, from.path());
    EXPECT_EQ(sharing.copyAll(client, to.path()).event, MRB_EVENT_SHARE_DONE);
    EXPECT_TRUE(support::contents(from.path()) == support::contents(to.path()));
    for (const ShareEvent &event : sharing.events()) {
        EXPECT_TRUE(Json::Value(event.name()).asString() == event.name());
    }
}

TEST_F(Copy, IntoItsOwnFolderMakesCopiesNextToTheFiles) {
    from.file("a.jpg", 3);
    support::selectEverything(client, from.path());
    EXPECT_EQ(sharing.copyAll(client, from.path()).event, MRB_EVENT_SHARE_DONE);
    EXPECT_THAT(tree(from.path()), ElementsAre("a (1).jpg", "a.jpg"));
}

TEST_F(Copy, ADestinationMayBeAFileUri) {
    from.file("a.jpg", 3);
    to.folder("with space");
    support::selectEverything(client, from.path());
    EXPECT_EQ(sharing.copyAll(client, "file://" + to.path("with%20space")).event, MRB_EVENT_SHARE_DONE);
    EXPECT_THAT(tree(to.path()), ElementsAre("with space", "with space/a.jpg"));
}

TEST_F(Copy, EventsBeginWithTheStartAndEndWithOneEnd) {
    makeSmallFiles(from);
    support::selectEverything(client, from.path());
    sharing.copyAll(client, to.path());
    const std::vector<ShareEvent> events = sharing.events();
    EXPECT_EQ(events.front().event, MRB_EVENT_SHARE_STARTED);
    for (std::size_t index = 0; index < events.size(); ++index) {
        EXPECT_EQ(events[index].share, sharing.handle);
        EXPECT_EQ(events[index].status.total_file_count, 2000U);
        EXPECT_NE(events[index].thread, std::this_thread::get_id());
        EXPECT_EQ(events[index].event == MRB_EVENT_SHARE_STARTED, index == 0);
        EXPECT_EQ(support::isLastOfShare(events[index].event), index + 1 == events.size());
    }
}

TEST_F(Copy, ProgressIsReportedAtMostTenTimesASecondAndNeverGoesBack) {
    // Enough to last for some tenths of a second anywhere.
    for (unsigned number = 0; number < 6; ++number) {
        support::writeNoise(from.path(std::to_string(number) + ".mp4"), 60'000'000, number);
    }
    makeSmallFiles(from);
    support::selectEverything(client, from.path());
    sharing.copyAll(client, to.path());
    const std::vector<ShareEvent> events = sharing.events();
    std::uint64_t before = 0;
    for (std::size_t index = 0; index + 1 < events.size(); ++index) {
        const mrb_share_status_info_s &status = events[index].status;
        EXPECT_GE(status.success_file_size + status.progress_file_size, before);
        before = status.success_file_size + status.progress_file_size;
        if (index > 0) {
            EXPECT_GE(events[index].time - events[index - 1].time, std::chrono::milliseconds(100));
        }
    }
}

TEST_F(Copy, AStopAtAnyMomentLeavesWholeFilesOnly) {
    for (unsigned number = 0; number < 4; ++number) {
        support::writeNoise(from.path(std::to_string(number) + ".mp4"), 12'000'000, number);
    }
    for (unsigned number = 0; number < 200; ++number) {
        support::writeNoise(from.path("small/" + std::to_string(number) + ".jpg"), 5000, number);
    }
    support::selectEverything(client, from.path());
    const auto originals = support::contents(from.path());
    std::minstd_rand random{5};
    int stopped = 0;
    for (int round = 0; round < 50; ++round) {
        const Folder target;
        ASSERT_EQ(sharing.copy(client, target.path()), MRB_ERR_NONE);
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 40'000));
        const int code = mrb_stop_batch_process_v2(sharing.handle);
        const ShareEvent end = sharing.waitForEnd();
        // A stop after the end is refused, or changes nothing.
        EXPECT_TRUE(code == MRB_ERR_NONE || end.event == MRB_EVENT_SHARE_DONE);
        EXPECT_TRUE(end.event == MRB_EVENT_SHARE_STOPPED || end.event == MRB_EVENT_SHARE_DONE);
        stopped += end.event == MRB_EVENT_SHARE_STOPPED ? 1 : 0;
        const auto copies = support::contents(target.path());
        EXPECT_EQ(copies.size(), end.status.done_file_count);
        for (const auto &[path, bytes] : copies) {
            const auto original = originals.find(path);
            ASSERT_NE(original, originals.end()) << path;
            EXPECT_TRUE(original->second == bytes) << path;
        }
    }
    EXPECT_GT(stopped, 0);
}

TEST_F(Copy, AStopFromInsideTheCallbackEndsIt) {
    makeSmallFiles(from);
    support::selectEverything(client, from.path());
    int code = -1;
    sharing.whenStarted([&](const ShareEvent &event) { code = mrb_stop_batch_process_v2(event.share); });
    const ShareEvent end = sharing.copyAll(client, to.path());
    EXPECT_EQ(code, MRB_ERR_NONE);
    EXPECT_TRUE(end.event == MRB_EVENT_SHARE_STOPPED || end.event == MRB_EVENT_SHARE_DONE);
}

TEST_F(Copy, CallsFromInsideTheCallbackDoNotDeadlock) {
    from.file("a.jpg", 3);
    support::selectEverything(client, from.path());
    Sharing second;
    sharing.onEvent = [&](const ShareEvent &event) {
        if (event.event == MRB_EVENT_SHARE_DONE) {
            EXPECT_EQ(second.copy(client, to.path()), MRB_ERR_NONE);
            EXPECT_EQ(mrb_disconnect_v2(client.handle), MRB_ERR_NONE);
            client.handle = 0;
            EXPECT_EQ(mrb_stop_batch_process_v2(event.share), MRB_ERR_NONE);
        }
    };
    EXPECT_EQ(sharing.copyAll(client, to.path()).event, MRB_EVENT_SHARE_DONE);
    EXPECT_EQ(second.waitForEnd().event, MRB_EVENT_SHARE_DONE);
    EXPECT_THAT(tree(to.path()), ElementsAre("a (1).jpg", "a.jpg"));
}

TEST_F(Copy, ContinuesWhenItsListIsClosedOrReopened) {
    makeSmallFiles(from);
    for (const bool isClosed : {true, false}) {
        const Folder target;
        Client list;
        support::selectEverything(list, from.path());
        Held held(sharing);
        ASSERT_EQ(sharing.copy(list, target.path()), MRB_ERR_NONE);
        held.waitUntilStarted();
        if (isClosed) {
            // Outside its callback: returns although the share's callback still runs.
            held.release();
            EXPECT_EQ(mrb_disconnect_v2(list.handle), MRB_ERR_NONE);
            list.handle = 0;
        } else {
            EXPECT_EQ(list.open(target.path()), MRB_ERR_NONE);
            held.release();
        }
        const ShareEvent end = sharing.waitForEnd();
        sharing.onEvent = nullptr;
        EXPECT_EQ(end.event, MRB_EVENT_SHARE_DONE);
        EXPECT_EQ(end.status.done_file_count, 2000U);
    }
}

TEST_F(Copy, TheSelectionIsThatOfTheCall) {
    from.file("a.jpg", 3);
    from.file("b.jpg", 3);
    client.list(from.path());
    select(client, {"a.jpg"});
    ASSERT_EQ(sharing.copy(client, to.path()), MRB_ERR_NONE);
    mrb_select_all_v2(client.handle);
    sharing.waitForEnd();
    EXPECT_THAT(tree(to.path()), ElementsAre("a.jpg"));
}

TEST_F(Copy, AHandleIsValidUntilTheLastEventWasDelivered) {
    from.file("a.jpg", 3);
    support::selectEverything(client, from.path());
    sharing.copyAll(client, to.path());
    // The event thread delivers the next list's event after it has released the share.
    Client barrier;
    barrier.list(to.path());
    EXPECT_EQ(mrb_stop_batch_process_v2(sharing.handle), MRB_ERR_INVALID_HANDLE);
    EXPECT_EQ(mrb_stop_batch_process_v2(client.handle), MRB_ERR_INVALID_HANDLE);
    EXPECT_EQ(mrb_stop_batch_process_v2(0), MRB_ERR_INVALID_HANDLE);
}

TEST_F(Copy, ManyAtATimeAreIndependent) {
    makeSmallFiles(from);
    support::selectEverything(client, from.path());
    std::array<Sharing, 4> shares;
    for (Sharing &share : shares) {
        ASSERT_EQ(share.copy(client, to.path()), MRB_ERR_NONE);
    }
    for (Sharing &share : shares) {
        const ShareEvent end = share.waitForEnd();
        EXPECT_EQ(end.event, MRB_EVENT_SHARE_DONE);
        EXPECT_EQ(end.status.done_file_count, 2000U);
    }
    // Four of each, under names of their own.
    EXPECT_EQ(support::contents(to.path()).size(), 8000U);
}
