// The lock under which libraries are loaded, one thread at a time.

#include "base/loading.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

using mrb::LoadingLock;
using mrb::LoadingTurn;
using std::chrono::steady_clock;

TEST(Loading, OneThreadAtATimeHasTheTurn) {
    constexpr int THREADS = 4;
    constexpr int ROUNDS = 1000;
    std::atomic<int> inside = 0;
    std::atomic<bool> met = false;
    std::vector<std::jthread> threads;
    for (int thread = 0; thread < THREADS; ++thread) {
        threads.emplace_back([&] {
            for (int round = 0; round < ROUNDS; ++round) {
                const LoadingTurn turn;
                met = met || ++inside != 1;
                --inside;
            }
        });
    }
    threads.clear();
    EXPECT_FALSE(met);
}

TEST(Loading, ATurnHoldsUntilTheLastOfItsThreadEnds) {
    LoadingLock lock;
    lock.lock();
    lock.lock();
    lock.unlock();
    EXPECT_FALSE(lock.isFreeBy(steady_clock::now()));
    lock.unlock();
    EXPECT_TRUE(lock.isFreeBy(steady_clock::now()));
}
