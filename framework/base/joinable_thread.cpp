#include "base/joinable_thread.h"

#include <condition_variable>
#include <mutex>
#include <thread>
#include <utility>

#include "base/threads.h"

namespace mrb {

struct JoinableThread::State {
    std::mutex lock; // guards what follows
    std::condition_variable change;
    std::thread thread; // joinable until it is joined or detached
    std::thread::id id; // no thread's: it was not started
    bool hasEnded = false;
};

JoinableThread::JoinableThread(const char *name, const char *blocker)
    : name_(name), blocker_(blocker), state_(std::make_shared<State>()) {}

JoinableThread::~JoinableThread() { finish(std::chrono::steady_clock::time_point::max()); }

void JoinableThread::start(std::function<void()> work) {
    const std::lock_guard guard(state_->lock);
    if (state_->id != std::thread::id()) {
        return;
    }
    state_->thread = startThread(name_, [state = state_, work = std::move(work)]() mutable {
        work();
        work = nullptr; // with what it owns
        const std::lock_guard end(state->lock);
        state->hasEnded = true;
        state->change.notify_all();
    });
    state_->id = state_->thread.get_id();
}

bool JoinableThread::isStarted() const {
    const std::lock_guard guard(state_->lock);
    return state_->id != std::thread::id();
}

bool JoinableThread::isCurrent() const {
    const std::lock_guard guard(state_->lock);
    return state_->id == std::this_thread::get_id();
}

bool JoinableThread::finish(std::chrono::steady_clock::time_point deadline) {
    std::unique_lock guard(state_->lock);
    if (state_->id == std::thread::id()) {
        return true;
    }
    const bool isInside = state_->id == std::this_thread::get_id();
    const bool hasEnded =
        !isInside && state_->change.wait_until(guard, deadline, [this] { return state_->hasEnded; });
    std::thread thread = std::move(state_->thread);
    guard.unlock();
    if (!thread.joinable()) {
        return isInside || hasEnded; // it was detached before
    }
    if (hasEnded) {
        thread.join();
        return true;
    }
    thread.detach();
    if (!isInside) {
        warnDetached(name_, blocker_);
    }
    return isInside;
}

} // namespace mrb
