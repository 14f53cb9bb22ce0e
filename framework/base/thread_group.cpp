#include "base/thread_group.h"

#include <cstddef>
#include <system_error>
#include <utility>

#include "base/mutex.h"
#include "base/threads.h"

namespace mrb {

struct ThreadGroup::State {
    Mutex lock;
    ConditionVariable someDone;
    std::size_t busy MRB_GUARDED_BY(lock) = 0;
    bool isFinished MRB_GUARDED_BY(lock) = false;

    void done() MRB_EXCLUDES(lock) {
        const MutexLock guard(lock);
        --busy;
        someDone.notifyAll();
    }
};

ThreadGroup::ThreadGroup(const char *name, const char *blocker)
    : name_(name), blocker_(blocker), state_(std::make_shared<State>()) {}

ThreadGroup::~ThreadGroup() { finish(std::chrono::steady_clock::time_point::max()); }

void ThreadGroup::start(std::function<void()> work) {
    {
        const MutexLock guard(state_->lock);
        if (state_->isFinished) {
            throw std::system_error(std::make_error_code(std::errc::resource_unavailable_try_again));
        }
        ++state_->busy;
    }
    try {
        startThread(name_, [state = state_, work = std::move(work)]() mutable {
            work();
            // The task's resources are released before it counts as done.
            work = nullptr;
            state->done();
        }).detach();
    } catch (...) {
        state_->done();
        throw;
    }
}

bool ThreadGroup::finish(std::chrono::steady_clock::time_point deadline) {
    MutexLock guard(state_->lock);
    state_->isFinished = true;
    while (state_->busy > 0 && state_->someDone.waitUntil(state_->lock, deadline)) {
    }
    const std::size_t busy = state_->busy;
    guard.unlock();
    for (std::size_t left = 0; left < busy; ++left) {
        warnDetached(name_, blocker_);
    }
    return busy == 0;
}

} // namespace mrb
