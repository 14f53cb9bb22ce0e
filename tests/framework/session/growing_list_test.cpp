// A list can be read before its scan has ended, and cancelled or closed at any moment.

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <random>
#include <thread>

#include "support/client.h"
#include "support/folder.h"

using support::Client;
using support::Event;
using support::Folder;

namespace {

// Waits until at least `least` items can be read; how many can.
int waitForItems(const Client &client, int least) {
    const auto limit = std::chrono::steady_clock::now() + support::LIMIT;
    int count = 0;
    while (mrb_get_item_count_v2(client.handle, &count) == MRB_ERR_NONE && count < least &&
           std::chrono::steady_clock::now() < limit) {
        std::this_thread::yield();
    }
    return count;
}

void waitForMoment(std::minstd_rand &random, int mostMicroseconds) {
    std::this_thread::sleep_for(
        std::chrono::microseconds(random() % static_cast<unsigned>(mostMicroseconds)));
}

// A tree and a folder of 20,000 files each, scanned again and again.
class GrowingList : public testing::TestWithParam<std::pair<int, int>> {
  protected:
    static constexpr int FILES = 20'000;
    GrowingList() { folder.pictures(GetParam().first, GetParam().second); }
    [[nodiscard]] int all() const { return FILES + GetParam().first; }

    const Folder folder;
    std::minstd_rand random{3};
};

} // namespace

TEST_P(GrowingList, TheFirstPageCanBeReadBeforeTheScanEnds) {
    bool inTime = false;
    // On a busy machine the scan may win a race; that is not a fault, but it must not always win.
    for (int round = 0; round < 100 && !inTime; ++round) {
        Client client;
        ASSERT_EQ(client.open(folder.path()), MRB_ERR_NONE);
        const int first = waitForItems(client, 20);
        const Json::Value item = client.item(19);
        const int later = client.count();
        inTime = first < all() && later < all();
        EXPECT_FALSE(item["name"].asString().empty());
        EXPECT_EQ(client.waitForEnd().data["item_count"], all());
        // What was read early is in the same place at the end.
        EXPECT_EQ(client.item(19), item);
    }
    EXPECT_TRUE(inTime);
}

TEST_P(GrowingList, EveryItemThatIsCountedCanBeRead) {
    Client client;
    ASSERT_EQ(client.open(folder.path()), MRB_ERR_NONE);
    int before = 0;
    while (before < all()) {
        const int count = client.count();
        EXPECT_GE(count, before);
        before = count;
        if (count > 0) {
            const int index = static_cast<int>(random() % static_cast<unsigned>(count));
            EXPECT_FALSE(client.item(index)["path"].asString().empty());
            EXPECT_FALSE(client.item(count - 1)["path"].asString().empty());
        }
    }
    client.waitForEnd();
}

TEST_P(GrowingList, ACancelAtAnyMomentEndsTheListOnce) {
    for (int round = 0; round < 50; ++round) {
        Client client;
        ASSERT_EQ(client.open(folder.path()), MRB_ERR_NONE);
        waitForMoment(random, 60'000);
        EXPECT_EQ(mrb_cancel_request_list_v2(client.handle), MRB_ERR_NONE);
        const Event last = client.waitForEnd();
        if (last.event == MRB_EVENT_LIST_READY) {
            EXPECT_EQ(client.count(), all());
        } else {
            EXPECT_EQ(last.event, MRB_EVENT_LIST_CANCELLED);
        }
        EXPECT_EQ(last.data["item_count"], client.count());
    }
}

TEST_P(GrowingList, ADisconnectAtAnyMomentIsTheEnd) {
    for (int round = 0; round < 50; ++round) {
        Client client;
        std::atomic<bool> closed = false;
        std::atomic<bool> late = false;
        client.onEvent = [&](const Event & /*event*/) { late = late || closed; };
        ASSERT_EQ(client.open(folder.path()), MRB_ERR_NONE);
        waitForMoment(random, 60'000);
        EXPECT_EQ(mrb_disconnect_v2(std::exchange(client.handle, 0)), MRB_ERR_NONE);
        closed = true;
        // The callback thread has delivered all earlier events.
        Client later;
        later.list("/proc/self/fd");
        EXPECT_FALSE(late);
    }
}

INSTANTIATE_TEST_SUITE_P(, GrowingList, testing::Values(std::pair{1, 20'000}, std::pair{200, 100}),
                         [](const auto &shape) { return shape.param.first == 1 ? "OneFolder" : "Tree"; });
