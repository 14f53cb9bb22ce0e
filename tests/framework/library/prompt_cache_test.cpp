// Calls of clients against a storage that takes as long as the test wants.

#include "library/prompt_cache.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <future>
#include <list>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "support/client.h"

using mrb::CacheResult;
using mrb::FileMetadata;
using mrb::MediaKey;
using mrb::MediaRecord;
using mrb::MetadataKey;
using mrb::PromptCache;
using mrb::Status;
using mrb::WrittenFields;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

namespace {

// Holds a thread until the test opens it.
class Gate {
  public:
    void pass() {
        entered_.set_value();
        open_.get_future().wait();
    }
    void awaitEntry() { entered_.get_future().wait(); }
    void open() { open_.set_value(); }

  private:
    std::promise<void> entered_;
    std::promise<void> open_;
};

class Storage final : public mrb::CacheStorage {
  public:
    CacheResult lookUp(const MediaKey &key) override {
        CacheResult answer{nullptr, true, false};
        {
            const std::lock_guard guard(lock_);
            answer.record = std::make_shared<MediaRecord>(records_[key.path]);
        }
        if (onLookUp) {
            onLookUp(key);
        }
        return answer;
    }
    Status store(std::span<const FileMetadata> files) override {
        const std::lock_guard guard(lock_);
        for (const auto &[key, metadata] : files) {
            records_[key.path].isRead = true;
            records_[key.path].metadata = metadata;
        }
        return {};
    }
    Status write(const MediaKey &key, const WrittenFields &fields) override {
        Status status = onWrite ? onWrite(key) : Status();
        if (status.ok()) {
            const std::lock_guard guard(lock_);
            for (const auto &[name, value] : fields) {
                records_[key.path].written.insert_or_assign(name, value);
            }
        }
        return status;
    }
    [[nodiscard]] std::string title(const std::string &path);

    std::function<void(const MediaKey &)> onLookUp;
    std::function<Status(const MediaKey &)> onWrite;

  private:
    std::mutex lock_; // guards what follows
    std::map<std::string, MediaRecord> records_;
};

MediaKey file(const std::string &path) { return {"volume", path, 1, 1}; }

WrittenFields title(const std::string &text) { return {{"TITLE", text}}; }

std::string titleOf(const MediaRecord &record) {
    const auto found = record.written.find("TITLE");
    return found == record.written.end() ? "" : std::get<std::string>(found->second);
}

std::string Storage::title(const std::string &path) {
    const std::lock_guard guard(lock_);
    return titleOf(records_[path]);
}

// Timeouts: as long as a test, or next to nothing.
constexpr PromptCache::Limits PATIENT{support::LIMIT, milliseconds(0), 1024};
constexpr PromptCache::Limits IMPATIENT{milliseconds(1), milliseconds(0), 1024};

// A function for each call, the first of which passes the gate.
auto once(Gate &gate) {
    return [&gate, isFirst = std::make_shared<bool>(true)] {
        if (std::exchange(*isFirst, false)) {
            gate.pass();
        }
    };
}

// The title that a lookup of "a" finds when `act` runs while it reads the storage.
std::string titleFoundDuring(const std::function<void(Storage &storage, PromptCache &cache)> &act) {
    Gate gate;
    Storage storage;
    storage.onLookUp = [pass = once(gate)](const MediaKey & /*key*/) { pass(); };
    PromptCache cache(storage, PATIENT);
    auto found = std::async(std::launch::async, [&] { return cache.find(file("a")); });
    gate.awaitEntry();
    act(storage, cache);
    gate.open();
    return titleOf(*found.get());
}

} // namespace

TEST(PromptCache, FindsWhatWasWrittenAndStored) {
    Storage storage;
    PromptCache cache(storage, PATIENT);
    EXPECT_FALSE(cache.find(file("a"))->isRead);
    mrb::Metadata metadata;
    metadata.setText(MetadataKey::ARTIST, "Zoë");
    cache.store(file("a"), metadata);
    EXPECT_EQ(cache.write(file("a"), title("Mine")).code, MRB_ERR_NONE);
    EXPECT_EQ(storage.title("a"), "Mine");
    const auto record = cache.find(file("a"));
    EXPECT_FALSE(record->isLate);
    EXPECT_EQ(record->metadata.text(MetadataKey::ARTIST), "Zoë");
    EXPECT_EQ(titleOf(*record), "Mine");
}

// The write may end at any moment of the lookup.
TEST(PromptCache, WhatWasStoredIsKnownAtOnce) {
    constexpr std::size_t FILES = 20'000;
    Storage storage;
    PromptCache cache(storage, {support::LIMIT, milliseconds(0), 2 * FILES}); // all may be due
    for (std::size_t number = 0; number < FILES; ++number) {
        const MediaKey key = file(std::to_string(number));
        cache.store(key, {});
        ASSERT_TRUE(cache.find(key)->isRead) << number;
    }
}

