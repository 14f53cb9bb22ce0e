// The worker's half of a session, and the parts that it works with, each on its own.

#include <fcntl.h>
#include <gtest/gtest.h>

#include <functional>
#include <future>
#include <stdexcept>
#include <vector>

#include "base/descriptor.h"
#include "mrb/agent.h"
#include "session/list_filler.h"
#include "support/client.h"
#include "support/folder.h"

namespace {

constexpr std::uint8_t IMAGE = MRB_ITEM_TYPE_IMAGE;

// A source that does what a test says, below a folder or below none.
class ScriptedSource final : public mrb::Source {
  public:
    using Script = std::function<mrb::FillResult(mrb::ItemSink &)>;
    explicit ScriptedSource(Script script, std::string root = {})
        : script_(std::move(script)), root_(std::move(root)) {}
    mrb::FillResult fill(mrb::ItemSink &sink) override { return script_(sink); }
    mrb::ItemLocation locationOf(const mrb::ItemInfo &item) const override {
        return {.url = "http://server/" + item.name};
    }
    std::optional<mrb::SourceMetadata> sourceMetadata(const mrb::ItemInfo & /*item*/) const override {
        return mrb::SourceMetadata{};
    }
    std::string watchedRoot() const override { return root_; }
    std::optional<mrb::ItemInfo> findByMediaId(const std::string & /*mediaId*/) const override { return {}; }

  private:
    const Script script_;
    const std::string root_;
};

bool add(mrb::ItemSink &sink, const std::vector<std::string> &names) {
    std::vector<mrb::SourceItem> items;
    for (const std::string &name : names) {
        items.push_back({.name = name, .type = IMAGE});
    }
    return sink.add(items);
}

bool ignore(void * /*userData*/, mrb_agent_handler_h /*agent*/, mrb_event_e /*event*/, int /*reserved*/,
            const char * /*data*/) {
    return true;
}

// A filler with all that it needs; its events are queued, and delivered to nothing.
class Filling {
  public:
    explicit Filling(ScriptedSource::Script script, mrb::ListOptions listOptions = {}, std::string root = {})
        : list(std::make_shared<mrb::List>(std::move(listOptions))),
          items(std::make_unique<ScriptedSource>(std::move(script), std::move(root))) {}

    std::shared_ptr<mrb::List> list;
    mrb::ItemResolver items;
    mrb::CancellationSource cancellation;

  private:
    mrb::MediaLibrary library_{""};
    mrb::EventThread thread_;
    std::shared_ptr<mrb::ListEvents> events_ =
        std::make_shared<mrb::ListEvents>(thread_, 1, mrb::ListCallback{ignore, nullptr}, list);

  public:
    mrb::ListFiller filler{*list, items, library_, *events_, cancellation};
};

mrb::ListOptions byName() {
    mrb::ListOptions listOptions;
    listOptions.sort = {mrb::SortKey::NAME, false};
    return listOptions;
}

mrb::ItemInfo infoOf(std::uint8_t type) {
    mrb::ItemInfo info;
    info.name = "n";
    info.type = type;
    return info;
}

} // namespace

TEST(ListFiller, WhatASourceHandsOverIsInTheListInItsOrder) {
    Filling filling(
        [](mrb::ItemSink &sink) {
            EXPECT_TRUE(add(sink, {"b", "a"}));
            return mrb::FillResult{.status = {}, .unreadable = 2};
        },
        byName());
    const mrb::FillResult result = filling.filler.run();
    EXPECT_EQ(result.status.code, MRB_ERR_NONE);
    EXPECT_EQ(result.unreadable, 2);
    ASSERT_EQ(filling.list->size(), 2);
    EXPECT_EQ(filling.list->entry(0)->info.name, "a");
}

TEST(ListFiller, WhatASourceThrowsIsTheResult) {
    Filling filling([](mrb::ItemSink &sink) -> mrb::FillResult {
        EXPECT_TRUE(add(sink, {"a"}));
        throw std::runtime_error("The source is broken.");
    });
    const mrb::FillResult result = filling.filler.run();
    EXPECT_EQ(result.status.code, MRB_ERR_IO);
    EXPECT_EQ(result.status.message, "The source is broken.");
    EXPECT_EQ(filling.list->size(), 1);
}

