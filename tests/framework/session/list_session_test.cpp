// The state of one open list, filled by scripted sources: growth, failure, totals, bounds.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <thread>

#include "base/thread_group.h"
#include "session/list_session.h"
#include "support/client.h"
#include "support/folder.h"
#include "watch/watch_thread.h"

using std::chrono::steady_clock;

namespace {

constexpr std::uint8_t IMAGE = MRB_ITEM_TYPE_IMAGE;

// A source that runs a test's script.
class ScriptedSource final : public mrb::Source {
  public:
    using Script = std::function<mrb::FillResult(mrb::ItemSink &)>;
    explicit ScriptedSource(Script script) : script_(std::move(script)) {}
    mrb::FillResult fill(mrb::ItemSink &sink) override { return script_(sink); }
    mrb::ItemLocation locationOf(const mrb::ItemInfo &item) const override {
        return {.path = {}, .url = "http://server/" + item.id, .mediaId = item.id, .mimeType = "image/x"};
    }
    std::optional<mrb::ItemInfo> findByMediaId(const std::string &mediaId) const override {
        mrb::ItemInfo item;
        item.id = mediaId;
        return item;
    }

  private:
    const Script script_;
};

// What a session needs besides its source.
struct Services {
    mrb::ListServices of(mrb::EventThread &events) { return {events, watchThread, library, workers}; }

    mrb::MediaLibrary library{""};
    mrb::WatchThread watchThread;
    mrb::ThreadGroup workers{"test-list", "A device does not answer."};
};

struct ReceivedEvent {
    int event;
    Json::Value data;
    steady_clock::time_point at;
};

// A list filled by a scripted source, and the events of its callback.
class Scripted {
  public:
    explicit Scripted(ScriptedSource::Script script, mrb::ListOptions options = {}) {
        events_.start();
        session = std::make_shared<mrb::ListSession>(
            services_.of(events_), 1, mrb::ListCallback{receive, this},
            std::make_unique<ScriptedSource>(std::move(script)), std::move(options));
        worker_ = std::thread([this] { session->run(); });
        session->begin();
    }
    ~Scripted() {
        session->close();
        worker_.join();
    }

    std::vector<ReceivedEvent> waitForEnd() {
        std::unique_lock guard(lock_);
        EXPECT_TRUE(arrived_.wait_for(guard, support::LIMIT, [this] {
            return !received_.empty() && support::isLast(received_.back().event);
        }));
        return received_;
    }

    std::shared_ptr<mrb::ListSession> session;
    std::function<void(int)> onEvent = [](int /*event*/) {};

  private:
    static bool receive(void *self, mrb_agent_handler_h /*agent*/, mrb_event_e event, int /*reserved*/,
                        const char *data) {
        auto &scripted = *static_cast<Scripted *>(self);
        {
            const std::lock_guard guard(scripted.lock_);
            scripted.received_.push_back({event, support::parse(data), steady_clock::now()});
            scripted.arrived_.notify_all();
        }
        scripted.onEvent(event);
        return true;
    }

    std::mutex lock_;
    std::condition_variable arrived_;
    std::vector<ReceivedEvent> received_;
    mrb::EventThread events_;
    Services services_;
    std::thread worker_;
};

bool addImages(mrb::ItemSink &sink, int count) {
    const std::vector<mrb::SourceItem> run(static_cast<std::size_t>(count),
                                           {.name = "n", .id = {}, .type = IMAGE});
    return sink.add(run);
}

} // namespace

namespace {

// A source with one picture in a folder.
class OnePicture final : public mrb::Source {
  public:
    explicit OnePicture(std::string folder) : folder_(std::move(folder)) {}
    mrb::FillResult fill(mrb::ItemSink &sink) override {
        EXPECT_TRUE(addImages(sink, 1));
        return {};
    }
    mrb::ItemLocation locationOf(const mrb::ItemInfo & /*item*/) const override { return {}; }
    std::string filePath(const mrb::ItemInfo &item) const override { return folder_ + '/' + item.name; }
    std::string watchedRoot() const override { return folder_; }
    std::optional<mrb::ItemInfo> findByMediaId(const std::string & /*mediaId*/) const override {
        return std::nullopt;
    }

  private:
    const std::string folder_;
};

} // namespace

// Otherwise a client's call would wait for the device, and for a thread that waits for it.
TEST(ListSession, ItsStorageIsNotLookedUpOnAClientsCall) {
    const support::Folder folder;
    folder.folder("first");
    folder.folder("second");
    folder.link(folder.path("first"), "folder");
    mrb::EventThread events;
    Services services;
    const auto ignore = [](void * /*userData*/, mrb_agent_handler_h /*agent*/, mrb_event_e /*event*/,
                           int /*reserved*/, const char * /*data*/) { return true; };
    const auto session = std::make_shared<mrb::ListSession>(
        services.of(events), 1, mrb::ListCallback{+ignore, nullptr},
        std::make_unique<OnePicture>(folder.path("folder")), mrb::ListOptions());
    session->begin();
    session->run();
    std::filesystem::remove(folder.path("folder"));
    folder.link(folder.path("second"), "folder");
    EXPECT_TRUE(session->items().mediaOf(session->current()->info).key.path.ends_with("/first/n"));
}

