// When a list reads the metadata for its groups.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <vector>

#include "base/cancellation.h"
#include "session/grouping_task.h"

using mrb::CancellationToken;
using mrb::Grouping;
using mrb::GroupingTask;
using testing::ElementsAre;

TEST(GroupingTask, BeginWhenTheListIsCompleteAndOneIsRequested) {
    GroupingTask early;
    EXPECT_FALSE(early.request(Grouping::ARTIST));
    EXPECT_TRUE(early.listIsComplete());
    GroupingTask late;
    EXPECT_FALSE(late.listIsComplete());
    EXPECT_FALSE(late.request(Grouping::DATE));
    EXPECT_TRUE(late.request(Grouping::ARTIST));
    // One at a time.
    EXPECT_FALSE(late.request(Grouping::ALBUM));
}

TEST(GroupingTask, ContinueWithNewRequestsAndDropTheOneUnderWay) {
    GroupingTask reading;
    EXPECT_FALSE(reading.listIsComplete());
    ASSERT_TRUE(reading.request(Grouping::ARTIST));
    std::vector<Grouping> read;
    reading.run([&](Grouping grouping, const mrb::CancellationToken &cancellation) {
        read.push_back(grouping);
        EXPECT_FALSE(cancellation.isCancelled());
        if (grouping == Grouping::ARTIST) {
            EXPECT_FALSE(reading.request(Grouping::GENRE));
            EXPECT_TRUE(cancellation.isCancelled());
            return false;
        }
        return true;
    });
    EXPECT_THAT(read, ElementsAre(Grouping::ARTIST, Grouping::GENRE));
    // What is known is not read again, what was dropped is.
    EXPECT_FALSE(reading.request(Grouping::GENRE));
    EXPECT_TRUE(reading.request(Grouping::ARTIST));
}

TEST(GroupingTask, AreNotResumedAfterAStop) {
    GroupingTask reading;
    EXPECT_FALSE(reading.listIsComplete());
    ASSERT_TRUE(reading.request(Grouping::ARTIST));
    int times = 0;
    reading.run([&](Grouping, const mrb::CancellationToken &cancellation) {
        ++times;
        reading.cancel();
        return !cancellation.isCancelled();
    });
    EXPECT_EQ(times, 1);
    EXPECT_TRUE(reading.request(Grouping::ARTIST));
}