TEST(PromptCache, ALookupThatHangsBlocksNoCall) {
    Gate gate;
    Storage storage;
    EXPECT_TRUE(storage.write(file("a"), title("Mine")).ok());
    storage.onLookUp = [pass = once(gate)](const MediaKey & /*key*/) { pass(); };
    PromptCache cache(storage, IMPATIENT);
    cache.prepare();
    gate.awaitEntry();
    // While it hangs:
    EXPECT_TRUE(cache.find(file("a"))->isLate);
    EXPECT_TRUE(cache.find(file("b"))->isLate);
    gate.open();
    // The lookup continues, and a later call gets its result.
    const auto end = steady_clock::now() + support::LIMIT;
    while (cache.find(file("a"))->isLate && steady_clock::now() < end) {
    }
    EXPECT_TRUE(cache.finish(end));
}

TEST(PromptCache, ManyCallsWhileALookupHangsAreBounded) {
    Gate gate;
    Storage storage;
    storage.onLookUp = [pass = once(gate)](const MediaKey & /*key*/) { pass(); };
    PromptCache cache(storage, IMPATIENT);
    cache.prepare();
    gate.awaitEntry();
    for (int number = 0; number < 10'000; ++number) {
        EXPECT_TRUE(cache.find(file(std::to_string(number)))->isLate);
    }
    gate.open();
    EXPECT_TRUE(cache.finish(steady_clock::now() + support::LIMIT));
}

TEST(PromptCache, AWriteThatHangsBlocksNoCallAndIsReadFromMemory) {
    Gate gate;
    Storage storage;
    storage.onWrite = [pass = once(gate)](const MediaKey & /*key*/) -> Status {
        pass();
        return {};
    };
    PromptCache cache(storage, {milliseconds(1), milliseconds(0), 1024});
    EXPECT_EQ(cache.write(file("a"), title("1")).code, MRB_ERR_NONE);
    gate.awaitEntry();
    // While it hangs:
    EXPECT_EQ(titleOf(*cache.find(file("a"))), "1");
    EXPECT_EQ(cache.write(file("a"), title("2")).code, MRB_ERR_NONE);
    EXPECT_EQ(cache.write(file("b"), title("3")).code, MRB_ERR_NONE);
    EXPECT_EQ(titleOf(*cache.find(file("a"))), "2");
    EXPECT_EQ(titleOf(*cache.find(file("b"))), "3");
    EXPECT_EQ(cache.write(file("a"), title("4")).code, MRB_ERR_NONE);
    EXPECT_EQ(titleOf(*cache.find(file("a"))), "4");
    EXPECT_EQ(storage.title("a"), "");
    gate.open();
    // Nothing is lost at the end, and the last write counts.
    EXPECT_TRUE(cache.finish(steady_clock::now() + support::LIMIT));
    EXPECT_EQ(storage.title("a"), "4");
    EXPECT_EQ(storage.title("b"), "3");
}

TEST(PromptCache, ALookupThatBeganBeforeAWriteFindsWhatWasWritten) {
    const std::string found = titleFoundDuring([](Storage &storage, PromptCache &cache) {
        EXPECT_EQ(cache.write(file("a"), title("Mine")).code, MRB_ERR_NONE);
        EXPECT_EQ(storage.title("a"), "Mine");
    });
    EXPECT_EQ(found, "Mine");
}

TEST(PromptCache, ALookupThatBeganBeforeTheStorageChangedIsRepeated) {
    const std::string found = titleFoundDuring([](Storage &storage, PromptCache &cache) {
        EXPECT_TRUE(storage.write(file("a"), title("Mine")).ok());
        cache.storageChanged();
    });
    EXPECT_EQ(found, "Mine");
}

TEST(PromptCache, AStorageThatAnotherProcessHoldsIsWrittenToLater) {
    constexpr int TIMES = 2;
    std::promise<void> refused;
    Storage storage;
    storage.onWrite = [&, times = 0](const MediaKey & /*key*/) mutable -> Status {
        if (++times > TIMES) {
            return {};
        }
        if (times == TIMES) {
            refused.set_value();
        }
        return Status::busy("Held.");
    };
    PromptCache cache(storage, IMPATIENT);
    EXPECT_EQ(cache.write(file("a"), title("Mine")).code, MRB_ERR_NONE);
    refused.get_future().wait();
    EXPECT_EQ(titleOf(*cache.find(file("a"))), "Mine");
    EXPECT_TRUE(cache.finish(steady_clock::now() + support::LIMIT));
    EXPECT_EQ(storage.title("a"), "Mine");
}

TEST(PromptCache, AWriteThatIsRefusedWhileTheEndBeginsIsMadeOnceMore) {
    std::promise<void> begun;
    std::promise<void> ending;
    Storage storage;
    storage.onWrite = [&, times = 0](const MediaKey & /*key*/) mutable -> Status {
        if (++times > 1) {
            return {};
        }
        begun.set_value();
        ending.get_future().wait();
        return Status::busy("Held.");
    };
    PromptCache cache(storage, IMPATIENT);
    EXPECT_TRUE(cache.write(file("a"), title("Mine")).ok());
    begun.get_future().wait();
    auto end =
        std::async(std::launch::async, [&] { return cache.finish(steady_clock::now() + support::LIMIT); });
    // From its beginning on writes fail.
    while (cache.write(file("b"), title("Mine")).code != MRB_ERR_NOT_INITIALIZED) {
    }
    ending.set_value();
    EXPECT_TRUE(end.get());
    EXPECT_EQ(storage.title("a"), "Mine");
}

