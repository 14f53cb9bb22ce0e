// A process ends whatever its lists are doing. Each test's process is a child.

#include <gtest/gtest.h>

#include <cstdlib>
#include <future>

#include "mrb/storage.h"
#include "support/client.h"
#include "support/folder.h"

using support::Folder;

namespace {

// Lists that nobody closes: what a script leaves open when it ends.
support::Client &forgotten() {
    static auto &client = *new support::Client;
    return client;
}

class Exit : public testing::Test {
  protected:
    // A child of a process with threads must begin anew, not continue as a copy.
    void SetUp() override { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

} // namespace

TEST_F(Exit, AProcessMayEndDuringAScan) {
    const Folder folder;
    folder.pictures(100, 100);
    EXPECT_EXIT(
        {
            forgotten().open(folder.path());
            std::exit(7);
        },
        testing::ExitedWithCode(7), "");
}

TEST_F(Exit, AProcessMayEndInsideACallback) {
    const Folder folder;
    EXPECT_EXIT(
        {
            forgotten().onEvent = [](const support::Event & /*event*/) { std::exit(7); };
            forgotten().list(folder.path());
            std::promise<void>().get_future().wait_for(support::LIMIT);
        },
        testing::ExitedWithCode(7), "");
}

TEST_F(Exit, ACallbackThatNeverReturnsHoldsTheEndUpForABoundedTime) {
    const Folder folder;
    EXPECT_EXIT(
        {
            std::promise<void> entered;
            static std::promise<void> never;
            forgotten().onEvent = [&](const support::Event & /*event*/) {
                entered.set_value();
                never.get_future().wait();
            };
            forgotten().open(folder.path());
            entered.get_future().wait();
            std::exit(7);
        },
        testing::ExitedWithCode(7), "");
}

TEST_F(Exit, CallsAfterTheEndAreRefusedNotFatal) {
    const Folder folder;
    EXPECT_EXIT(
        {
            // Registered before the framework is first used, so it runs after its end.
            static support::Client late;
            static const std::string path = folder.path();
            std::atexit([] {
                if (late.open(path) != MRB_ERR_NOT_INITIALIZED || mrb_unset_usb_callback() == MRB_ERR_NONE) {
                    std::_Exit(1);
                }
            });
            forgotten().list(folder.path());
            std::exit(7);
        },
        testing::ExitedWithCode(7), "");
}
