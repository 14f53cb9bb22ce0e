// A process ends while its lists, copies and devices are under way. Each test's process is a child.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <future>
#include <memory>
#include <string>

#include "mrb/storage.h"
#include "support/client.h"
#include "support/fields.h"
#include "support/folder.h"
#include "support/programs.h"
#include "support/sharing.h"

namespace {

// Lists that are never closed: what a script leaves open when it ends.
support::Client &forgotten() {
    static auto &client = *new support::Client;
    return client;
}

// Each test with a folder that parent and child share: the child runs the test
// from its beginning, and never reaches its end, where folders are removed.
class TeardownProcess : public testing::Test {
  protected:
    TeardownProcess() {
        const char *inherited = std::getenv(VARIABLE);
        if (inherited == nullptr) {
            owned_ = std::make_unique<support::Folder>();
            owned_->pictures(30, 100);
            setenv(VARIABLE, owned_->path().c_str(), 1);
        }
        path = std::getenv(VARIABLE);
        // A child of a process with threads must start afresh, not continue as a copy.
        GTEST_FLAG_SET(death_test_style, "threadsafe");
    }
    ~TeardownProcess() override { unsetenv(VARIABLE); }

    std::string path;

  private:
    static constexpr const char *VARIABLE = "FRAMEWORK_TEST_FOLDER";
    std::unique_ptr<support::Folder> owned_;
};

} // namespace

TEST_F(TeardownProcess, AProcessMayEndDuringAScan) {
    EXPECT_EXIT(
        {
            forgotten().open(path);
            std::exit(7);
        },
        testing::ExitedWithCode(7), "");
}

TEST_F(TeardownProcess, AProcessMayEndWhileItsFoldersAreWatchedAndChange) {
    EXPECT_EXIT(
        {
            forgotten().list(path);
            const std::string file = path + "/1/new.jpg";
            if (std::rename((path + "/1/1.jpg").c_str(), file.c_str()) != 0) {
                std::_Exit(1);
            }
            std::exit(7);
        },
        testing::ExitedWithCode(7), "");
}

TEST_F(TeardownProcess, AProcessMayEndDuringACopyAndLeavesWholeFilesOnly) {
    const std::string media = path + "/media";
    const std::string copies = path + "/copies";
    if (std::filesystem::create_directory(copies)) {
        for (unsigned number = 0; number < 8; ++number) {
            support::writeNoise(media + "/" + std::to_string(number) + ".mp4", 30'000'000, number);
        }
    }
    EXPECT_EXIT(
        {
            static auto &sharing = *new support::Sharing;
            support::selectEverything(forgotten(), media);
            sharing.copy(forgotten(), copies);
            sharing.waitFor([](const auto &events) { return !events.empty(); });
            std::exit(7);
        },
        testing::ExitedWithCode(7), "");
    for (const std::string &name : support::tree(copies)) {
        EXPECT_TRUE(
            support::areEqual(std::filesystem::path(media) / name, std::filesystem::path(copies) / name))
            << name;
    }
}

TEST_F(TeardownProcess, AProcessMayEndInsideACallback) {
    EXPECT_EXIT(
        {
            forgotten().onEvent = [](const support::Event & /*event*/) { std::exit(7); };
            forgotten().list(path);
            std::promise<void>().get_future().wait_for(support::LIMIT);
        },
        testing::ExitedWithCode(7), "");
}

// As after a program that was stopped while it created the file.
TEST_F(TeardownProcess, AProcessMayEndWhileAnotherOneHoldsItsCache) {
    EXPECT_EXIT(
        {
            const std::string lock = std::string(std::getenv("MRB_CACHE_FOLDER")) + "/lock";
            const int held = open(lock.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR);
            if (flock(held, LOCK_EX) != 0) {
                std::_Exit(1);
            }
            support::Client &client = forgotten();
            client.list(path);
            const int picture = client.count() - 1;
            // Neither call waits for the other process, and the program ends while it holds the cache.
            const auto count = [&] {
                return support::fieldOf(client, picture, mrb_get_item_value_int_v2, "PLAYED_COUNT", 0);
            };
            const bool isLate = count().first == MRB_ERR_TIMEOUT;
            const int written = mrb_set_item_value_int_v2(client.handle, "PLAYED_COUNT", 3);
            const bool isRead = count() == std::make_pair(int{MRB_ERR_NONE}, 3);
            std::exit(isLate && written == MRB_ERR_NONE && isRead ? 7 : 2);
        },
        testing::ExitedWithCode(7), "");
}