TEST(PromptCache, AStorageThatAnotherProcessHoldsBlocksNoWrite) {
    std::atomic<bool> isHeld = true;
    Storage storage;
    storage.onWrite = [&](const MediaKey & /*key*/) { return isHeld ? Status::busy("Held.") : Status(); };
    PromptCache cache(storage, PATIENT);
    auto writes = std::async(std::launch::async, [&] {
        // The first one waits for the attempt, the others for the pause after it.
        for (const char *name : {"a", "b", "c"}) {
            EXPECT_EQ(cache.write(file(name), title("Mine")).code, MRB_ERR_NONE);
        }
    });
    EXPECT_EQ(writes.wait_for(support::LIMIT / 4), std::future_status::ready);
    isHeld = false;
    EXPECT_TRUE(cache.finish(steady_clock::now() + support::LIMIT));
    EXPECT_EQ(storage.title("c"), "Mine");
}

TEST(PromptCache, AWriteThatFailsInTimeReturnsTheError) {
    Storage storage;
    storage.onWrite = [](const MediaKey & /*key*/) -> Status { return Status::noSpace("Full."); };
    PromptCache cache(storage, PATIENT);
    EXPECT_EQ(cache.write(file("a"), title("Mine")).code, MRB_ERR_NO_SPACE);
    EXPECT_EQ(titleOf(*cache.find(file("a"))), "");
}

TEST(PromptCache, PendingWritesAreBounded) {
    constexpr std::size_t MOST = 4;
    Gate gate;
    Storage storage;
    storage.onWrite = [pass = once(gate)](const MediaKey & /*key*/) -> Status {
        pass();
        return {};
    };
    PromptCache cache(storage, {milliseconds(1), milliseconds(0), MOST});
    EXPECT_EQ(cache.write(file("0"), title("0")).code, MRB_ERR_NONE);
    gate.awaitEntry();
    // Reads are dropped before writes: they can be repeated.
    for (std::size_t number = 0; number < 2 * MOST; ++number) {
        cache.store(file("song " + std::to_string(number)), {});
    }
    for (std::size_t number = 2; number < MOST; ++number) {
        EXPECT_EQ(cache.write(file(std::to_string(number)), title("1")).code, MRB_ERR_NONE) << number;
    }
    EXPECT_EQ(cache.write(file("one more"), title("1")).code, MRB_ERR_BUSY);
    EXPECT_EQ(cache.write(file("2"), title("2")).code, MRB_ERR_NONE);
    gate.open();
    EXPECT_TRUE(cache.finish(steady_clock::now() + support::LIMIT));
    EXPECT_EQ(storage.title("2"), "2");
    EXPECT_EQ(storage.title("3"), "1");
    EXPECT_EQ(storage.title("one more"), "");
}

TEST(PromptCache, TheEndDoesNotWaitForAStorageThatHangs) {
    // Leaked with its threads, and reachable so that it does not count as a leak.
    struct Hanging {
        Gate gate;
        Storage storage;
        PromptCache cache{storage, IMPATIENT};
    };
    static auto &hanging = *new std::list<Hanging>;
    auto &[gate, storage, cache] = hanging.emplace_back();
    storage.onLookUp = [&entered = gate](const MediaKey & /*key*/) { entered.pass(); };
    cache.prepare();
    gate.awaitEntry();
    EXPECT_FALSE(cache.finish(steady_clock::now() + milliseconds(20)));
    // Later calls fail at once.
    EXPECT_TRUE(cache.find(file("a"))->isLate);
    EXPECT_EQ(cache.write(file("a"), title("Mine")).code, MRB_ERR_NOT_INITIALIZED);
}

TEST(PromptCache, ManyThreadsReadWhatTheyWrote) {
    constexpr int THREADS = 4;
    constexpr int TURNS = 200;
    Storage storage;
    PromptCache cache(storage, {support::LIMIT, milliseconds(1), 1024});
    std::vector<std::future<void>> threads;
    threads.reserve(THREADS);
    for (int thread = 0; thread < THREADS; ++thread) {
        threads.push_back(std::async(std::launch::async, [&cache, thread] {
            const MediaKey own = file(std::to_string(thread));
            for (int turn = 0; turn < TURNS; ++turn) {
                EXPECT_EQ(cache.write(own, title(std::to_string(turn))).code, MRB_ERR_NONE);
                EXPECT_EQ(titleOf(*cache.find(own)), std::to_string(turn));
                cache.store(file("shared"), {});
            }
        }));
    }
    for (std::future<void> &thread : threads) {
        thread.wait();
    }
    EXPECT_TRUE(cache.finish(steady_clock::now() + support::LIMIT));
    EXPECT_EQ(storage.title("3"), std::to_string(TURNS - 1));
}
