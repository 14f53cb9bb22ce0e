// The thumbnail service with scripted decoders.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <condition_variable>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <future>
#include <random>
#include <set>
#include <thread>

#include "mrb/agent.h"
#include "support/client.h"
#include "support/thumbnails.h"
#include "thumbnail/request.h"
#include "thumbnail/service.h"

using mrb::thumbnail::Decoded;
using mrb::thumbnail::DecodeRequest;
using mrb::thumbnail::Request;
using mrb::thumbnail::ThumbnailService;
using support::LIMIT;
using testing::ElementsAre;

namespace {

Request named(const std::string &name, int sourceType = MRB_THUMB_SOURCE_ANY) {
    Request request;
    request.origin = request.decode.path = "/" + name;
    request.sourceType = sourceType;
    return request;
}

// A decoder that a test holds at a gate.
class Gate {
  public:
    void operator()(const DecodeRequest &request, const mrb::CancellationToken &cancellation,
                    Decoded &decoded) {
        std::unique_lock guard(lock_);
        begun_.push_back(request.path.substr(1));
        change_.notify_all();
        while (closed_ && !cancellation.isCancelled()) {
            change_.wait_for(guard, std::chrono::milliseconds(1));
        }
        if (cancellation.isCancelled()) {
            decoded.status = mrb::thumbnail::endOf(cancellation);
            ++stopped_;
            change_.notify_all();
            return;
        }
        decoded.images.push_back(mrb::thumbnail::makeImage(2, 1));
        std::memset(decoded.images[0].pixels.get(), static_cast<int>(request.path.size()), 8);
    }
    void close() { set(true); }
    void open() { set(false); }
    // Waits until that many decodes have begun.
    void waitForBegun(std::size_t count) {
        std::unique_lock guard(lock_);
        ASSERT_TRUE(change_.wait_for(guard, LIMIT, [&] { return begun_.size() >= count; }));
    }
    void waitForStopped(int count) {
        std::unique_lock guard(lock_);
        ASSERT_TRUE(change_.wait_for(guard, LIMIT, [&] { return stopped_ >= count; }));
    }
    std::vector<std::string> begun() {
        const std::lock_guard guard(lock_);
        return begun_;
    }

  private:
    void set(bool closed) {
        const std::lock_guard guard(lock_);
        closed_ = closed;
        change_.notify_all();
    }
    std::mutex lock_;
    std::condition_variable change_;
    std::vector<std::string> begun_;
    bool closed_ = false;
    int stopped_ = 0;
};

// Pending requests and their results.
class Waiters {
  public:
    struct One {
        Waiters *all = nullptr;
        std::atomic<int> answers{0};
        std::atomic<int> code{1000};
        std::atomic<const unsigned char *> image{nullptr};
        std::function<void()> then;
    };

    explicit Waiters(std::size_t count) : ones_(count) {
        for (One &one : ones_) {
            one.all = this;
        }
    }
    mrb::thumbnail::PendingRequest operator[](std::size_t index) { return {receive, &ones_[index]}; }
    One &at(std::size_t index) { return ones_[index]; }
    void waitFor(std::size_t answers) {
        std::unique_lock guard(lock_);
        ASSERT_TRUE(change_.wait_for(guard, LIMIT, [&] { return answers_ >= answers; }));
    }
    std::size_t answers() {
        const std::lock_guard guard(lock_);
        return answers_;
    }

  private:
    static int receive(int code, thumb_result_s *result, void *data) {
        auto &one = *static_cast<One *>(data);
        one.code = code;
        one.image = result->image_buffer[0];
        if (one.then) {
            one.then();
        }
        std::free(result->image_buffer[0]);
        std::free(result->preset_buffer);
        ++one.answers;
        const std::lock_guard guard(one.all->lock_);
        ++one.all->answers_;
        one.all->change_.notify_all();
        return 1;
    }
    std::vector<One> ones_;
    std::mutex lock_;
    std::condition_variable change_;
    std::size_t answers_ = 0;
};

class Service : public testing::Test {
  protected:
    Service() { service.begin(); }
    ~Service() override { gate.open(); }

