#include "base/thread_group.h"

#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <system_error>
#include <utility>

#include "base/threads.h"

namespace mrb {

struct ThreadGroup::State {
    std::mutex lock; // guards what follows
    std::condition_variable someDone;
    std::size_t busy = 0;
    bool isFinished = false;

    void done() {
        const std::lock_guard guard(lock);
        --busy;
        someDone.notify_all();
    }
};

ThreadGroup::ThreadGroup(const char *name, const char *blocker)
    : name_(name), blocker_(blocker), state_(std::make_shared<State>()) {}

ThreadGroup::~ThreadGroup() { finish(std::chrono::steady_clock::time_point::max()); }

void ThreadGroup::start(std::function<void()> work) {
    {
        const std::lock_guard guard(state_->lock);
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
    std::unique_lock guard(state_->lock);
    state_->isFinished = true;
    const bool isFinished =
        state_->someDone.wait_until(guard, deadline, [this] { return state_->busy == 0; });
    const std::size_t busy = state_->busy;
    guard.unlock();
    for (std::size_t left = 0; left < busy; ++left) {
        warnDetached(name_, blocker_);
    }
    return isFinished;
}

} // namespace mrb
