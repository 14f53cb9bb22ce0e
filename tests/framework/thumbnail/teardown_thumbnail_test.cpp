// A process ends with thumbnail requests under way. Each test's process is a child.

#include <gtest/gtest.h>

#include <cstdlib>
#include <future>
#include <memory>
#include <string>

#include "support/client.h"
#include "support/folder.h"
#include "support/programs.h"
#include "support/thumbnails.h"

namespace {

// As in teardown_process_test.cpp: parent and child share the folder.
class TeardownThumbnail : public testing::Test {
  protected:
    TeardownThumbnail() {
        const char *inherited = std::getenv(VARIABLE);
        if (inherited == nullptr) {
            owned_ = std::make_unique<support::Folder>();
            support::makePicture(owned_->path("a.jpg"), 1600, 1200);
            support::makePicture(owned_->path("a.heic"), 600, 400);
            support::makePicture(owned_->path("a.png"), 800, 600);
            support::ffmpeg({"-f", "lavfi", "-i", "testsrc=s=320x180:r=25:d=5", "-c:v", "libx264", "-preset",
                             "ultrafast", "-g", "1000", owned_->path("a.mp4")});
            setenv(VARIABLE, owned_->path().c_str(), 1);
        }
        path = std::getenv(VARIABLE);
        GTEST_FLAG_SET(death_test_style, "threadsafe");
    }
    ~TeardownThumbnail() override { unsetenv(VARIABLE); }

    // A client that is never ended, with many requests of every kind.
    support::Thumbnails &busy() const {
        static auto &client = *new support::Thumbnails;
        for (int size = 20; size < 60; ++size) {
            for (const char *name : {"/a.jpg", "/a.heic", "/a.png", "/a.mp4"}) {
                client.request(support::ThumbnailOptions{
                    .path = path + name, .width = size, .height = size, .frames = 5});
            }
        }
        return client;
    }

    std::string path;

  private:
    static constexpr const char *VARIABLE = "THUMBNAIL_TEST_FOLDER";
    std::unique_ptr<support::Folder> owned_;
};

} // namespace

TEST_F(TeardownThumbnail, AProcessMayEndBeforeTheDecodersAreLoaded) {
    EXPECT_EXIT(
        {
            busy();
            std::exit(7);
        },
        testing::ExitedWithCode(7), "");
}

TEST_F(TeardownThumbnail, AProcessMayEndDuringDecodes) {
    for (const char *name : {"/a.jpg", "/a.heic", "/a.png", "/a.mp4"}) {
        SCOPED_TRACE(name);
        EXPECT_EXIT(
            {
                support::Thumbnails &client = busy();
                // One of each kind was decoded, so their libraries are in full use.
                client.onResult = nullptr;
                const std::size_t number =
                    client.request(support::ThumbnailOptions{.path = path + name, .frames = 5});
                while (client.resultCount(number) == 0) {
                    std::this_thread::yield();
                }
                std::exit(7);
            },
            testing::ExitedWithCode(7), "");
    }
}

TEST_F(TeardownThumbnail, AProcessMayEndInsideAResultCallback) {
    EXPECT_EXIT(
        {
            static auto &client = *new support::Thumbnails;
            client.onResult = [](std::size_t, thumb_result_s &) { std::exit(7); };
            client.request(support::ThumbnailOptions{.path = path + "/a.jpg"});
            std::promise<void>().get_future().wait_for(support::LIMIT);
        },
        testing::ExitedWithCode(7), "");
}

TEST_F(TeardownThumbnail, AResultCallbackThatNeverReturnsDelaysTheExitForABoundedTime) {
    EXPECT_EXIT(
        {
            static auto &client = *new support::Thumbnails;
            std::promise<void> entered;
            static auto &never = *new std::promise<void>;
            client.onResult = [&](std::size_t, thumb_result_s &) {
                entered.set_value();
                never.get_future().wait();
            };
            client.request(support::ThumbnailOptions{.path = path + "/a.jpg"});
            entered.get_future().wait();
            std::exit(7);
        },
        testing::ExitedWithCode(7), "");
}

TEST_F(TeardownThumbnail, RequestsAfterTheEndAreRefusedNotFatal) {
    EXPECT_EXIT(
        {
            // Registered before the service is first used, so it runs after its end.
            std::atexit([] {
                _thumb_request request{};
                request.origin_path = "/a";
                request.callback = [](int, thumb_result_s *, void *) { return 0; };
                if (thumbnail_request_async(request) != MRB_ERR_NOT_INITIALIZED ||
                    thumbnail_init() != MRB_ERR_NOT_INITIALIZED) {
                    std::_Exit(1);
                }
            });
            busy();
            std::exit(7);
        },
        testing::ExitedWithCode(7), "");
}
