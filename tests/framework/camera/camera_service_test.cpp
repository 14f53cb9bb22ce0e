// The threads of cameras: order, timeouts, and cameras that hang, fail or are claimed by others.
// The cameras are scripted, since no real one does such things on request.

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <latch>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>

#include "camera/camera_service.h"
#include "support/client.h"

using mrb::Camera;
using mrb::CameraAddress;
using mrb::CameraService;
using mrb::CancellationToken;
using mrb::Status;
using std::chrono::milliseconds;

namespace {

class TestCamera final : public Camera {
  public:
    explicit TestCamera(std::atomic<int> &open) : open_(open) { ++open_; }
    ~TestCamera() override { --open_; }
    TestCamera(const TestCamera &) = delete;
    TestCamera &operator=(const TestCamera &) = delete;

    void cancelWith(CancellationToken cancellation) override { cancellation_ = std::move(cancellation); }
    Status readSizes(mrb::CameraSizes & /*sizes*/) override { return {}; }
    Status listFiles(const std::string & /*folder*/, std::vector<std::string> & /*names*/) override {
        return {};
    }
    Status listFolders(const std::string & /*folder*/, std::vector<std::string> & /*names*/) override {
        return {};
    }
    Status readStatus(const mrb::CameraPath & /*file*/, mrb::CameraFileStatus & /*status*/) override {
        return {};
    }
    Status readAt(const mrb::CameraPath & /*file*/, std::uint64_t /*offset*/, char * /*buffer*/,
                  std::size_t /*length*/, std::size_t & /*got*/) override {
        return {};
    }
    Status read(const mrb::CameraPath & /*file*/, mrb::CameraPart /*part*/,
                const Consumer & /*take*/) override {
        return {};
    }

    // Works, and reports progress, until it is cancelled.
    Status workUntilStopped() const {
        while (!cancellation_.isCancelled()) {
            std::this_thread::yield();
        }
        return Status::cancelled();
    }

  private:
    std::atomic<int> &open_;
    CancellationToken cancellation_;
};

class TestLibrary final : public mrb::CameraLibrary {
  public:
    mrb::CameraModel modelOf(const CameraAddress & /*address*/) override { return {}; }
    std::unique_ptr<Camera> open(const CameraAddress & /*address*/, Status &status) override {
        ++opened;
        if (!refusal.ok()) {
            status = refusal;
            return nullptr;
        }
        return std::make_unique<TestCamera>(nowOpen);
    }

    Status refusal;
    std::atomic<int> opened = 0;
    std::atomic<int> nowOpen = 0;
};

Status nothing(Camera & /*camera*/) { return {}; }

class CameraServiceTest : public testing::Test {
  protected:
    static constexpr milliseconds LONG = support::LIMIT;

    CameraService &service(milliseconds silence = LONG, milliseconds linger = LONG) {
        service_ = std::make_unique<CameraService>([this]() -> mrb::CameraLibrary & { return library; },
                                                   CameraService::Limits{silence, linger});
        return *service_;
    }

    const CameraAddress one{"usb:001,001", 1, 1};
    const CameraAddress two{"usb:001,002", 1, 1};
    TestLibrary library;

  private:
    std::unique_ptr<CameraService> service_;
};

} // namespace

TEST_F(CameraServiceTest, ACameraHasOneThreadAndIsOpenedOnce) {
    CameraService &cameras = service();
    std::set<std::thread::id> threads;
    for (int round = 0; round < 20; ++round) {
        EXPECT_EQ(cameras
                      .run(one,
                           [&](Camera & /*camera*/) {
                               threads.insert(std::this_thread::get_id());
                               return Status();
                           })
                      .code,
                  MRB_ERR_NONE);
    }
    EXPECT_EQ(threads.size(), 1U);
    EXPECT_EQ(threads.count(std::this_thread::get_id()), 0U);
    EXPECT_EQ(library.opened, 1);
}

TEST_F(CameraServiceTest, RequestsToACameraAreServedInOrder) {
    CameraService &cameras = service();
    std::latch go(1);
    std::string order;
    const auto first = cameras.start(one, [&](Camera & /*camera*/) {
        go.wait();
        order += 'a';
        return Status();
    });
    const auto second = cameras.start(one, [&](Camera & /*camera*/) {
        order += 'b';
        return Status();
    });
    // Another camera does not wait.
    EXPECT_EQ(cameras.run(two, nothing).code, MRB_ERR_NONE);
    go.count_down();
    EXPECT_EQ(cameras.wait(second).code, MRB_ERR_NONE);
    EXPECT_EQ(cameras.wait(first).code, MRB_ERR_NONE);
    EXPECT_EQ(order, "ab");
}