TEST(ListFiller, ACancelledOneRefusesItemsAndSortsNothing) {
    Filling *cancelled = nullptr;
    Filling filling(
        [&](mrb::ItemSink &sink) {
            EXPECT_TRUE(add(sink, {"c", "b"}));
            cancelled->cancellation.cancel();
            EXPECT_TRUE(sink.cancellation().isCancelled());
            EXPECT_FALSE(add(sink, {"a"}));
            return mrb::FillResult{};
        },
        byName());
    cancelled = &filling;
    EXPECT_EQ(filling.filler.run().status.code, MRB_ERR_CANCELLED);
    EXPECT_EQ(filling.list->entry(0)->info.name, "c");
}

TEST(ListFiller, WhatIsReadIsWatchedFromThenOn) {
    const support::Folder folder;
    Filling filling(
        [&](mrb::ItemSink &sink) {
            const mrb::Descriptor open(::open(folder.path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
            sink.aboutToRead(mrb::ROOT_FOLDER, open.fd());
            return mrb::FillResult{};
        },
        {}, folder.path());
    EXPECT_EQ(filling.filler.run().status.code, MRB_ERR_NONE);
    const std::unique_ptr<mrb::Watch> watch = filling.filler.takeWatch();
    ASSERT_TRUE(watch);
    EXPECT_GE(watch->fd(), 0);
    EXPECT_TRUE(watch->sourceIsThere());
}

TEST(ListFiller, ASourceBelowNoFolderIsNotWatched) {
    Filling filling([](mrb::ItemSink &sink) {
        sink.aboutToRead(mrb::ROOT_FOLDER, -1);
        return mrb::FillResult{};
    });
    EXPECT_EQ(filling.filler.run().status.code, MRB_ERR_NONE);
    EXPECT_FALSE(filling.filler.takeWatch());
}

TEST(ItemResolver, BlanksAndHeadingsAreNothingOutsideOfTheList) {
    const mrb::ItemResolver items(std::make_unique<ScriptedSource>(nullptr));
    EXPECT_EQ(items.locationOf(infoOf(IMAGE)).url, "http://server/n");
    EXPECT_TRUE(items.sourceMetadata(infoOf(IMAGE)));
    for (const std::uint8_t type : {MRB_ITEM_TYPE_GROUP, MRB_ITEM_TYPE_EMPTY}) {
        EXPECT_EQ(items.locationOf(infoOf(type)).url, "");
        EXPECT_FALSE(items.sourceMetadata(infoOf(type)));
        EXPECT_FALSE(items.mediaOf(infoOf(type)).isKnown());
    }
}

TEST(ItemResolver, AFolderHasAPlaceAndNoMetadata) {
    const mrb::ItemResolver items(std::make_unique<ScriptedSource>(nullptr));
    EXPECT_EQ(items.locationOf(infoOf(MRB_ITEM_TYPE_FOLDER)).url, "http://server/n");
    EXPECT_FALSE(items.mediaOf(infoOf(MRB_ITEM_TYPE_FOLDER)).isKnown());
    EXPECT_TRUE(items.mediaOf(infoOf(IMAGE)).isKnown());
}

TEST(ListEvents, GrowthIsQueuedOnceAndOutlivesTheSession) {
    struct ReceivedEvents {
        std::vector<Json::Value> data;
        std::promise<void> end;
    } received;
    const auto receive = [](void *self, mrb_agent_handler_h /*agent*/, mrb_event_e event, int /*reserved*/,
                            const char *data) {
        auto &all = *static_cast<ReceivedEvents *>(self);
        all.data.push_back(support::parse(data));
        if (support::isLast(event)) {
            all.end.set_value();
        }
        return true;
    };
    mrb::EventThread thread;
    {
        const auto list = std::make_shared<mrb::List>(mrb::ListOptions());
        const auto events =
            std::make_shared<mrb::ListEvents>(thread, 1, mrb::ListCallback{+receive, &received}, list);
        events->postGrowth();
        events->setExpectedTotal(7);
        events->postGrowth();
        EXPECT_EQ(events->postEnd({.status = {MRB_ERR_CANCELLED, {}}}), MRB_EVENT_LIST_CANCELLED);
    }
    thread.start();
    ASSERT_EQ(received.end.get_future().wait_for(support::LIMIT), std::future_status::ready);
    ASSERT_EQ(received.data.size(), 2U);
    EXPECT_EQ(received.data[0]["total_count"], 7);
    EXPECT_EQ(received.data[1]["item_count"], 0);
}
