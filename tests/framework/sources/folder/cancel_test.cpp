// A list can be cancelled at any moment: a scan and a sort check for that after every
// bounded piece of work, and do nothing more afterwards.

#include <fcntl.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "base/descriptor.h"
#include "list/sorting.h"
#include "mrb/agent.h"
#include "sources/folder/folder_scan.h"
#include "support/counting_sink.h"
#include "support/folder.h"

using support::CountingSink;
using support::Folder;

namespace {

int scan(const Folder &folder, mrb::ItemSink &sink) {
    mrb::Descriptor top(open(folder.path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return mrb::FolderScan(sink, folder.path()).run(std::move(top)).status.code;
}

// A large folder, many small ones, and many in one.
class CancelScan : public testing::TestWithParam<std::pair<int, int>> {
  protected:
    CancelScan() { folder.pictures(GetParam().first, GetParam().second); }
    const Folder folder;
};

mrb::ItemStore storeOf(int items) {
    mrb::ItemStore store;
    std::minstd_rand random(1);
    for (int index = 0; index < items; ++index) {
        const std::string name = std::to_string(random());
        EXPECT_TRUE(store.add({.name = name, .id = {}, .type = MRB_ITEM_TYPE_IMAGE}, true));
    }
    return store;
}

} // namespace

TEST_P(CancelScan, AScanChecksForEachFileThatItReadsOrdersAndReports) {
    CountingSink sink(CountingSink::NEVER);
    EXPECT_EQ(scan(folder, sink), MRB_ERR_NONE);
    const auto [folders, files] = GetParam();
    EXPECT_EQ(sink.items, folders + folders * files);
    EXPECT_GE(sink.checks, 3 * sink.items);
    EXPECT_LE(sink.longestRun, 256U);
}

TEST_P(CancelScan, AScanDoesNothingMoreOnceItIsCancelled) {
    CountingSink whole(CountingSink::NEVER);
    scan(folder, whole);
    std::minstd_rand random(5);
    for (int round = 0; round < 60; ++round) {
        const std::int64_t last = random() % static_cast<std::uint64_t>(whole.checks);
        CountingSink sink(last);
        EXPECT_EQ(scan(folder, sink), MRB_ERR_CANCELLED);
        EXPECT_FALSE(sink.late);
        // The check that returned true, and those of the calls on the way out.
        EXPECT_LE(sink.checks, last + 4);
    }
}

INSTANTIATE_TEST_SUITE_P(, CancelScan,
                         testing::Values(std::pair{1, 10'000}, std::pair{300, 20}, std::pair{6'000, 0}));

TEST(CancelSort, ChecksForEachNameAndOftenWhileItCompares) {
    const mrb::ItemStore store = storeOf(20'000);
    int looks = 0;
    const auto look = [&] {
        ++looks;
        return false;
    };
    ASSERT_TRUE(mrb::sortItems(store, {mrb::SortKey::NAME, false}, look));
    // 20,000 names are compared more than 200,000 times, whatever the algorithm.
    EXPECT_GE(looks, 20'000 + 200'000 / 256);
}

TEST(CancelSort, DoesNothingMoreOnceItIsCancelled) {
    const mrb::ItemStore store = storeOf(20'000);
    int whole = 0;
    static_cast<void>(mrb::sortItems(store, {mrb::SortKey::NAME, false}, [&] { return ++whole < 0; }));
    std::minstd_rand random(5);
    for (int round = 0; round < 60; ++round) {
        const int last = static_cast<int>(random() % static_cast<unsigned>(whole));
        int looks = 0;
        EXPECT_FALSE(mrb::sortItems(store, {mrb::SortKey::NAME, false}, [&] { return ++looks > last; }));
        EXPECT_EQ(looks, last + 1);
    }
}
