// A system without free watches, instances or descriptors: lists work, and one line
// in the log says which changes will not be noticed.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/inotify.h>
#include <sys/resource.h>

#include <algorithm>
#include <fstream>

#include "base/descriptor.h"
#include "base/log.h"
#include "support/client.h"
#include "support/folder.h"
#include "support/own_process.h"
#include "watch/folder_watch.h"

using support::Client;
using support::Folder;
using support::Surroundings;

namespace {

constexpr const char *INSTANCES = "/proc/sys/user/max_inotify_instances";
constexpr const char *WATCHES = "/proc/sys/user/max_inotify_watches";

void limit(const char *what, int most) {
    std::ofstream file(what);
    file << most << std::flush;
    ASSERT_TRUE(file) << what;
}

class SystemLimits : public support::OwnProcess {
  protected:
    SystemLimits() { folder.files({"a.jpg", "1/b.jpg", "2/c.jpg", "3/d.jpg", "4/e.jpg"}); }

    // Opens the list, which has to be complete; the log of that time.
    std::string listed() {
        testing::internal::CaptureStderr();
        EXPECT_EQ(client.list(folder.path()).event, MRB_EVENT_LIST_READY);
        EXPECT_EQ(client.count(), 9);
        // The watch is handed over after the event; a change reported by then is a fault as well.
        Client later;
        later.list("/proc/self/fd");
        return testing::internal::GetCapturedStderr();
    }

    // The log's lines that begin with the sentence; the other list's are not counted.
    [[nodiscard]] std::size_t lines(const std::string &log, const std::string &sentence) const {
        std::size_t count = 0;
        const std::string wanted = sentence + " " + folder.path() + " will not be noticed";
        for (std::size_t at = 0; (at = log.find(wanted, at)) != std::string::npos; ++at) {
            ++count;
        }
        return count;
    }

    const Folder folder;
    Client client;
};

// Waits until a list that can be watched has reported a change made after all others.
void waitForAllChanges() {
    const Folder folder;
    Client witness;
    witness.list(folder.path());
    folder.file("a.jpg");
    EXPECT_EQ(witness.waitFor([](const auto &events) { return events.size() > 1; }).event,
              MRB_EVENT_LIST_CHANGED);
}

} // namespace

TEST_F(SystemLimits, WithoutInstancesAListIsNotWatched) {
    if (!inside(Surroundings::LIMITS)) {
        return;
    }
    limit(INSTANCES, 0);
    ASSERT_LT(inotify_init1(IN_CLOEXEC), 0);
    const std::string log = listed();
    EXPECT_EQ(lines(log, "Changes below"), 1U) << log;
    limit(INSTANCES, 100);
    folder.file("new.jpg");
    folder.file("1/new.jpg");
    waitForAllChanges();
    EXPECT_EQ(client.events().size(), 1U);
}

TEST_F(SystemLimits, WithoutAnyWatchAListIsNotWatched) {
    if (!inside(Surroundings::LIMITS)) {
        return;
    }
    limit(WATCHES, 0);
    const std::string log = listed();
    EXPECT_EQ(lines(log, "Changes below"), 1U) << log;
    limit(WATCHES, 100);
    folder.file("new.jpg");
    waitForAllChanges();
    EXPECT_EQ(client.events().size(), 1U);
}

TEST_F(SystemLimits, WithoutWatchesForAllFoldersTheTopOneIsWatched) {
    if (!inside(Surroundings::LIMITS)) {
        return;
    }
    limit(WATCHES, 3);
    const std::string log = listed();
    EXPECT_EQ(lines(log, "Changes in the sub-folders of"), 1U) << log;
    limit(WATCHES, 100);
    folder.file("1/new.jpg");
    waitForAllChanges();
    EXPECT_EQ(client.events().size(), 1U);
    folder.file("new.jpg");
    EXPECT_EQ(client.waitFor([](const auto &events) { return events.size() > 1; }).event,
              MRB_EVENT_LIST_CHANGED);
}

// Without a list, whose threads a sanitizer could not start then.
TEST_F(SystemLimits, WithoutDescriptorsNothingIsWatched) {
    if (!inside(Surroundings::PLAIN)) {
        return;
    }
    testing::internal::CaptureStderr();
    // The first line costs the log, and a sanitizer that examines it, a descriptor.
    MRB_LOG_WARNING("Descriptors are about to run out.");
    const mrb::FolderWatch first(folder.path()); // so does the first object of a class with virtual functions
    const mrb::Descriptor opened(open(folder.path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
    const rlimit tight{static_cast<rlim_t>(opened.fd()) + 1, before.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &tight), 0);
    mrb::FolderWatch watch(folder.path());
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &before), 0);
    watch.aboutToRead(mrb::ROOT_FOLDER, opened.fd());
    EXPECT_LT(watch.fd(), 0);
    const std::string log = testing::internal::GetCapturedStderr();
    EXPECT_EQ(lines(log, "Changes below"), 1U) << log;
}
