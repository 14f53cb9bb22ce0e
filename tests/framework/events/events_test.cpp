// Events through the library: their thread, their order, cancel, disconnect, reopening.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <future>
#include <list>

#include "support/client.h"
#include "support/folder.h"

using support::Client;
using support::Event;
using support::Folder;

namespace {

std::size_t endsOf(const std::vector<Event> &events) {
    return static_cast<std::size_t>(
        std::ranges::count_if(events, [](const Event &event) { return support::isLast(event.event); }));
}

// The number of events so far that ended a list with more than one item.
std::size_t endsOfLarge(Client &client) {
    const std::vector<Event> events = client.events();
    return static_cast<std::size_t>(std::ranges::count_if(events, [](const Event &event) {
        return support::isLast(event.event) && event.data["item_count"] > 1;
    }));
}

} // namespace

TEST(Events, AllCallbacksRunOnOneThreadThatIsNotTheCallers) {
    const Folder folder;
    Client first;
    Client second;
    const Event one = first.list(folder.path());
    const Event two = second.list(folder.path());
    EXPECT_EQ(one.thread, two.thread);
    EXPECT_NE(one.thread, std::this_thread::get_id());
}

TEST(Events, TheHandleIsWrittenBeforeTheFirstCallback) {
    const Folder folder;
    for (int round = 0; round < 200; ++round) {
        Client client;
        std::promise<mrb_agent_handler_h> seen;
        client.onEvent = [&](const Event & /*event*/) { seen.set_value(client.handle); };
        client.list(folder.path());
        EXPECT_EQ(seen.get_future().get(), client.handle);
    }
}

TEST(Events, EachRequestEndsWithExactlyOneLastEvent) {
    const Folder folder;
    folder.pictures(3, 3);
    Client client;
    client.list(folder.path());
    // A second list's end shows that nothing of the first is still queued before it.
    Client later;
    later.list(folder.path());
    EXPECT_EQ(endsOf(client.events()), 1U);
}