    Gate gate;
    Waiters waiters{2000};
    ThumbnailService service{std::ref(gate), 1};
};

} // namespace

TEST_F(Service, TheLatestRequestIsServedFirst) {
    gate.close();
    service.request(named("first"), waiters[0]);
    gate.waitForBegun(1);
    for (std::size_t index = 1; index <= 3; ++index) {
        service.request(named(std::to_string(index)), waiters[index]);
    }
    gate.open();
    waiters.waitFor(4);
    EXPECT_THAT(gate.begun(), ElementsAre("first", "3", "2", "1"));
}

TEST_F(Service, ARequestMadeAgainMovesToTheFrontAndIsDecodedOnce) {
    gate.close();
    service.request(named("first"), waiters[0]);
    gate.waitForBegun(1);
    service.request(named("a"), waiters[1]);
    service.request(named("b"), waiters[2]);
    service.request(named("a"), waiters[3]);
    gate.open();
    waiters.waitFor(4);
    EXPECT_THAT(gate.begun(), ElementsAre("first", "a", "b"));
}

TEST_F(Service, RequestsThatJoinARunningDecodeGetImagesOfTheirOwn) {
    gate.close();
    service.request(named("a"), waiters[0]);
    gate.waitForBegun(1);
    service.request(named("a"), waiters[1]);
    std::atomic<const unsigned char *> first{nullptr};
    gate.open();
    waiters.waitFor(2);
    EXPECT_EQ(gate.begun().size(), 1U);
    EXPECT_EQ(waiters.at(0).code, MRB_ERR_NONE);
    EXPECT_EQ(waiters.at(1).code, MRB_ERR_NONE);
    EXPECT_NE(waiters.at(0).image, nullptr);
    EXPECT_NE(waiters.at(1).image, nullptr);
}

TEST_F(Service, RequestsThatDifferInOneThingAreNotJoined) {
    gate.close();
    Request other = named("a");
    other.decode.width = 7;
    service.request(named("a"), waiters[0]);
    service.request(other, waiters[1]);
    gate.open();
    waiters.waitFor(2);
    EXPECT_EQ(gate.begun().size(), 2U);
}

TEST_F(Service, ACancelledRequestThatWaitedIsNeitherDecodedNorAnswered) {
    gate.close();
    service.request(named("first"), waiters[0]);
    gate.waitForBegun(1);
    service.request(named("a"), waiters[1]);
    EXPECT_EQ(service.cancel(named("a"), nullptr), MRB_ERR_NONE);
    gate.open();
    waiters.waitFor(1);
    service.end();
    EXPECT_THAT(gate.begun(), ElementsAre("first"));
    EXPECT_EQ(waiters.at(1).answers, 0);
}

TEST_F(Service, ACancelStopsARunningDecode) {
    gate.close();
    service.request(named("a"), waiters[0]);
    gate.waitForBegun(1);
    EXPECT_EQ(service.cancel(named("a"), nullptr), MRB_ERR_NONE);
    gate.waitForStopped(1);
    service.end();
    EXPECT_EQ(waiters.answers(), 0U);
}

TEST_F(Service, ACancelOfOneLeavesTheOthersOfTheSameDecode) {
    gate.close();
    service.request(named("a"), waiters[0]);
    gate.waitForBegun(1);
    service.request(named("a"), waiters[1]);
    EXPECT_EQ(service.cancel(named("a"), &waiters.at(1)), MRB_ERR_NONE);
    gate.open();
    waiters.waitFor(1);
    service.end();
    EXPECT_EQ(waiters.at(0).code, MRB_ERR_NONE);
    EXPECT_EQ(waiters.at(1).answers, 0);
}

TEST_F(Service, ACancelWithUnknownUserDataTakesTheOldest) {
    gate.close();
    service.request(named("a"), waiters[0]);
    service.request(named("a"), waiters[1]);
    service.cancel(named("a"), this);
    gate.open();
    waiters.waitFor(1);
    service.end();
    EXPECT_EQ(waiters.at(0).answers, 0);
    EXPECT_EQ(waiters.at(1).answers, 1);
}

