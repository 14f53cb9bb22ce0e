#include "base/loading.h"

#include <atomic>

#include "base/on_demand.h"

namespace mrb {
namespace {

// The lock of the library that loaded this one, once it was shared.
constinit std::atomic<LoadingLock *> shared_lock{nullptr};

} // namespace

void LoadingLock::lock() {
    const auto self = std::this_thread::get_id();
    const MutexLock guard(lock_);
    while (depth_ > 0 && owner_ != self) {
        released_.wait(lock_);
    }
    owner_ = self;
    ++depth_;
}

void LoadingLock::unlock() {
    const MutexLock guard(lock_);
    --depth_;
    released_.notifyAll();
}

bool LoadingLock::isFreeBy(std::chrono::steady_clock::time_point deadline) {
    const MutexLock guard(lock_);
    while (depth_ > 0 && released_.waitUntil(lock_, deadline)) {
    }
    return depth_ == 0;
}

LoadingLock &LoadingLock::instance() {
    if (LoadingLock *shared = shared_lock) {
        return *shared;
    }
    static OnDemand<LoadingLock> own;
    return own.get();
}

void LoadingLock::share(LoadingLock &shared) { shared_lock = &shared; }

} // namespace mrb
