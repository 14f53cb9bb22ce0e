#pragma once

#include <chrono>
#include <cstddef>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "base/brief_wait.h"
#include "base/joinable_thread.h"
#include "base/mutex.h"
#include "library/cache_storage.h"

namespace mrb {

// The metadata cache for clients' calls, which never wait for the disk, for a write of another
// thread or for another process: one thread looks up what is not in memory, another one writes,
// and a call waits for either with a timeout. A lookup that has not completed by then returns no
// record; a write that has not completed is done later, and can be read at once. Owned by the
// MediaLibrary; any thread may call it, and its lock is never held during a call of the storage.
class PromptCache {
  public:
    struct Limits {
        // How long a call waits, see BriefWait.
        std::chrono::milliseconds timeout = CLIENT_TIMEOUT;
        // How long a record in memory is valid without a check for changes by other processes.
        std::chrono::milliseconds freshness{5};
        std::size_t writes = 1024; // maximum number of files with pending writes
    };

    // The storage outlives it.
    explicit PromptCache(CacheStorage &storage) : PromptCache(storage, Limits()) {}
    PromptCache(CacheStorage &storage, Limits limits) : storage_(storage), limits_(limits) {}
    ~PromptCache();
    PromptCache(const PromptCache &) = delete;
    PromptCache &operator=(const PromptCache &) = delete;

    // What is known of the file; `isLate`: the storage did not answer in time.
    std::shared_ptr<const MediaRecord> find(const MediaKey &key);

    // Opens the storage, so that the first call of a client finds it ready; does not wait.
    void prepare();

    // Stores what was just read from the file; does not wait.
    void store(const MediaKey &key, const Metadata &metadata);

    // Stores fields that a client wrote. MRB_ERR_BUSY: too many writes are pending already.
    Status write(const MediaKey &key, const WrittenFields &fields);

    // Invalidates the records in memory after a write that did not go through this object.
    void storageChanged();

    // Completes pending writes, and ends the threads; those still busy at the deadline are
    // detached: false. As soon as it is called, lookups return nothing and writes fail.
    bool finish(std::chrono::steady_clock::time_point deadline);

  private:
    using steady_clock = std::chrono::steady_clock;
    using Record = std::shared_ptr<const MediaRecord>;

    struct Lookup {
        MediaKey key;
        Record record;
        bool isOutdated = false; // the storage may have changed since the lookup began
        bool isDone = false;
    };
    // The pending write of one file.
    struct Write {
        MediaKey key;
        std::string text; // of the key
        std::optional<Metadata> metadata;
        WrittenFields fields;
        bool isAtHand = false; // the worker has taken it: no fields are added
        bool isDone = false;
        bool isAwaited = false; // a call returns its result
        Status status;
    };
    using Writes = std::vector<std::shared_ptr<Write>>;
    // The state of a thread.
    struct Worker {
        ConditionVariable wake;
        std::optional<steady_clock::time_point> busySince; // since when it works on the present task
        bool isHeldUp = false; // by another process; no call waits for pending writes then
    };

    bool await(const Worker &worker, const bool &isDone) MRB_REQUIRES(lock_);
    [[nodiscard]] Record recent(const std::string &text) const MRB_REQUIRES(lock_);
    std::shared_ptr<Lookup> post(const MediaKey &key) MRB_REQUIRES(lock_);
    void keep(const std::string &text, const Record &record) MRB_REQUIRES(lock_);
    void forget(const std::string &text) MRB_REQUIRES(lock_);
    [[nodiscard]] Record withWrites(Record record, const std::string &text) const MRB_REQUIRES(lock_);
    std::shared_ptr<Write> due(const MediaKey &key, std::size_t maximum) MRB_REQUIRES(lock_);
    [[nodiscard]] Writes take() const MRB_REQUIRES(lock_);
    bool settle(const Writes &writes, const std::vector<Status> &statuses, bool isLast) MRB_REQUIRES(lock_);

    void lookUpAll() MRB_EXCLUDES(lock_); // the lookup thread
    void writeAll() MRB_EXCLUDES(lock_);  // the write thread
    CacheResult request(const MediaKey &key) MRB_EXCLUDES(lock_);
    [[nodiscard]] std::vector<Status> perform(const Writes &writes) MRB_EXCLUDES(lock_);

    CacheStorage &storage_;
    const Limits limits_;

    Mutex lock_; // also guards the lookups and writes themselves
    ConditionVariable change_;
    std::map<std::string, std::shared_ptr<Lookup>> lookups_ MRB_GUARDED_BY(lock_); // pending
    Writes writes_ MRB_GUARDED_BY(lock_);                                          // pending, in order
    // The most recently used records, since a client reads one field after the other.
    std::unordered_map<std::string, Record> recent_ MRB_GUARDED_BY(lock_);
    steady_clock::time_point freshUntil_ MRB_GUARDED_BY(lock_);
    bool isPrepared_ MRB_GUARDED_BY(lock_) = false;
    bool isFinishing_ MRB_GUARDED_BY(lock_) = false;
    Worker reader_ MRB_GUARDED_BY(lock_);
    Worker writer_ MRB_GUARDED_BY(lock_);

    static constexpr const char *BLOCKER = "The metadata cache does not answer.";
    JoinableThread readerThread_{"mrb-lookup", BLOCKER};
    JoinableThread writerThread_{"mrb-keep", BLOCKER};
};

} // namespace mrb