TEST_F(Service, ACancelledRequestMadeAgainIsDecodedAgain) {
    gate.close();
    service.request(named("a"), waiters[0]);
    gate.waitForBegun(1);
    service.cancel(named("a"), nullptr);
    service.request(named("a"), waiters[1]);
    gate.open();
    waiters.waitFor(1);
    EXPECT_EQ(waiters.at(1).code, MRB_ERR_NONE);
}

TEST_F(Service, ACancelOfNoPendingRequestIsNotFound) {
    EXPECT_EQ(service.cancel(named("a"), nullptr), MRB_ERR_NOT_FOUND);
    service.request(named("a"), waiters[0]);
    waiters.waitFor(1);
    EXPECT_EQ(service.cancel(named("a"), nullptr), MRB_ERR_NOT_FOUND);
}

TEST_F(Service, CancelAllCancelsWaitingAndRunningRequests) {
    gate.close();
    service.request(named("a"), waiters[0]);
    gate.waitForBegun(1);
    service.request(named("b"), waiters[1]);
    EXPECT_EQ(service.cancelAll(), MRB_ERR_NONE);
    gate.waitForStopped(1);
    gate.open();
    service.request(named("c"), waiters[2]);
    waiters.waitFor(1);
    EXPECT_EQ(waiters.at(2).answers, 1);
    EXPECT_THAT(gate.begun(), ElementsAre("a", "c"));
}

TEST_F(Service, StoppingTheCamerasReturnsWhenNoneIsDecodedAndAnswersTheirRequests) {
    gate.close();
    service.request(named("running", MRB_THUMB_SOURCE_PTP), waiters[0]);
    gate.waitForBegun(1);
    service.request(named("waiting", MRB_THUMB_SOURCE_PTP), waiters[1]);
    EXPECT_EQ(service.stopCameras(), MRB_ERR_NONE);
    gate.waitForStopped(1);
    waiters.waitFor(2);
    EXPECT_EQ(waiters.at(0).code, MRB_ERR_CANCELLED);
    EXPECT_EQ(waiters.at(1).code, MRB_ERR_CANCELLED);
    EXPECT_THAT(gate.begun(), ElementsAre("running"));
}

TEST_F(Service, StoppingTheCamerasLeavesOtherSourcesAlone) {
    gate.close();
    service.request(named("a", MRB_THUMB_SOURCE_MSC), waiters[0]);
    gate.waitForBegun(1);
    EXPECT_EQ(service.stopCameras(), MRB_ERR_NONE);
    gate.open();
    waiters.waitFor(1);
    EXPECT_EQ(waiters.at(0).code, MRB_ERR_NONE);
}

TEST_F(Service, TheEndWaitsForTheResultCallbackUnderWay) {
    std::promise<void> entered;
    std::atomic<bool> left{false};
    waiters.at(0).then = [&] {
        entered.set_value();
        // The end is under way when no request is accepted any more.
        while (service.request(named("b"), waiters[1]) == MRB_ERR_NONE) {
            service.cancelAll();
        }
        left = true;
    };
    service.request(named("a"), waiters[0]);
    entered.get_future().wait();
    service.end();
    EXPECT_TRUE(left);
}

TEST_F(Service, TheEndDoesNotWaitLongForAResultCallbackThatDoesNotReturn) {
    std::promise<void> entered;
    std::promise<void> release;
    waiters.at(0).then = [&] {
        entered.set_value();
        release.get_future().wait_for(LIMIT);
    };
    service.request(named("a"), waiters[0]);
    entered.get_future().wait();
    EXPECT_EQ(service.end(), MRB_ERR_TIMEOUT);
    release.set_value();
}