TEST(ListSession, ASourceThatFailsEndsWithTheErrorsNameAndMessage) {
    Scripted scripted([](mrb::ItemSink &sink) {
        EXPECT_TRUE(addImages(sink, 3));
        return mrb::FillResult{mrb::Status::deviceRemoved("The stick was pulled.")};
    });
    const ReceivedEvent last = scripted.waitForEnd().back();
    EXPECT_EQ(last.event, MRB_EVENT_LIST_FAILED);
    EXPECT_EQ(last.data["error"], "MRB_ERR_DEVICE_REMOVED");
    EXPECT_EQ(last.data["message"], "The stick was pulled.");
    EXPECT_EQ(last.data["item_count"], 3);
    EXPECT_EQ(scripted.session->list().size(), 3);
}

TEST(ListSession, ASourceThatThrowsFailsTheListOnly) {
    Scripted scripted([](mrb::ItemSink & /*sink*/) -> mrb::FillResult { throw std::bad_alloc(); });
    EXPECT_EQ(scripted.waitForEnd().back().data["error"], "MRB_ERR_OUT_OF_MEMORY");
}

TEST(ListSession, AGrowingListIsReportedAtMostTenTimesASecond) {
    std::atomic<int> grown = 0;
    Scripted scripted([&](mrb::ItemSink &sink) {
        while (grown < 4 && addImages(sink, 64)) {
            std::this_thread::yield();
        }
        return mrb::FillResult{};
    });
    scripted.onEvent = [&](int event) { grown += event == MRB_EVENT_LIST_GROWN ? 1 : 0; };
    const std::vector<ReceivedEvent> received = scripted.waitForEnd();
    ASSERT_GE(received.size(), 4U);
    // Four events span three pauses; delivery may lag, so only their sum is certain.
    EXPECT_GE(received.at(received.size() - 2).at - received.front().at, std::chrono::milliseconds(200));
    for (std::size_t index = 1; index < received.size(); ++index) {
        EXPECT_GE(received.at(index).data["item_count"].asInt(),
                  received.at(index - 1).data["item_count"].asInt());
    }
}

TEST(ListSession, AFewItemsOfASlowSourceAreReportedToo) {
    std::promise<void> grown;
    auto wasReported = grown.get_future();
    Scripted scripted([&](mrb::ItemSink &sink) {
        while (wasReported.wait_for(std::chrono::milliseconds(20)) != std::future_status::ready &&
               sink.add({})) {
            if (!addImages(sink, 1)) {
                break;
            }
        }
        return mrb::FillResult{};
    });
    scripted.onEvent = [&](int event) {
        if (event == MRB_EVENT_LIST_GROWN) {
            grown.set_value();
        }
    };
    EXPECT_EQ(scripted.waitForEnd().size(), 2U);
}

TEST(ListSession, ASlowCallbackGetsNoBacklogOfGrowthEvents) {
    std::promise<void> filled;
    auto isFilled = filled.get_future();
    Scripted scripted([&](mrb::ItemSink &sink) {
        const auto until = steady_clock::now() + std::chrono::milliseconds(600);
        while (steady_clock::now() < until && addImages(sink, 64)) {
            std::this_thread::yield();
        }
        filled.set_value();
        return mrb::FillResult{};
    });
    scripted.onEvent = [&](int event) {
        if (event == MRB_EVENT_LIST_GROWN) {
            isFilled.wait();
        }
    };
    EXPECT_LE(scripted.waitForEnd().size(), 3U);
}

TEST(ListSession, AnExpectedTotalIsReportedWithTheGrowth) {
    std::promise<void> grown;
    auto wasReported = grown.get_future();
    Scripted scripted([&](mrb::ItemSink &sink) {
        sink.setExpectedTotal(1'000'000);
        while (wasReported.wait_for(std::chrono::milliseconds(1)) != std::future_status::ready &&
               addImages(sink, 64)) {
        }
        return mrb::FillResult{};
    });
    std::atomic<bool> once = false;
    scripted.onEvent = [&](int event) {
        if (event == MRB_EVENT_LIST_GROWN && !once.exchange(true)) {
            grown.set_value();
        }
    };
    EXPECT_EQ(scripted.waitForEnd().front().data["total_count"], 1'000'000);
}