TEST(Events, CancelEndsTheScanAndItsItemsStayReadable) {
    const Folder folder;
    folder.pictures(200, 100);
    Event last;
    // A scan may be over before a busy machine delivers the cancel; that is not a
    // fault, so the first cancel that came in time is the one that is checked.
    for (int round = 0; round < 100 && last.event != MRB_EVENT_LIST_CANCELLED; ++round) {
        Client client;
        ASSERT_EQ(client.open(folder.path()), MRB_ERR_NONE);
        EXPECT_EQ(mrb_cancel_request_list_v2(client.handle), MRB_ERR_NONE);
        last = client.waitForEnd();
        const int count = client.count();
        EXPECT_EQ(last.data["item_count"], count);
        if (last.event == MRB_EVENT_LIST_READY) {
            EXPECT_EQ(count, 20'200); // a cancel may also come when the last item is there
        }
        if (count > 0) {
            EXPECT_FALSE(client.item(count - 1)["name"].asString().empty());
        }
    }
    EXPECT_EQ(last.event, MRB_EVENT_LIST_CANCELLED);
}

TEST(Events, CancelAfterTheEndChangesNothing) {
    const Folder folder;
    folder.file("a.jpg");
    Client client;
    client.list(folder.path());
    EXPECT_EQ(mrb_cancel_request_list_v2(client.handle), MRB_ERR_NONE);
    Client later;
    later.list(folder.path());
    EXPECT_EQ(client.events().size(), 1U);
    EXPECT_EQ(client.count(), 1);
}

TEST(Events, NothingArrivesAfterADisconnectDuringTheScan) {
    const Folder folder;
    folder.pictures(20, 100);
    for (int round = 0; round < 50; ++round) {
        Client client;
        std::atomic<bool> closed = false;
        std::atomic<bool> late = false;
        client.onEvent = [&](const Event & /*event*/) { late = late || closed; };
        ASSERT_EQ(client.open(folder.path()), MRB_ERR_NONE);
        if (round % 2 == 1) {
            int count = 0;
            while (count == 0 && client.events().empty()) {
                mrb_get_item_count_v2(client.handle, &count);
            }
        }
        EXPECT_EQ(mrb_disconnect_v2(std::exchange(client.handle, 0)), MRB_ERR_NONE);
        closed = true;
        Client later;
        later.list(folder.path("1"));
        EXPECT_FALSE(late);
    }
}

TEST(Events, DisconnectWaitsForARunningCallback) {
    const Folder folder;
    Client client;
    std::promise<void> entered;
    std::promise<void> disconnected;
    std::atomic<bool> left = false;
    auto isDisconnected = disconnected.get_future();
    client.onEvent = [&](const Event & /*event*/) {
        if (left) { // the first event was over before the disconnect
            return;
        }
        entered.set_value();
        // Long enough for a disconnect that does not wait to be caught.
        EXPECT_EQ(isDisconnected.wait_for(std::chrono::milliseconds(200)), std::future_status::timeout);
        left = true;
    };
    ASSERT_EQ(client.open(folder.path()), MRB_ERR_NONE);
    entered.get_future().wait();
    EXPECT_EQ(mrb_disconnect_v2(std::exchange(client.handle, 0)), MRB_ERR_NONE);
    EXPECT_TRUE(left);
    disconnected.set_value();
}

TEST(Events, DisconnectDoesNotWaitLongForACallbackThatDoesNotReturn) {
    const Folder folder;
    Client client;
    std::promise<void> entered;
    std::promise<void> goOn;
    std::promise<void> left;
    client.onEvent = [&](const Event & /*event*/) {
        entered.set_value();
        goOn.get_future().wait_for(support::LIMIT);
        left.set_value();
    };
    ASSERT_EQ(client.open(folder.path()), MRB_ERR_NONE);
    entered.get_future().wait();
    auto end = left.get_future();
    EXPECT_EQ(mrb_disconnect_v2(std::exchange(client.handle, 0)), MRB_ERR_NONE);
    EXPECT_EQ(end.wait_for(std::chrono::seconds(0)), std::future_status::timeout);
    goOn.set_value();
    end.wait();
    // What the callback used is destroyed only after it has returned.
    Client later;
    later.list(folder.path());
}

TEST(Events, DisconnectInsideTheCallbackReturns) {
    const Folder folder;
    folder.file("a.jpg");
    Client client;
    std::promise<int> code;
    client.onEvent = [&](const Event &event) { code.set_value(mrb_disconnect_v2(event.agent)); };
    ASSERT_EQ(client.open(folder.path()), MRB_ERR_NONE);
    auto answer = code.get_future();
    ASSERT_EQ(answer.wait_for(support::LIMIT), std::future_status::ready);
    EXPECT_EQ(answer.get(), MRB_ERR_NONE);
    client.handle = 0;
    Client later;
    later.list(folder.path());
}

TEST(Events, ACallbackMayReadItsList) {
    const Folder folder;
    folder.file("a.jpg");
    Client client;
    std::promise<std::string> name;
    client.onEvent = [&](const Event & /*event*/) { name.set_value(client.item(0)["name"].asString()); };
    client.list(folder.path());
    EXPECT_EQ(name.get_future().get(), "a.jpg");
}

TEST(Events, AListIsReopenedUnderItsHandle) {
    const Folder first;
    const Folder second;
    first.file("a.jpg");
    second.file("b.jpg");
    second.file("c.jpg");
    Client client;
    client.list(first.path());
    const mrb_agent_handler_h handle = client.handle;
    ASSERT_EQ(client.open(second.path()), MRB_ERR_NONE);
    EXPECT_EQ(client.handle, handle);
    client.waitForEnd(2);
    EXPECT_THAT(client.all("name"), testing::ElementsAre("b.jpg", "c.jpg"));
}

TEST(Events, AListReplacedDuringItsScanSendsNoMoreEvents) {
    const Folder large;
    const Folder small;
    large.pictures(100, 100);
    small.file("a.jpg");
    for (int round = 0; round < 20; ++round) {
        Client client;
        ASSERT_EQ(client.open(large.path()), MRB_ERR_NONE);
        ASSERT_EQ(client.open(small.path()), MRB_ERR_NONE);
        // On a busy machine the scan may have ended before; what counts is that nothing
        // of it arrives from here on.
        const std::size_t before = endsOfLarge(client);
        const Event last = client.waitForEnd(before + 1);
        EXPECT_EQ(last.event, MRB_EVENT_LIST_READY);
        EXPECT_EQ(last.data["item_count"], 1);
        EXPECT_EQ(endsOf(client.events()), before + 1);
        EXPECT_EQ(client.count(), 1);
    }
}

TEST(Events, AListIsReopenedInsideItsOwnCallback) {
    const Folder folder;
    folder.file("a.jpg");
    Client client;
    std::atomic<int> rounds = 0;
    client.onEvent = [&](const Event & /*event*/) {
        if (++rounds < 5) {
            EXPECT_EQ(client.open(folder.path()), MRB_ERR_NONE);
        }
    };
    ASSERT_EQ(client.open(folder.path()), MRB_ERR_NONE);
    client.waitForEnd(5);
    EXPECT_EQ(client.count(), 1);
}

TEST(Events, AFailedReopeningLeavesTheListAsItWas) {
    const Folder folder;
    folder.file("a.jpg");
    Client client;
    client.list(folder.path());
    const mrb_agent_handler_h handle = client.handle;
    EXPECT_EQ(client.open("/nowhere/at/all"), MRB_ERR_NOT_FOUND);
    EXPECT_EQ(client.handle, handle);
    EXPECT_EQ(client.count(), 1);
}

TEST(Events, ManyListsAtOnceAllGetReady) {
    const Folder folder;
    folder.pictures(10, 30);
    std::list<Client> clients(64);
    for (Client &client : clients) {
        ASSERT_EQ(client.open(folder.path()), MRB_ERR_NONE);
    }
    for (Client &client : clients) {
        EXPECT_EQ(client.waitForEnd().data["item_count"], 310);
    }
}

TEST(Events, ListsAreOpenedAndClosedFromManyThreads) {
    const Folder folder;
    folder.pictures(5, 20);
    std::vector<std::thread> threads;
    for (int index = 0; index < 8; ++index) {
        threads.emplace_back([&folder] {
            for (int round = 0; round < 20; ++round) {
                Client client;
                EXPECT_EQ(client.open(folder.path()), MRB_ERR_NONE);
                if (round % 2 == 0) {
                    EXPECT_EQ(client.waitForEnd().data["item_count"], 105);
                }
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
}