TEST_F(Service, StoppingTheCamerasDoesNotWaitLongForADecodeThatDoesNotEnd) {
    std::promise<void> begun;
    std::promise<void> release;
    ThumbnailService stuck(
        [&](const DecodeRequest & /*request*/, const mrb::CancellationToken & /*cancellation*/,
            Decoded &decoded) {
            begun.set_value();
            release.get_future().wait_for(LIMIT);
            decoded.status.code = MRB_ERR_IO;
        },
        1);
    stuck.begin();
    stuck.request(named("a", MRB_THUMB_SOURCE_PTP), waiters[0]);
    begun.get_future().wait();
    EXPECT_EQ(stuck.stopCameras(), MRB_ERR_TIMEOUT);
    release.set_value();
    waiters.waitFor(1);
}

TEST_F(Service, AResultCallbackMayRequestCancelAndEnd) {
    waiters.at(0).then = [&] {
        service.request(named("b"), waiters[1]);
        service.cancel(named("b"), nullptr);
        service.end();
    };
    service.request(named("a"), waiters[0]);
    waiters.waitFor(1);
    EXPECT_EQ(service.request(named("c"), waiters[2]), MRB_ERR_NOT_INITIALIZED);
}

TEST_F(Service, WithoutAClientRequestsAreRefused) {
    service.end();
    EXPECT_EQ(service.request(named("a"), waiters[0]), MRB_ERR_NOT_INITIALIZED);
    EXPECT_EQ(service.end(), MRB_ERR_NOT_INITIALIZED);
    service.begin();
    EXPECT_EQ(service.request(named("a"), waiters[0]), MRB_ERR_NONE);
    waiters.waitFor(1);
}

TEST_F(Service, TheEndOfOneClientLeavesTheServiceToTheOther) {
    service.begin();
    service.end();
    EXPECT_EQ(service.request(named("a"), waiters[0]), MRB_ERR_NONE);
    waiters.waitFor(1);
}

TEST_F(Service, TheEndOfOneClientAnswersWaitingAndRunningRequestsOfAll) {
    service.begin();
    gate.close();
    service.request(named("running"), waiters[0]);
    gate.waitForBegun(1);
    service.request(named("running"), waiters[1]);
    service.request(named("waiting"), waiters[2]);
    EXPECT_EQ(service.end(), MRB_ERR_NONE);
    EXPECT_EQ(waiters.answers(), 3U); // all of them before it returns
    for (const std::size_t index : {0, 1, 2}) {
        EXPECT_EQ(waiters.at(index).code, MRB_ERR_CANCELLED);
    }
    gate.waitForStopped(1);
    gate.open();
    service.request(named("running"), waiters[3]);
    waiters.waitFor(4);
    EXPECT_EQ(waiters.at(3).code, MRB_ERR_NONE);
    EXPECT_THAT(gate.begun(), ElementsAre("running", "running"));
    EXPECT_EQ(waiters.answers(), 4U);
}

TEST_F(Service, TheEndSendsNoResultsForCancelledRequests) {
    gate.close();
    service.request(named("running"), waiters[0]);
    gate.waitForBegun(1);
    service.request(named("waiting"), waiters[1]);
    service.cancel(named("running"), nullptr);
    service.cancel(named("waiting"), nullptr);
    service.end();
    EXPECT_EQ(waiters.answers(), 0U);
}

TEST_F(Service, AnEndInsideAResultCallbackDeliversTheOthersThere) {
    service.begin();
    std::promise<void> requested;
    waiters.at(0).then = [&] {
        requested.get_future().wait();
        service.end();
        EXPECT_EQ(waiters.at(1).code, MRB_ERR_CANCELLED);
    };
    service.request(named("a"), waiters[0]);
    gate.waitForBegun(1);
    service.request(named("b"), waiters[1]);
    requested.set_value();
    waiters.waitFor(2);
    EXPECT_EQ(waiters.at(0).code, MRB_ERR_NONE);
    EXPECT_EQ(service.end(), MRB_ERR_NONE);
}

