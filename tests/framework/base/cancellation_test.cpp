// Ending the work of other threads early.

#include "base/cancellation.h"

#include <gtest/gtest.h>

#include <chrono>

namespace {

using mrb::CancellationSource;
using mrb::CancellationToken;

bool pass(const CancellationToken &cancellation) { return cancellation.isCancelled(); }

TEST(Cancellation, ATokenOfItsOwnIsNeverCancelled) {
    EXPECT_FALSE(CancellationToken().isCancelled());
    EXPECT_FALSE(CancellationToken().isTimedOut());
}

TEST(Cancellation, ASourceCancelsItsTokensAndTheirCopies) {
    CancellationSource source;
    const CancellationToken token = source;
    const CancellationToken copy = token; // NOLINT(performance-unnecessary-copy-initialization): it is tested
    EXPECT_FALSE(token.isCancelled());
    source.cancel();
    EXPECT_TRUE(source.isCancelled());
    EXPECT_TRUE(token.isCancelled());
    EXPECT_TRUE(copy.isCancelled());
    EXPECT_FALSE(token.isTimedOut());
}

TEST(Cancellation, ASourceCancelsWhenItsTimeIsOver) {
    CancellationSource source;
    const CancellationToken token = source;
    source.cancelAfter(std::chrono::hours(1));
    EXPECT_FALSE(token.isCancelled());
    source.cancelAfter(CancellationSource::Clock::duration(-1));
    EXPECT_TRUE(token.isCancelled());
    EXPECT_TRUE(token.isTimedOut());
    EXPECT_FALSE(source.isCancelled());
}

TEST(Cancellation, WhatIsCancelledIsNotTimedOut) {
    CancellationSource source;
    source.cancelAfter(CancellationSource::Clock::duration(-1));
    source.cancel();
    EXPECT_FALSE(CancellationToken(source).isTimedOut());
}

TEST(Cancellation, ATokenMayBeACondition) {
    bool isOver = false;
    const CancellationToken token = [&isOver] { return isOver; };
    EXPECT_FALSE(token.isCancelled());
    isOver = true;
    EXPECT_TRUE(token.isCancelled());
    EXPECT_FALSE(token.isTimedOut());
}

TEST(Cancellation, AFunctionThatWantsATokenTakesASourceOrACondition) {
    CancellationSource source;
    EXPECT_FALSE(pass(source));
    EXPECT_TRUE(pass([] { return true; }));
    EXPECT_FALSE(pass({}));
}

} // namespace
