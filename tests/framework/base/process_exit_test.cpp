// The exit of a process in which a thread or a handler hangs. Each test's process is a child.

#include "base/process_exit.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <future>
#include <mutex>
#include <thread>

#include "base/loading.h"

namespace {

class ProcessExit : public testing::Test {
  protected:
    ProcessExit() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

void hang() { std::promise<void>().get_future().wait(); }

bool finishNever(std::chrono::steady_clock::time_point /*deadline*/) {
    hang();
    return true;
}
bool finishAtOnce(std::chrono::steady_clock::time_point /*deadline*/) { return true; }
bool failToFinish(std::chrono::steady_clock::time_point /*deadline*/) { return false; }

} // namespace

TEST_F(ProcessExit, WhatDoesNotReturnIsCutOffWithTheStatusOfTheProcess) {
    EXPECT_EXIT(
        {
            mrb::finishAtExit(finishNever);
            std::exit(7);
        },
        testing::ExitedWithCode(7), "");
}

TEST_F(ProcessExit, AForeignHandlerThatHangsIsCutOffWhereAThreadWasDetached) {
    EXPECT_EXIT(
        {
            std::atexit(hang);
            mrb::finishAtExit(failToFinish);
            std::exit(7);
        },
        testing::ExitedWithCode(7), "");
}

TEST_F(ProcessExit, AProcessInWhichAThreadStillLoadsIsCutOff) {
    EXPECT_EXIT(
        {
            std::atexit(hang);
            mrb::finishAtExit(finishAtOnce);
            std::promise<void> loading;
            std::thread([&] {
                const mrb::LoadingTurn turn;
                loading.set_value();
                hang();
            }).detach();
            loading.get_future().wait();
            std::exit(7);
        },
        testing::ExitedWithCode(7), "");
}

TEST_F(ProcessExit, ForeignHandlersHaveTheirTimeWhereAllThreadsEnded) {
    EXPECT_EXIT(
        {
            std::atexit([] {
                std::this_thread::sleep_for(mrb::EXIT_LIMIT + std::chrono::seconds(1));
                std::_Exit(9);
            });
            mrb::finishAtExit(finishAtOnce);
            mrb::finishAtExit(finishAtOnce);
            std::exit(7);
        },
        testing::ExitedWithCode(9), "");
}

TEST_F(ProcessExit, AllThatIsToBeFinishedSharesOneDeadline) {
    EXPECT_EXIT(
        {
            static std::chrono::steady_clock::time_point first;
            const auto check = [](std::chrono::steady_clock::time_point deadline) {
                if (first == std::chrono::steady_clock::time_point() || first == deadline) {
                    first = deadline;
                    return true;
                }
                std::_Exit(1);
            };
            static mrb::FinishAtExit *const finish = check;
            mrb::finishAtExit(*finish);
            mrb::finishAtExit(*finish);
            std::exit(7);
        },
        testing::ExitedWithCode(7), "");
}
