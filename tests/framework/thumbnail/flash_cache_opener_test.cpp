// Opening and reading the flash cache while another program holds it.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>

#include <filesystem>
#include <future>
#include <list>
#include <string>

#include "base/descriptor.h"
#include "mrb/thumbnail.h"
#include "support/client.h"
#include "support/folder.h"
#include "support/programs.h"
#include "support/thumbnails.h"
#include "thumbnail/flash_cache_opener.h"

using mrb::thumbnail::Decoded;
using mrb::thumbnail::DecodeRequest;
using mrb::thumbnail::FlashCache;
using mrb::thumbnail::FlashCacheOpener;
using std::chrono::milliseconds;
using std::chrono::steady_clock;
using support::Folder;

namespace {

// A program that was stopped while it held the lock.
class OtherProgram {
  public:
    explicit OtherProgram(const std::string &list) {
        std::filesystem::create_directories(list + ".d");
        turn_ = mrb::Descriptor(open((list + ".lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
        EXPECT_EQ(flock(turn_.fd(), LOCK_EX), 0);
    }
    void goOn() { turn_ = mrb::Descriptor(); }

  private:
    mrb::Descriptor turn_;
};

class FlashCacheContention : public testing::Test {
  protected:
    [[nodiscard]] std::string list() const { return folder_.path("opt/data/thumbCache.txt"); }
    // Opens it again until that ends in time.
    [[nodiscard]] int openAtLast(FlashCacheOpener &opening) const {
        int code = MRB_ERR_TIMEOUT;
        const auto end = steady_clock::now() + support::LIMIT;
        while (code == MRB_ERR_TIMEOUT && steady_clock::now() < end) {
            code = opening.open(list()).code;
        }
        return code;
    }

    Folder folder_;
};

} // namespace

TEST_F(FlashCacheContention, NoCallWaitsForAProgramThatHoldsTheCache) {
    OtherProgram program(list());
    setenv("MRB_ROOT", folder_.path().c_str(), 1);
    const std::string picture = folder_.path("a.jpg");
    support::makePicture(picture, 40, 30);
    auto calls = std::async(std::launch::async, [&] {
        EXPECT_EQ(mrb_thumbnail_flash_cache_init("/opt/data/thumbCache.txt"), MRB_ERR_TIMEOUT);
        // A thumbnail is made without the cache.
        support::Thumbnails client;
        EXPECT_EQ(client.get(support::ThumbnailOptions{.path = picture, .usedCache = 1}).code, MRB_ERR_NONE);
    });
    EXPECT_EQ(calls.wait_for(support::LIMIT / 2), std::future_status::ready);
    unsetenv("MRB_ROOT");
    program.goOn();
}

TEST_F(FlashCacheContention, WhatWasHeldIsOpenedWhenItIsFree) {
    OtherProgram program(list());
    FlashCacheOpener opening(milliseconds(1));
    EXPECT_EQ(opening.open(list()).code, MRB_ERR_TIMEOUT);
    EXPECT_EQ(opening.cache(), nullptr);
    program.goOn();
    const auto end = steady_clock::now() + support::LIMIT;
    while (!opening.cache() && steady_clock::now() < end) {
        std::this_thread::yield();
    }
    EXPECT_NE(opening.cache(), nullptr);
}

TEST_F(FlashCacheContention, TheOpenCacheIsUsedWhileAnotherOneIsHeld) {
    FlashCacheOpener opening(milliseconds(1));
    ASSERT_EQ(openAtLast(opening), MRB_ERR_NONE);
    const std::shared_ptr<FlashCache> first = opening.cache();
    OtherProgram program(folder_.path("other"));
    EXPECT_EQ(opening.open(folder_.path("other")).code, MRB_ERR_TIMEOUT);
    EXPECT_EQ(opening.cache(), first);
    program.goOn();
}

TEST_F(FlashCacheContention, ACacheThatCannotBeOpenedLeavesTheOneThatIs) {
    FlashCacheOpener opening(support::LIMIT);
    ASSERT_EQ(opening.open(list()).code, MRB_ERR_NONE);
    const std::shared_ptr<FlashCache> first = opening.cache();
    folder_.file("data", 1);
    EXPECT_EQ(opening.open(folder_.path("data/list")).code, MRB_ERR_NOT_A_FOLDER);
    EXPECT_EQ(opening.cache(), first);
}

TEST_F(FlashCacheContention, ACacheThatIsHeldAfterItWasOpenedIsBypassed) {
    FlashCache cache;
    ASSERT_EQ(cache.open(list()).code, MRB_ERR_NONE);
    OtherProgram program(list());
    auto calls = std::async(std::launch::async, [&] {
        DecodeRequest request;
        request.path = folder_.path("a.jpg");
        Decoded decoded;
        EXPECT_FALSE(cache.find(request, decoded));
        mrb::thumbnail::FlashEntry entry;
        entry.key.path = request.path;
        entry.width = entry.height = 1;
        EXPECT_FALSE(cache.save(entry, reinterpret_cast<const unsigned char *>("rgba"), nullptr));
    });
    EXPECT_EQ(calls.wait_for(support::LIMIT / 2), std::future_status::ready);
    program.goOn();
}

TEST_F(FlashCacheContention, TheEndDoesNotWaitForAnOpeningThatHangs) {
    OtherProgram program(list());
    // Leaked with its thread, and reachable so that it does not count as a leak.
    static auto &hanging = *new std::list<FlashCacheOpener>;
    FlashCacheOpener &opening = hanging.emplace_back(milliseconds(1));
    EXPECT_EQ(opening.open(list()).code, MRB_ERR_TIMEOUT);
    EXPECT_FALSE(opening.finish(steady_clock::now() + milliseconds(20)));
    EXPECT_EQ(opening.open(list()).code, MRB_ERR_NOT_INITIALIZED);
    program.goOn();
}
