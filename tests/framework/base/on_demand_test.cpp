// Objects that the process creates on first use.

#include "base/on_demand.h"

#include <gtest/gtest.h>

#include <atomic>
#include <latch>
#include <stdexcept>
#include <thread>
#include <vector>

TEST(OnDemand, IsCreatedOnce) {
    mrb::OnDemand<int> number;
    int made = 0;
    int kept = 7;
    const auto make = [&] {
        ++made;
        return &kept;
    };
    EXPECT_EQ(&number.get(make), &kept);
    EXPECT_EQ(&number.get(make), &kept);
    EXPECT_EQ(made, 1);
}

TEST(OnDemand, IsMadeByItsDefaultConstructorUnlessSaidOtherwise) {
    static mrb::OnDemand<std::vector<int>> numbers; // which stays reachable
    numbers.get().push_back(7);
    EXPECT_EQ(numbers.get().size(), 1U);
}

TEST(OnDemand, AFailureIsReturnedAndRetried) {
    mrb::OnDemand<int> number;
    int kept = 7;
    EXPECT_THROW((void)number.get([]() -> int * { throw std::runtime_error("no more files"); }),
                 std::runtime_error);
    EXPECT_EQ(number.get([&] { return &kept; }), 7);
}

TEST(OnDemand, WaitersContinueAfterAFailure) {
    constexpr int ROUNDS = 200;
    constexpr int THREADS = 4;
    for (int round = 0; round < ROUNDS; ++round) {
        mrb::OnDemand<int> number;
        int kept = 7;
        std::atomic<int> attempts = 0;
        std::atomic<int> failures = 0;
        std::latch ready(THREADS);
        std::vector<std::jthread> threads;
        for (int thread = 0; thread < THREADS; ++thread) {
            threads.emplace_back([&] {
                ready.arrive_and_wait();
                try {
                    (void)number.get([&] {
                        if (++attempts < THREADS) {
                            throw std::runtime_error("not yet");
                        }
                        return &kept;
                    });
                } catch (const std::runtime_error &) {
                    ++failures;
                }
            });
        }
        threads.clear();
        EXPECT_EQ(attempts, THREADS);
        EXPECT_EQ(failures, THREADS - 1);
    }
}
