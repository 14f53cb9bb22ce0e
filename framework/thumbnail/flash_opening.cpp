#include "thumbnail/flash_opening.h"

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

FlashOpening::~FlashOpening() { finish(steady_clock::time_point::max()); }

Status FlashOpening::open(const std::string &list) {
    Lock guard(lock_);
    if (isFinishing_) {
        return Status::notInitialized("The program ends.");
    }
    thread_.start([this] { work(); });
    wanted_ = list;
    const std::uint64_t number = ++requested_;
    wake_.notify_one();
    ++waiting_;
    const bool isOver = waitBriefly(guard, change_, busySince_, timeout_,
                                    [&] { return delivered_ >= number || isFinishing_; });
    --waiting_;
    if (isOver && delivered_ >= number) {
        return status_;
    }
    return Status::timedOut("\"" + list + "\" is still being opened.");
}

std::shared_ptr<FlashCache> FlashOpening::cache() {
    const std::lock_guard guard(lock_);
    return cache_;
}

void FlashOpening::work() {
    Lock guard(lock_);
    while (true) {
        wake_.wait(guard, [this] { return isFinishing_ || wanted_; });
        if (isFinishing_) {
            return;
        }
        openRequested(guard);
    }
}

void FlashOpening::openRequested(Lock &guard) {
    const std::string list = *std::exchange(wanted_, std::nullopt);
    const std::uint64_t number = requested_;
    busySince_ = busySince_.value_or(steady_clock::now());
    guard.unlock();
    const auto opened = std::make_shared<FlashCache>();
    Status status = openCache(*opened, list);
    guard.lock();
    if (status.code == MRB_ERR_BUSY && !wanted_ && !isFinishing_) {
        wanted_ = list; // tried again, until the other process releases it
        return;
    }
    busySince_.reset();
    const bool isOpen = status.ok();
    const std::shared_ptr<FlashCache> before = isOpen ? std::exchange(cache_, opened) : nullptr;
    delivered_ = number;
    status_ = status;
    const bool isHeard = waiting_ > 0;
    change_.notify_all();
    guard.unlock();
    if (isOpen) {
        opened->dropStrangers();
    } else if (!isHeard) {
        MRB_LOG_WARNING("No flash cache: %s", status.message.c_str());
    }
    guard.lock();
}

bool FlashOpening::finish(steady_clock::time_point deadline) {
    {
        const Lock guard(lock_);
        isFinishing_ = true;
        wake_.notify_all();
        change_.notify_all();
    }
    return thread_.finish(deadline);
}

} // namespace mrb::thumbnail
