// A system that has no more watches, instances or descriptors: lists work, one line
// in the log says what will not be noticed.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/inotify.h>
#include <sys/resource.h>

#include <algorithm>
#include <fstream>

#include "base/descriptor.h"
#include "support/client.h"
#include "support/folder.h"
#include "support/own_process.h"

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

class Limits : public support::OwnProcess {
  protected:
    Limits() {
        for (const char *name : {"a.jpg", "1/b.jpg", "2/c.jpg", "3/d.jpg", "4/e.jpg"}) {
            folder.file(name);
        }
    }

    // Opens the list, which has to be complete; what the log said meanwhile.
    std::string listed() {
        testing::internal::CaptureStderr();
        EXPECT_EQ(client.list(folder.path()).event, MRB_EVENT_LIST_READY);
        EXPECT_EQ(client.count(), 9);
        // The watch is handed over after the event; what comes then is a fault as well.
        Client later;
        later.list("/proc/self/fd");
        return testing::internal::GetCapturedStderr();
    }

    // The log's lines that begin the sentence; the other list's are not counted.
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

// Waits until a list that can be watched has heard of a change made after all others.
void waitForAllNews() {
    const Folder folder;
    Client witness;
    witness.list(folder.path());
    folder.file("a.jpg");
    EXPECT_EQ(witness.waitFor([](const auto &events) { return events.size() > 1; }).event,
              MRB_EVENT_LIST_CHANGED);
}

} // namespace

TEST_F(Limits, WithoutInstancesAListIsNotWatched) {
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
    waitForAllNews();
    EXPECT_EQ(client.events().size(), 1U);
}

TEST_F(Limits, WithoutAnyWatchAListIsNotWatched) {
    if (!inside(Surroundings::LIMITS)) {
        return;
    }
    limit(WATCHES, 0);
    const std::string log = listed();
    EXPECT_EQ(lines(log, "Changes below"), 1U) << log;
    limit(WATCHES, 100);
    folder.file("new.jpg");
    waitForAllNews();
    EXPECT_EQ(client.events().size(), 1U);
}

TEST_F(Limits, WithoutWatchesForAllFoldersTheTopOneIsWatched) {
    if (!inside(Surroundings::LIMITS)) {
        return;
    }
    limit(WATCHES, 3);
    const std::string log = listed();
    EXPECT_EQ(lines(log, "Changes in the sub-folders of"), 1U) << log;
    limit(WATCHES, 100);
    folder.file("1/new.jpg");
    waitForAllNews();
    EXPECT_EQ(client.events().size(), 1U);
    folder.file("new.jpg");
    EXPECT_EQ(client.waitFor([](const auto &events) { return events.size() > 1; }).event,
              MRB_EVENT_LIST_CHANGED);
}

TEST_F(Limits, WithoutDescriptorsAListIsNotWatched) {
    if (!inside(Surroundings::PLAIN)) {
        return;
    }
    const Folder flat;
    flat.file("a.jpg");
    // After the last event of a list everything is open that a process needs once, and
    // nothing is being closed.
    Client first;
    first.list(flat.path());
    flat.file("b.jpg");
    first.waitFor([](const auto &events) { return events.size() > 1; });
    testing::internal::CaptureStderr();
    const mrb::Descriptor next(open("/dev/null", O_RDONLY | O_CLOEXEC));
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
    // One descriptor more, for the folder.
    const rlimit tight{static_cast<rlim_t>(next.number()) + 2, before.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &tight), 0);
    EXPECT_EQ(client.list(flat.path()).event, MRB_EVENT_LIST_READY);
    EXPECT_EQ(client.count(), 2);
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &before), 0);
    const std::string log = testing::internal::GetCapturedStderr();
    EXPECT_NE(log.find("Changes below " + flat.path() + " will not be noticed"), std::string::npos) << log;
    EXPECT_EQ(log.find("Changes", log.find("Changes") + 1), std::string::npos) << log;
    flat.file("c.jpg");
    waitForAllNews();
    EXPECT_EQ(client.events().size(), 1U);
}