TEST_F(CameraServiceTest, ACameraIsReleasedSoonAfterItsLastRequest) {
    CameraService &cameras = service(LONG, milliseconds(1));
    EXPECT_EQ(cameras.run(one, nothing).code, MRB_ERR_NONE);
    EXPECT_TRUE(support::waitUntil([this] { return library.nowOpen == 0; }));
    EXPECT_EQ(cameras.run(one, nothing).code, MRB_ERR_NONE);
    EXPECT_EQ(library.opened, 2);
}

TEST_F(CameraServiceTest, ARefreshReopensIt) {
    CameraService &cameras = service();
    cameras.refresh(one); // no effect: the camera is not open
    EXPECT_TRUE(cameras.run(one, nothing).ok());
    cameras.refresh(one);
    EXPECT_TRUE(cameras.run(one, nothing).ok());
    EXPECT_TRUE(cameras.run(one, nothing).ok());
    EXPECT_EQ(library.opened, 2);
    EXPECT_EQ(library.nowOpen, 1);
}

TEST_F(CameraServiceTest, OneThatAnotherProgramHoldsIsBusyForAllCallers) {
    library.refusal = Status::busy("Could not claim the USB device");
    CameraService &cameras = service();
    for (int round = 0; round < 3; ++round) {
        const Status status = cameras.run(one, nothing);
        EXPECT_EQ(status.code, MRB_ERR_BUSY);
        EXPECT_EQ(status.message, "Could not claim the USB device");
    }
    library.refusal = {};
    EXPECT_EQ(cameras.run(one, nothing).code, MRB_ERR_NONE) << "it was given back";
}

TEST_F(CameraServiceTest, OneThatFailedIsReopened) {
    CameraService &cameras = service();
    EXPECT_EQ(cameras.run(one, [](Camera &) { return Status::ioError("cable"); }).message, "cable");
    EXPECT_EQ(cameras.run(one, nothing).code, MRB_ERR_NONE);
    EXPECT_EQ(library.opened, 2);
}

// Each driver has an error of its own for a transfer to a missing camera.
TEST_F(CameraServiceTest, OneThatLeftIsReportedAsRemovedWhateverItsDriverReturns) {
    CameraService &cameras = service();
    for (const int words : {MRB_ERR_IO, MRB_ERR_PROTOCOL, MRB_ERR_DEVICE_REMOVED}) {
        library.refusal = {};
        const Status status = cameras.run(one, [&](Camera & /*camera*/) {
            library.refusal = Status::deviceRemoved("No such device");
            return Status{words, "cable"};
        });
        EXPECT_EQ(status.code, MRB_ERR_DEVICE_REMOVED) << words;
        EXPECT_EQ(library.nowOpen, 0);
    }
}

// Requests for missing files are common; opening a camera is slow.
TEST_F(CameraServiceTest, OneThatMissesAFileAndAnswersStaysOpen) {
    CameraService &cameras = service();
    EXPECT_EQ(cameras.run(one, [](Camera &) { return Status::notFound("a.jpg"); }).message, "a.jpg");
    EXPECT_EQ(cameras.run(one, nothing).code, MRB_ERR_NONE);
    EXPECT_EQ(library.opened, 1);
}

TEST_F(CameraServiceTest, ANewOneAtTheSamePortIsAnother) {
    CameraService &cameras = service();
    CameraAddress next = one;
    next.arrival = one.arrival + 1;
    std::latch answer(1);
    const auto hangs = cameras.start(one, [&answer](Camera & /*camera*/) {
        answer.wait();
        return Status();
    });
    EXPECT_EQ(cameras.run(next, nothing).code, MRB_ERR_NONE) << "it waits for no other camera";
    answer.count_down();
    EXPECT_EQ(cameras.wait(hangs).code, MRB_ERR_NONE);
    EXPECT_EQ(library.opened, 2);
}

TEST_F(CameraServiceTest, WhatEndedIsNotifiedOnTheCamerasThread) {
    CameraService &cameras = service();
    std::promise<Status> ended;
    std::thread::id worked;
    std::thread::id notified;
    cameras.start(
        one,
        [&worked](Camera & /*camera*/) {
            worked = std::this_thread::get_id();
            return Status::notSupported("Not this one.");
        },
        [&](const Status &status) {
            notified = std::this_thread::get_id();
            ended.set_value(status);
        });
    EXPECT_EQ(ended.get_future().get().message, "Not this one.");
    EXPECT_EQ(worked, notified);
}

