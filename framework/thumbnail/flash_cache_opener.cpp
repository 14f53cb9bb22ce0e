#include "thumbnail/flash_cache_opener.h"

#include <exception>
#include <utility>

#include "base/log.h"
#include "mrb/result.h"

namespace mrb::thumbnail {
namespace {

using std::chrono::steady_clock;

Status openCache(FlashCache &cache, const std::string &list) {
    try {
        return cache.open(list);
    } catch (const std::exception &failure) {
        return Status::ioError(failure.what());
    }
}

} // namespace

FlashCacheOpener::~FlashCacheOpener() { finish(steady_clock::time_point::max()); }

Status FlashCacheOpener::open(const std::string &list) {
    const MutexLock guard(lock_);
    if (isFinishing_) {
        return Status::notInitialized("The program ends.");
    }
    thread_.start([this] { work(); });
    nextList_ = list;
    const std::uint64_t number = ++requested_;
    wake_.notifyOne();
    ++waiting_;
    BriefWait wait(timeout_);
    while (delivered_ < number && !isFinishing_ && wait.next(lock_, change_, busySince_)) {
    }
    --waiting_;
    if (delivered_ >= number) {
        return status_;
    }
    return Status::timedOut("\"" + list + "\" is still being opened.");
}

std::shared_ptr<FlashCache> FlashCacheOpener::cache() {
    const MutexLock guard(lock_);
    return cache_;
}

void FlashCacheOpener::work() {
    const MutexLock guard(lock_);
    while (true) {
        while (!isFinishing_ && !nextList_) {
            wake_.wait(lock_);
        }
        if (isFinishing_) {
            return;
        }
        openRequested();
    }
}

void FlashCacheOpener::openRequested() {
    const std::string list = *std::exchange(nextList_, std::nullopt);
    const std::uint64_t number = requested_;
    busySince_ = busySince_.value_or(steady_clock::now());
    std::shared_ptr<FlashCache> opened;
    Status status;
    {
        const MutexUnlock unlocked(lock_);
        opened = std::make_shared<FlashCache>();
        status = openCache(*opened, list);
    }
    if (status.code == MRB_ERR_BUSY && !nextList_ && !isFinishing_) {
        nextList_ = list; // tried again, until the other process releases it
        return;
    }
    busySince_.reset();
    const bool isOpen = status.ok();
    const std::shared_ptr<FlashCache> before = isOpen ? std::exchange(cache_, opened) : nullptr;
    delivered_ = number;
    status_ = status;
    const bool isHeard = waiting_ > 0;
    change_.notifyAll();
    const MutexUnlock unlocked(lock_);
    if (isOpen) {
        opened->dropStrangers();
    } else if (!isHeard) {
        MRB_LOG_WARNING("No flash cache: %s", status.message.c_str());
    }
}

bool FlashCacheOpener::finish(steady_clock::time_point deadline) {
    {
        const MutexLock guard(lock_);
        isFinishing_ = true;
        wake_.notifyAll();
        change_.notifyAll();
    }
    return thread_.finish(deadline);
}

} // namespace mrb::thumbnail