TEST_F(Service, WhileClientsEndEveryRequestGetsOneResult) {
    std::atomic<bool> over{false};
    service.begin();
    std::thread other([&] {
        while (!over) {
            service.begin();
            service.end();
        }
    });
    std::size_t accepted = 0;
    for (std::size_t index = 0; index < 1000; ++index) {
        accepted += service.request(named(std::to_string(index % 7)), waiters[index]) == MRB_ERR_NONE ? 1 : 0;
    }
    waiters.waitFor(accepted);
    over = true;
    other.join();
    EXPECT_EQ(accepted, 1000U);
    for (std::size_t index = 0; index < 1000; ++index) {
        EXPECT_EQ(waiters.at(index).answers, 1);
    }
}

TEST_F(Service, WhatADecoderThrowsIsAResult) {
    ThumbnailService failing{[](const DecodeRequest &request, const mrb::CancellationToken &, Decoded &) {
                                 if (request.path == "/memory") {
                                     throw std::bad_alloc();
                                 }
                                 throw std::runtime_error("no library");
                             },
                             1};
    failing.begin();
    failing.request(named("a"), waiters[0]);
    failing.request(named("memory"), waiters[1]);
    waiters.waitFor(2);
    EXPECT_EQ(waiters.at(0).code, MRB_THUMB_SERVICE_FAILED);
    EXPECT_EQ(waiters.at(1).code, MRB_ERR_OUT_OF_MEMORY);
}

TEST_F(Service, ItsThreadsHaveNames) {
    service.request(named("a"), waiters[0]);
    waiters.waitFor(1);
    std::set<std::string> names;
    for (const auto &thread : std::filesystem::directory_iterator("/proc/self/task")) {
        std::string name;
        std::getline(std::ifstream(thread.path() / "comm"), name);
        names.insert(name);
    }
    EXPECT_EQ(names.count("mrb-thumb-1"), 1U);
}

TEST(ThumbnailDecoding, EndsAsCancelledUnlessItsTimeIsOver) {
    mrb::CancellationSource cancellation;
    cancellation.cancelAfter(mrb::CancellationSource::Clock::duration(-1));
    EXPECT_EQ(mrb::thumbnail::endOf(cancellation).code, MRB_ERR_TIMEOUT);
    cancellation.cancel();
    EXPECT_EQ(mrb::thumbnail::endOf(cancellation).code, MRB_ERR_CANCELLED);
}

TEST(ThumbnailWorkers, AreAsManyAsTheMachineHasCores) {
    support::Thumbnails client;
    EXPECT_EQ(client.get("/none.jpg").code, MRB_ERR_NOT_FOUND);
    unsigned workers = 0;
    for (const auto &thread : std::filesystem::directory_iterator("/proc/self/task")) {
        std::string name;
        std::getline(std::ifstream(thread.path() / "comm"), name);
        workers += name.starts_with("mrb-thumb-") ? 1U : 0U;
    }
    EXPECT_EQ(workers, std::thread::hardware_concurrency());
}

TEST_F(Service, OfAThousandRequestsEachGetsOneResultOrIsCancelled) {
    ThumbnailService busy{std::ref(gate), 4};
    busy.begin();
    std::mt19937 random(5);
    std::size_t taken = 0;
    std::vector<Request> requests;
    for (std::size_t index = 0; index < 1000; ++index) {
        requests.push_back(named(std::to_string(random() % 60), static_cast<int>(random() % 3)));
        ASSERT_EQ(busy.request(requests.back(), waiters[index]), MRB_ERR_NONE);
        if (random() % 3 == 0) {
            // Whichever request of that kind is cancelled, it gets no result.
            const std::size_t other = random() % (index + 1);
            taken += busy.cancel(requests[other], &waiters.at(other)) == MRB_ERR_NONE ? 1 : 0;
        }
        if (random() % 200 == 0) {
            busy.stopCameras();
        }
    }
    waiters.waitFor(1000 - taken);
    busy.end();
    EXPECT_EQ(waiters.answers(), 1000 - taken);
    for (std::size_t index = 0; index < 1000; ++index) {
        EXPECT_LE(waiters.at(index).answers, 1);
    }
}
