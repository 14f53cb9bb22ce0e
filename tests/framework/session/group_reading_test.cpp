// When a list reads the metadata for its groups.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <vector>

#include "base/cancellation.h"
#include "session/group_reading.h"

using mrb::CancellationToken;
using mrb::Grouping;
using mrb::GroupReading;
using testing::ElementsAre;

TEST(GroupReadings, BeginWhenTheListIsCompleteAndOneIsRequested) {
    GroupReading early;
    EXPECT_FALSE(early.want(Grouping::ARTIST));
    EXPECT_TRUE(early.listIsComplete());
    GroupReading late;
    EXPECT_FALSE(late.listIsComplete());
    EXPECT_FALSE(late.want(Grouping::DATE));
    EXPECT_TRUE(late.want(Grouping::ARTIST));
    // One at a time.
    EXPECT_FALSE(late.want(Grouping::ALBUM));
}

TEST(GroupReadings, ContinueWithNewRequestsAndDropTheOneUnderWay) {
    GroupReading reading;
    EXPECT_FALSE(reading.listIsComplete());
    ASSERT_TRUE(reading.want(Grouping::ARTIST));
    std::vector<Grouping> read;
    reading.run([&](Grouping grouping, const mrb::CancellationToken &cancellation) {
        read.push_back(grouping);
        EXPECT_FALSE(cancellation.isCancelled());
        if (grouping == Grouping::ARTIST) {
            EXPECT_FALSE(reading.want(Grouping::GENRE));
            EXPECT_TRUE(cancellation.isCancelled());
            return false;
        }
        return true;
    });
    EXPECT_THAT(read, ElementsAre(Grouping::ARTIST, Grouping::GENRE));
    // What is known is not read again, what was dropped is.
    EXPECT_FALSE(reading.want(Grouping::GENRE));
    EXPECT_TRUE(reading.want(Grouping::ARTIST));
}

TEST(GroupReadings, AreNotResumedAfterAStop) {
    GroupReading reading;
    EXPECT_FALSE(reading.listIsComplete());
    ASSERT_TRUE(reading.want(Grouping::ARTIST));
    int times = 0;
    reading.run([&](Grouping, const mrb::CancellationToken &cancellation) {
        ++times;
        reading.stop();
        return !cancellation.isCancelled();
    });
    EXPECT_EQ(times, 1);
    EXPECT_TRUE(reading.want(Grouping::ARTIST));
}