TEST_F(TeardownProcess, ACallbackThatNeverReturnsDelaysTheExitForABoundedTime) {
    EXPECT_EXIT(
        {
            std::promise<void> entered;
            static auto &never = *new std::promise<void>;
            forgotten().onEvent = [&](const support::Event & /*event*/) {
                entered.set_value();
                never.get_future().wait();
            };
            forgotten().open(path);
            entered.get_future().wait();
            std::exit(7);
        },
        testing::ExitedWithCode(7), "");
}

TEST_F(TeardownProcess, CallsAfterTheEndAreRefusedNotFatal) {
    EXPECT_EXIT(
        {
            // Registered before the framework is first used, so it runs after its end.
            static support::Client late;
            static const std::string again = path;
            std::atexit([] {
                if (late.open(again) != MRB_ERR_NOT_INITIALIZED || mrb_unset_usb_callback() != MRB_ERR_NONE) {
                    std::_Exit(1);
                }
            });
            forgotten().list(path);
            std::exit(7);
        },
        testing::ExitedWithCode(7), "");
}

TEST_F(TeardownProcess, AProcessMayEndWhileItListensForDevicesAndInsideTheirCallback) {
    for (const bool inside : {false, true}) {
        SCOPED_TRACE(inside);
        EXPECT_EXIT(
            {
                const std::string device = path + "/offered";
                setenv("MRB_DEVICES", device.c_str(), 1);
                static bool endsInside = inside;
                static auto &notified = *new std::promise<void>; // main waits on it to the end
                mrb_set_usb_callback(
                    [](void *, mrb_storage_event_e, _mrb_storage_s *&) {
                        if (endsInside) {
                            std::exit(7);
                        }
                        notified.set_value();
                    },
                    nullptr);
                std::filesystem::create_directory(device);
                notified.get_future().wait_for(support::LIMIT);
                std::exit(7);
            },
            testing::ExitedWithCode(7), "");
        std::filesystem::remove(path + "/offered");
    }
}

TEST_F(TeardownProcess, DeviceCallsAfterTheEndAreRefusedNotFatal) {
    EXPECT_EXIT(
        {
            const auto set = [] {
                return mrb_set_usb_callback([](void *, mrb_storage_event_e, _mrb_storage_s *&) {}, nullptr);
            };
            // Registered before the service is first used, so it runs after its end.
            static const auto late = set;
            std::atexit([] { std::_Exit(late() == MRB_ERR_NOT_INITIALIZED ? 7 : 1); });
            set();
            std::exit(1);
        },
        testing::ExitedWithCode(7), "");
}

TEST_F(TeardownProcess, EventsAreWholeToTheLast) {
    EXPECT_EXIT(
        {
            // The framework exists, but nothing that it creates on first use: all of that would
            // be destroyed before `late` is.
            mrb_disconnect_v2(1);
            static const struct Late {
                std::string path;
                ~Late() {
                    support::Client client;
                    std::_Exit(client.list(path).data["item_count"].isInt() ? 7 : 1);
                }
            } late{path};
            forgotten().list(path);
            std::exit(1);
        },
        testing::ExitedWithCode(7), "");
}

// Sanitizers do not allow the modules to be loaded in the way that this takes.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
TEST_F(TeardownProcess, NothingThatAModuleLinksIsTornDownUnderItsThreads) {
    const support::Folder work;
    work.folder("copies");
    // The loader writes down where it finds which symbol.
    support::shell(work.path(), "env LD_DEBUG=bindings LD_DEBUG_OUTPUT=bindings " +
                                    support::commandOf(COPY_PROGRAM) + " " + path + " " +
                                    work.path("copies") + " look");
    std::size_t forgotten = 0;
    for (const auto &file : std::filesystem::directory_iterator(work.path())) {
        std::ifstream lines(file.path());
        for (std::string line; std::getline(lines, line);) {
            const std::size_t where = line.find(" to ");
            if (line.find("`__cxa_atexit'") != std::string::npos && line.find("/libtag.so") < where) {
                EXPECT_NE(line.find("/libmrb-readers.so", where), std::string::npos) << line;
                ++forgotten;
            }
        }
    }
    EXPECT_GT(forgotten, 0U);
}
#endif