TEST(ListSession, ACancelledSourceIsNotifiedAndTheListIsCancelled) {
    Scripted scripted([](mrb::ItemSink &sink) {
        while (addImages(sink, 1)) {
            std::this_thread::yield();
        }
        EXPECT_TRUE(sink.cancellation().isCancelled());
        return mrb::FillResult{mrb::Status::cancelled()};
    });
    scripted.session->cancel();
    EXPECT_EQ(scripted.waitForEnd().back().event, MRB_EVENT_LIST_CANCELLED);
}

TEST(ListSession, ItemsOfARemoteSourceAreDescribedByTheirIds) {
    Scripted scripted([](mrb::ItemSink &sink) {
        const mrb::SourceItem item{.name = "Sunset", .id = "64$1", .type = IMAGE, .size = 9};
        EXPECT_TRUE(sink.add({&item, 1}));
        return mrb::FillResult{};
    });
    scripted.waitForEnd();
    const Json::Value item = support::parse(scripted.session->describe(0)->c_str());
    EXPECT_EQ(item["name"], "Sunset");
    EXPECT_EQ(item["media_id"], "64$1");
    EXPECT_EQ(item["url"], "http://server/64$1");
    EXPECT_EQ(item["size"], 9);
    EXPECT_TRUE(item["modified"].isNull());
}

TEST(ListSession, ItemsOfARemoteSourceAreFoundByTheirIds) {
    Scripted scripted([](mrb::ItemSink &sink) {
        const mrb::SourceItem items[] = {{.name = "Sea", .id = "64$1", .type = IMAGE},
                                         {.name = "Sea", .id = "64$2", .type = IMAGE}};
        EXPECT_TRUE(sink.add(items));
        return mrb::FillResult{};
    });
    scripted.waitForEnd();
    EXPECT_EQ(scripted.session->pageOf("64$2"), 1);
    EXPECT_EQ(scripted.session->pageOf("64$3"), std::nullopt);
}

TEST(ListSession, ACancelledSortLeavesTheSourcesOrder) {
    // Cancelled after the last item, so that the sort is cancelled.
    std::shared_ptr<mrb::ListSession> *cancelled = nullptr;
    std::promise<void> ready;
    mrb::ListOptions options;
    options.sort = {mrb::SortKey::NAME, false};
    Scripted scripted(
        [&, isReady = ready.get_future().share()](mrb::ItemSink &sink) {
            const mrb::SourceItem items[] = {{.name = "b", .id = {}, .type = IMAGE},
                                             {.name = "a", .id = {}, .type = IMAGE}};
            EXPECT_TRUE(sink.add(items));
            isReady.wait();
            (*cancelled)->cancel();
            return mrb::FillResult{};
        },
        std::move(options));
    cancelled = &scripted.session;
    ready.set_value();
    EXPECT_EQ(scripted.waitForEnd().back().event, MRB_EVENT_LIST_CANCELLED);
    EXPECT_EQ(scripted.session->list().entry(0)->info.name, "b");
}

TEST(ListSession, WhatCameBeforeAFailureIsSorted) {
    mrb::ListOptions options;
    options.sort = {mrb::SortKey::NAME, false};
    Scripted scripted(
        [](mrb::ItemSink &sink) {
            const mrb::SourceItem items[] = {{.name = "b", .id = {}, .type = IMAGE},
                                             {.name = "a", .id = {}, .type = IMAGE}};
            EXPECT_TRUE(sink.add(items));
            EXPECT_FALSE(sink.cancellation().isCancelled());
            return mrb::FillResult{mrb::Status::deviceRemoved("The stick was pulled.")};
        },
        std::move(options));
    EXPECT_EQ(scripted.waitForEnd().back().event, MRB_EVENT_LIST_FAILED);
    EXPECT_EQ(scripted.session->list().entry(0)->info.name, "a");
}

TEST(ListSession, UnwantedItemsAreDropped) {
    Scripted scripted(
        [](mrb::ItemSink &sink) {
            EXPECT_TRUE(addImages(sink, 5));
            return mrb::FillResult{};
        },
        mrb::ListOptions{.filter = mrb::Filter(mrb::maskOf(MRB_ITEM_TYPE_MUSIC))});
    EXPECT_EQ(scripted.waitForEnd().back().data["item_count"], 0);
}

TEST(ListSession, AFullListFailsByName) {
    Scripted scripted([](mrb::ItemSink &sink) {
        const std::string name(mrb::ItemStore::MAX_TEXT_LENGTH, 'n');
        const std::vector<mrb::SourceItem> run(512, {.name = name, .id = {}, .type = IMAGE});
        while (sink.add(run)) {
        }
        return mrb::FillResult{};
    });
    const ReceivedEvent last = scripted.waitForEnd().back();
    EXPECT_EQ(last.event, MRB_EVENT_LIST_FAILED);
    EXPECT_EQ(last.data["error"], "MRB_ERR_OUT_OF_MEMORY");
}
