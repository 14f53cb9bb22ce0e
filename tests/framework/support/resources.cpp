#include "support/resources.h"

#include <gtest/gtest.h>
#include <malloc.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <string_view>
#include <thread>

#include "support/client.h"

namespace support {
namespace {

struct Resources {
    std::ptrdiff_t descriptors = 0;
    std::ptrdiff_t threads = 0;
    double bytes = 0;
};

std::ptrdiff_t entriesOf(const char *folder) {
    return std::distance(std::filesystem::directory_iterator(folder), {});
}

Resources resourcesNow() {
    const struct mallinfo2 info = mallinfo2();
    return {entriesOf("/proc/self/fd"), entriesOf("/proc/self/task"),
            static_cast<double>(info.uordblks + info.hblkhd)};
}

} // namespace

int repetitions(int usual, int complete) {
    const char *isLong = std::getenv("QUILL_TEST_LONG");
    return isLong != nullptr && std::string_view(isLong) == "1" ? complete : usual;
}

void expectNothingLeft(int rounds, const std::function<void()> &round, double bytesPerRound) {
    constexpr int WARM_UP = 20;
    constexpr double SLACK = 256UL << 10; // of pools and arenas, however many rounds there are
    const auto repeat = [&](int times) {
        for (int time = 0; time < times && !testing::Test::HasFatalFailure(); ++time) {
            round();
        }
    };
    repeat(WARM_UP);
    const Resources before = resourcesNow();
    repeat(rounds);
    Resources after = resourcesNow();
    const auto deadline = std::chrono::steady_clock::now() + LIMIT;
    while ((after.descriptors > before.descriptors || after.threads > before.threads) &&
           std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20)); // between two measurements
        after = resourcesNow();
    }
    EXPECT_LE(after.descriptors, before.descriptors);
    EXPECT_LE(after.threads, before.threads);
    EXPECT_LE(after.bytes, before.bytes + SLACK + rounds * bytesPerRound);
}

} // namespace support
