// Two parts of the framework that are used for the first time at once, each of which loads
// libraries of its own: both finish, in whatever order they begin. Every trial is a process of
// its own.

#include <gtest/gtest.h>

#include <algorithm>
#include <future>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "support/fields.h"
#include "support/folder.h"
#include "support/programs.h"
#include "support/resources.h"

namespace {

class FirstUse : public testing::TestWithParam<std::pair<const char *, const char *>> {
  protected:
    static void SetUpTestSuite() {
        folder = std::make_unique<support::Folder>();
        support::makePicture(folder->path("photo.jpg"), 320, 240);
        support::makePicture(folder->path("plain.png"), 320, 240);
        support::ffmpeg({"-f", "lavfi", "-i", "testsrc=s=320x180:r=25:d=2", "-c:v", "libx264", "-preset",
                         "ultrafast", folder->path("film.mp4")});
    }
    static void TearDownTestSuite() { folder.reset(); }

    static void use(const std::string &one, const std::string &other, unsigned microseconds) {
        const std::string limit = "120"; // seconds, far more than it takes
        support::shell(folder->path(), "timeout -s KILL " + limit + " " +
                                           support::commandOf(FIRST_USE_PROGRAM) + " " + folder->path() +
                                           " " + one + " " + other + " " + std::to_string(microseconds));
    }

    static inline std::unique_ptr<support::Folder> folder;
};

} // namespace

TEST_P(FirstUse, OfTwoAtOnceBothComeToTheirEnd) {
    constexpr int AT_ONCE = 4;
    constexpr unsigned MAX_DELAY = 10'000; // microseconds between the two
    constexpr unsigned STEP = 7919;        // so that the delays differ from trial to trial
    const auto [one, other] = GetParam();
    const int all = support::repetitions(8, 200); // of each pair
    std::vector<std::future<void>> lines;
    for (int line = 0; line < AT_ONCE; ++line) {
        lines.push_back(std::async(std::launch::async, [=, first = one, second = other] {
            for (int trial = line; trial < all && !HasFailure(); trial += AT_ONCE) {
                const bool isTurned = trial % 2 != 0;
                const unsigned later = static_cast<unsigned>(trial) * STEP % MAX_DELAY;
                use(isTurned ? second : first, isTurned ? first : second, later);
            }
        }));
    }
    for (std::future<void> &line : lines) {
        line.get();
    }
}

INSTANTIATE_TEST_SUITE_P(, FirstUse,
                         testing::Values(std::pair{"readers", "decoders"}, std::pair{"readers", "films"},
                                         std::pair{"readers", "dlna"}, std::pair{"readers", "cameras"},
                                         std::pair{"decoders", "films"}, std::pair{"decoders", "dlna"},
                                         std::pair{"decoders", "cameras"}, std::pair{"films", "dlna"},
                                         std::pair{"films", "cameras"}, std::pair{"dlna", "cameras"}),
                         [](const auto &each) {
                             return each.param.first + std::string("_and_") + each.param.second;
                         });