TEST_F(CameraServiceTest, OneThatHangsIsWaitedForUntilTheTimeout) {
    CameraService &cameras = service(milliseconds(50));
    std::latch answer(1);
    const Status status = cameras.run(one, [&answer](Camera & /*camera*/) {
        answer.wait();
        return Status();
    });
    EXPECT_EQ(status.code, MRB_ERR_TIMEOUT);
    EXPECT_EQ(status.message, "The camera does not answer.");
    // The next caller does not wait again.
    EXPECT_EQ(cameras.run(one, nothing).code, MRB_ERR_TIMEOUT);
    // Another camera is not blocked.
    EXPECT_EQ(cameras.run(two, nothing).code, MRB_ERR_NONE);
    answer.count_down();
    EXPECT_TRUE(support::waitUntil([&] { return cameras.run(one, nothing).ok(); }));
}

TEST_F(CameraServiceTest, AShortTimeoutIsNotSpentAgainOnOneThatHangs) {
    CameraService &cameras = service(LONG);
    std::latch answer(1);
    const auto hangs = cameras.start(one, [&answer](Camera & /*camera*/) {
        answer.wait();
        return Status();
    });
    EXPECT_EQ(cameras.run(one, nothing, {}, milliseconds(30)).code, MRB_ERR_TIMEOUT);
    const Status status = cameras.run(one, nothing, {}, milliseconds(30));
    EXPECT_EQ(status.message, "The camera does not answer.");
    answer.count_down();
    EXPECT_EQ(cameras.wait(hangs).code, MRB_ERR_NONE);
}

TEST_F(CameraServiceTest, OneThatWorksLongIsNotTakenForOneThatHangs) {
    CameraService &cameras = service(milliseconds(100));
    const auto begun = std::chrono::steady_clock::now();
    const Status status = cameras.run(
        one, [](Camera &camera) { return dynamic_cast<TestCamera &>(camera).workUntilStopped(); },
        [begun] { return std::chrono::steady_clock::now() - begun > milliseconds(400); });
    EXPECT_EQ(status.code, MRB_ERR_CANCELLED);
}

TEST_F(CameraServiceTest, ACancelledRequestEndsAndTheNextOneIsServed) {
    CameraService &cameras = service();
    std::atomic<bool> isStopped = false;
    std::latch begun(1);
    auto long1 = std::async(std::launch::async, [&] {
        return cameras.run(
            one,
            [&begun](Camera &camera) {
                begun.count_down();
                return dynamic_cast<TestCamera &>(camera).workUntilStopped();
            },
            [&isStopped] { return isStopped.load(); });
    });
    begun.wait();
    auto next = std::async(std::launch::async, [&] { return cameras.run(one, nothing); });
    isStopped = true;
    EXPECT_EQ(long1.get().code, MRB_ERR_CANCELLED);
    EXPECT_EQ(next.get().code, MRB_ERR_NONE);
}

TEST_F(CameraServiceTest, AShutdownCancelsRequestsAndReleasesCameras) {
    CameraService &cameras = service();
    const auto task = cameras.start(
        one, [](Camera &camera) { return dynamic_cast<TestCamera &>(camera).workUntilStopped(); });
    cameras.shutDown(std::chrono::steady_clock::now() + LONG);
    EXPECT_EQ(cameras.wait(task).code, MRB_ERR_CANCELLED);
    EXPECT_EQ(cameras.run(one, nothing).code, MRB_ERR_CANCELLED);
    EXPECT_EQ(library.nowOpen, 0);
}

TEST_F(CameraServiceTest, AShutdownDetachesTheThreadOfOneThatHangs) {
    std::latch answer(1);
    std::latch gone(1);
    struct AtEnd {
        std::latch &gone;
        ~AtEnd() { gone.count_down(); }
    };
    {
        CameraService &cameras = service();
        const auto owned = std::shared_ptr<AtEnd>(new AtEnd{gone});
        cameras.start(one, [&answer, owned](Camera & /*camera*/) {
            answer.wait();
            return Status();
        });
        cameras.shutDown(std::chrono::steady_clock::now() + milliseconds(20));
    }
    answer.count_down();
    gone.wait(); // the thread that hung releases what it used
    EXPECT_TRUE(support::waitUntil([this] { return library.nowOpen == 0; }));
}

TEST_F(CameraServiceTest, WithoutDriversNothingIsSupported) {
    CameraService cameras([]() -> mrb::CameraLibrary & { throw std::runtime_error("no drivers"); },
                          CameraService::Limits{});
    const Status status = cameras.run(one, nothing);
    EXPECT_EQ(status.code, MRB_ERR_NOT_SUPPORTED);
    EXPECT_EQ(status.message, "no drivers");
    cameras.shutDown(std::chrono::steady_clock::now() + LONG);
}
