#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "base/brief_wait.h"
#include "base/joinable_thread.h"
#include "library/cache_storage.h"

namespace mrb {

// The metadata cache as clients' calls see it, which never wait for the disk, for a write of
// another thread or for another process: a thread of its own looks up what is not in memory,
// another one writes, and a call waits for either for a limited time. What is not known by
// then is not known; what is not written by then is written later, and can be read at once.
// Owned by the MediaLibrary; any thread may call it, and its lock is never held while the
// storage is at work.
class PromptCache {
  public:
    struct Limits {
        // How long a call waits, see waitBriefly.
        std::chrono::milliseconds patience = CLIENT_PATIENCE;
        // As long as this no call asks whether other processes changed what is in memory.
        std::chrono::milliseconds freshness{5};
        std::size_t writes = 1024; // files whose writes may be due
    };

    // The storage outlives it.
    explicit PromptCache(CacheStorage &storage) : PromptCache(storage, Limits()) {}
    PromptCache(CacheStorage &storage, Limits limits) : storage_(storage), limits_(limits) {}
    ~PromptCache();
    PromptCache(const PromptCache &) = delete;
    PromptCache &operator=(const PromptCache &) = delete;

    // What is known of the file; `isLate`: the storage did not answer in time.
    std::shared_ptr<const MediaRecord> find(const MediaKey &key);

    // Has the storage opened, so that the first call of a client finds it ready; does not wait.
    void prepare();

    // Keeps what was just read from the file; does not wait.
    void store(const MediaKey &key, const Metadata &facts);

    // Keeps fields that a client wrote. MRB_ERR_BUSY: too many writes are due already.
    Status write(const MediaKey &key, const WrittenFields &fields);

    // Says that this process changed the storage by another way.
    void storageChanged();

    // Writes what is due, and ends the threads; those still at work at the deadline are left
    // behind: false. From the beginning of it on nothing is looked up, and writes fail.
    bool finish(std::chrono::steady_clock::time_point deadline);

  private:
    using steady_clock = std::chrono::steady_clock;
    using Lock = std::unique_lock<std::mutex>;
    using Record = std::shared_ptr<const MediaRecord>;

    struct Lookup {
        MediaKey key;
        Record record;
        bool isOutdated = false; // the storage may have changed since it was begun
        bool isDone = false;
    };
    // What is due for one file.
    struct Write {
        MediaKey key;
        std::string text; // of the key
        std::optional<Metadata> facts;
        WrittenFields fields;
        bool isAtHand = false; // the thread has begun with it: nothing is added
        bool isDone = false;
        bool isAwaited = false; // a call returns the outcome
        Status outcome;
    };
    using Writes = std::vector<std::shared_ptr<Write>>;
    struct Worker {
        explicit Worker(const char *name) : thread(name, "The metadata cache does not answer.") {}

        JoinableThread thread;
        std::condition_variable wake;
        std::optional<steady_clock::time_point> busySince; // with the present piece of work
        bool isHeldUp = false; // by another process; no call waits for what is due then
    };

    // With lock_ held:
    bool await(Lock &guard, const Worker &worker, const bool &isDone);
    [[nodiscard]] Record recent(const std::string &text) const;
    std::shared_ptr<Lookup> post(const MediaKey &key);
    void keep(const std::string &text, const Record &record);
    void forget(const std::string &text);
    [[nodiscard]] Record withWrites(Record record, const std::string &text) const;
    std::shared_ptr<Write> due(const MediaKey &key, std::size_t most);
    [[nodiscard]] Writes take() const;
    bool settle(const Writes &writes, const std::vector<Status> &outcomes, bool isLast);

    void lookUpAll(); // the life of the one thread
    void writeAll();  // and of the other
    CacheAnswer ask(const MediaKey &key);
    [[nodiscard]] std::vector<Status> perform(const Writes &writes);

    CacheStorage &storage_;
    const Limits limits_;

    std::mutex lock_; // guards what follows
    std::condition_variable change_;
    std::map<std::string, std::shared_ptr<Lookup>> lookups_; // not done yet
    Writes writes_;                                          // the same, in their order
    // What was asked for last, since a client reads one field after the other.
    std::unordered_map<std::string, Record> recent_;
    steady_clock::time_point freshUntil_;
    bool isPrepared_ = false;
    bool isFinishing_ = false;
    Worker reader_{"mrb-lookup"};
    Worker writer_{"mrb-keep"};
};

} // namespace mrb
