#include "library/prompt_cache.h"

#include <algorithm>
#include <exception>
#include <ranges>
#include <system_error>
#include <utility>

#include "base/log.h"

namespace mrb {
namespace {

constexpr std::size_t MAX_RECENT = 1024;
// The maximum of pending lookups, which are of different files, while the storage hangs.
constexpr std::size_t MAX_LOOKUPS = 64;
// The maximum of writes in one transaction.
constexpr std::size_t MAX_READY = 128;
// The interval between attempts to write while another process holds the cache.
constexpr auto RETRY_INTERVAL = std::chrono::seconds(1);

} // namespace

PromptCache::~PromptCache() { finish(steady_clock::time_point::max()); }

// False: it takes long, or the one before it does, or another process holds the storage.
bool PromptCache::await(const Worker &worker, const bool &isDone) {
    BriefWait wait(limits_.timeout);
    while (!isDone && !worker.isHeldUp && !isFinishing_ && wait.next(lock_, change_, worker.busySince)) {
    }
    return isDone;
}

PromptCache::Record PromptCache::find(const MediaKey &key) {
    const std::string text = textOf(key);
    const MutexLock guard(lock_);
    Record record = recent(text);
    if (!record) {
        if (const std::shared_ptr<Lookup> lookup = post(key)) {
            await(reader_, lookup->isDone);
            record = lookup->record;
        }
    }
    return withWrites(std::move(record), text);
}

void PromptCache::prepare() {
    const MutexLock guard(lock_);
    if (!isPrepared_) {
        isPrepared_ = post({}) != nullptr;
    }
}

PromptCache::Record PromptCache::recent(const std::string &text) const {
    const auto found = steady_clock::now() < freshUntil_ ? recent_.find(text) : recent_.end();
    return found == recent_.end() ? nullptr : found->second;
}

// Null: no more lookups are accepted.
std::shared_ptr<PromptCache::Lookup> PromptCache::post(const MediaKey &key) {
    const std::string text = textOf(key);
    if (const auto found = lookups_.find(text); found != lookups_.end()) {
        return found->second;
    }
    if (isFinishing_ || lookups_.size() >= MAX_LOOKUPS) {
        return nullptr;
    }
    try {
        readerThread_.start([this] { lookUpAll(); });
    } catch (const std::system_error &failure) {
        MRB_LOG_WARNING("The metadata cache is not read, no thread can be started: %s", failure.what());
        return nullptr;
    }
    auto lookup = std::make_shared<Lookup>();
    lookup->key = key;
    lookups_.emplace(text, lookup);
    reader_.wake.notifyOne();
    return lookup;
}

CacheResult PromptCache::request(const MediaKey &key) {
    try {
        return storage_.lookUp(key);
    } catch (const std::exception &failure) {
        MRB_LOG_WARNING("The metadata cache cannot be read: %s", failure.what());
        return {};
    }
}

void PromptCache::lookUpAll() {
    MutexLock guard(lock_);
    while (true) {
        while (!isFinishing_ && lookups_.empty()) {
            reader_.wake.wait(lock_);
        }
        if (isFinishing_) {
            return;
        }
        const auto [text, lookup] = *lookups_.begin();
        const auto began = steady_clock::now();
        reader_.busySince = began;
        lookup->isOutdated = false;
        guard.unlock();
        CacheResult result = request(lookup->key);
        guard.lock();
        reader_.busySince.reset();
        if (result.othersChanged) {
            recent_.clear();
        }
        if (lookup->isOutdated) {
            continue; // the lookup must find what was written since then
        }
        if (result.isLasting) {
            freshUntil_ = began + limits_.freshness;
            keep(text, result.record);
        }
        // With the writes that are pending now: they may complete before the caller goes on.
        lookup->record = result.record ? withWrites(std::move(result.record), text) : nullptr;
        lookup->isDone = true;
        lookups_.erase(text);
        change_.notifyAll();
    }
}

void PromptCache::keep(const std::string &text, const Record &record) {
    if (recent_.size() >= MAX_RECENT) {
        recent_.clear();
    }
    recent_.insert_or_assign(text, record);
}

void PromptCache::forget(const std::string &text) {
    recent_.erase(text);
    if (const auto found = lookups_.find(text); found != lookups_.end()) {
        found->second->isOutdated = true;
    }
}

void PromptCache::storageChanged() {
    const MutexLock guard(lock_);
    freshUntil_ = {};
    for (const auto &[text, lookup] : lookups_) {
        lookup->isOutdated = true;
    }
}

// A null record is one that did not arrive in time.
PromptCache::Record PromptCache::withWrites(Record record, const std::string &text) const {
    std::shared_ptr<MediaRecord> changed;
    if (!record) {
        changed = std::make_shared<MediaRecord>();
        changed->isLate = true;
    }
    for (const std::shared_ptr<Write> &write : writes_) {
        if (write->text != text) {
            continue;
        }
        if (!changed) {
            changed = std::make_shared<MediaRecord>(*record);
        }
        if (write->metadata) {
            changed->isRead = true;
            changed->metadata = *write->metadata;
        }
        for (const auto &[name, value] : write->fields) {
            changed->written.insert_or_assign(name, value);
        }
    }
    return changed ? std::move(changed) : std::move(record);
}

// The latest write of the file that the worker has not taken, or a new one. Null: `most` are
// pending.
std::shared_ptr<PromptCache::Write> PromptCache::due(const MediaKey &key, std::size_t maximum) {
    std::string text = textOf(key);
    const auto latest = std::ranges::find(writes_.rbegin(), writes_.rend(), text, &Write::text);
    if (latest != writes_.rend() && !(*latest)->isAtHand) {
        return *latest;
    }
    if (isFinishing_ || writes_.size() >= maximum) {
        return nullptr;
    }
    writerThread_.start([this] { writeAll(); });
    auto write = std::make_shared<Write>();
    write->key = key;
    write->text = std::move(text);
    return writes_.emplace_back(std::move(write));
}

void PromptCache::store(const MediaKey &key, const Metadata &metadata) {
    const MutexLock guard(lock_);
    try {
        // Metadata can be read again: half of the queue is reserved for clients' writes.
        if (const std::shared_ptr<Write> write = due(key, limits_.writes / 2)) {
            write->metadata = metadata;
            writer_.wake.notifyOne();
        }
    } catch (const std::system_error &failure) {
        MRB_LOG_WARNING("Metadata are not stored, no thread can be started: %s", failure.what());
    }
}

Status PromptCache::write(const MediaKey &key, const WrittenFields &fields) {
    const MutexLock guard(lock_);
    if (isFinishing_) {
        return Status::notInitialized("A field is not written: the program ends.");
    }
    const std::shared_ptr<Write> write = due(key, limits_.writes);
    if (!write) {
        return Status::busy("A field is not written: too many wait for the cache already.");
    }
    for (const auto &[name, value] : fields) {
        write->fields.insert_or_assign(name, value);
    }
    writer_.wake.notifyOne();
    if (writes_.size() > MAX_READY) {
        return {}; // its turn does not come soon
    }
    write->isAwaited = true;
    const bool isDone = await(writer_, write->isDone);
    write->isAwaited = false;
    return isDone ? write->status : Status();
}

PromptCache::Writes PromptCache::take() const {
    const auto end = writes_.begin() + static_cast<std::ptrdiff_t>(std::min(writes_.size(), MAX_READY));
    Writes writes(writes_.begin(), end);
    for (const std::shared_ptr<Write> &write : writes) {
        write->isAtHand = true;
    }
    return writes;
}

// Returns the result of each write.
std::vector<Status> PromptCache::perform(const Writes &writes) {
    std::vector<Status> statuses;
    statuses.reserve(writes.size());
    try {
        std::vector<FileMetadata> files;
        for (const std::shared_ptr<Write> &write : writes) {
            if (write->metadata) {
                files.emplace_back(write->key, *write->metadata);
            }
        }
        const Status storing = files.empty() ? Status() : storage_.store(files);
        const bool isBusy = storing.code == MRB_ERR_BUSY;
        for (const std::shared_ptr<Write> &write : writes) {
            // Clients do not get errors of metadata writes: metadata can be read again.
            statuses.push_back(isBusy                  ? storing
                               : write->fields.empty() ? Status()
                                                       : storage_.write(write->key, write->fields));
        }
    } catch (const std::exception &failure) {
        statuses.resize(writes.size(), Status::ioError(failure.what()));
    }
    return statuses;
}

// Removes completed writes; those that met a busy cache stay pending, except in the last attempt.
// True: some are pending.
bool PromptCache::settle(const Writes &writes, const std::vector<Status> &statuses, bool isLast) {
    bool isBusy = false;
    for (std::size_t index = 0; index < writes.size(); ++index) {
        Write &write = *writes[index];
        write.isAtHand = false;
        if (statuses[index].code == MRB_ERR_BUSY && !isLast) {
            isBusy = true;
            continue;
        }
        write.isDone = true;
        write.status = statuses[index];
        forget(write.text);
    }
    std::erase_if(writes_, [](const std::shared_ptr<Write> &write) { return write->isDone; });
    return isBusy;
}

void PromptCache::writeAll() {
    MutexLock guard(lock_);
    while (true) {
        while (!isFinishing_ && writes_.empty()) {
            writer_.wake.wait(lock_);
        }
        if (writes_.empty()) {
            return;
        }
        const Writes writes = take();
        writer_.busySince = steady_clock::now();
        // A write that is refused while the shutdown begins is tried once more.
        const bool isLast = isFinishing_;
        guard.unlock();
        const std::vector<Status> statuses = perform(writes);
        guard.lock();
        writer_.busySince.reset();
        writer_.isHeldUp = settle(writes, statuses, isLast);
        change_.notifyAll();
        std::size_t lost = 0;
        std::string reason;
        for (const std::shared_ptr<Write> &write : writes) {
            if (write->isDone && !write->status.ok() && !write->isAwaited) {
                ++lost;
                reason = write->status.message;
            }
        }
        if (lost > 0) {
            guard.unlock();
            MRB_LOG_WARNING("The writes of %zu files are lost. %s", lost, reason.c_str());
            guard.lock();
        }
        if (writer_.isHeldUp) {
            const auto next = steady_clock::now() + RETRY_INTERVAL;
            while (!isFinishing_ && writer_.wake.waitUntil(lock_, next)) {
            }
        }
    }
}

bool PromptCache::finish(steady_clock::time_point deadline) {
    {
        const MutexLock guard(lock_);
        isFinishing_ = true;
        reader_.wake.notifyAll();
        writer_.wake.notifyAll();
        change_.notifyAll();
    }
    const bool isFinished = readerThread_.finish(deadline);
    return writerThread_.finish(deadline) && isFinished;
}

} // namespace mrb
